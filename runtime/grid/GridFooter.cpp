#include "runtime/grid/GridFooter.h"

#include "runtime/grid/DBGridPrivate.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace {

int QtAlignment(TAlignment alignment)
{
    switch (alignment) {
    case TAlignment::Right:
        return Qt::AlignRight | Qt::AlignVCenter;
    case TAlignment::Center:
        return Qt::AlignCenter;
    case TAlignment::Left:
        break;
    }
    return Qt::AlignLeft | Qt::AlignVCenter;
}

} // namespace

TGridFooter::TGridFooter(TDBGridEh* grid)
    : QWidget(grid)
    , grid_(grid)
{
    setFocusPolicy(Qt::NoFocus);
}

void TGridFooter::paintEvent(QPaintEvent*)
{
    const auto& d = *grid_->d_;
    QPainter painter(this);
    painter.fillRect(rect(), d.footerColor);
    const int indent = grid_->viewport()->x() - x();
    const int frozenWidth = d.FrozenWidth();
    painter.setClipRect(QRect(indent + frozenWidth, 0, width(), height()));
    for (int column = d.frozen; column < int(d.columns.size()); ++column)
        PaintColumn(painter, column, indent + d.ColumnLeft(column));
    painter.setClipping(false);
    for (int column = 0; column < d.frozen; ++column)
        PaintColumn(painter, column, indent + d.ColumnLeft(column));
    painter.setPen(d.footerColor.darker(125));
    painter.drawLine(0, 0, width(), 0);
    for (int row = 1; row < d.footerRows; ++row)
        painter.drawLine(0, row * d.rowHeight, width(), row * d.rowHeight);
}

void TGridFooter::PaintColumn(QPainter& painter, int column, int left)
{
    const auto& d = *grid_->d_;
    const int columnWidth = grid_->columnWidth(column);
    if (!d.ShownColumn(column) || left > width() || left + columnWidth < 0)
        return;
    const QFontMetrics metrics(grid_->font());
    for (int row = 0; row < d.footerRows; ++row) {
        const QRect cell(left, row * d.rowHeight, columnWidth, d.rowHeight);
        painter.fillRect(cell, d.footerColor);
        painter.setPen(d.footerColor.darker(118));
        painter.drawLine(cell.topRight(), cell.bottomRight());
        const QString text = grid_->FooterText(row, column);
        if (text.isEmpty())
            continue;
        painter.setFont(grid_->font());
        painter.setPen(grid_->palette().color(QPalette::Text));
        const QRect inner = cell.adjusted(3, 0, -4, 0);
        painter.drawText(inner, QtAlignment(d.columns[size_t(column)].info.footers[size_t(row)].alignment),
            metrics.elidedText(text, Qt::ElideRight, inner.width()));
    }
}

// A sum that its column is too narrow for is told in full.
bool TGridFooter::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QPoint inView(help->pos().x() + x() - grid_->viewport()->x(), 0);
    const auto& d = *grid_->d_;
    QString text;
    for (int column = 0; column < int(d.columns.size()) && text.isEmpty(); ++column) {
        const int left = d.ColumnLeft(column);
        if (d.ShownColumn(column) && inView.x() >= left && inView.x() < left + grid_->columnWidth(column)
            && (column < d.frozen || inView.x() >= d.FrozenWidth()))
            text = grid_->FooterText(help->pos().y() / qMax(1, d.rowHeight), column);
    }
    QToolTip::showText(help->globalPos(), text, this);
    return true;
}

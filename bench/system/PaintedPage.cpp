#include "bench/system/PaintedPage.h"

#include "runtime/grid/DBGrid.h"

#include <QPainter>

void PaintedPage::Take(TDBGridEh& grid)
{
    const QWidget& seen = *grid.viewport();
    resize(seen.size());
    setFont(grid.font());
    setPalette(grid.palette());
    texts_.clear();
    const QModelIndex first = grid.indexAt({0, 0});
    for (int row = first.row(); row < grid.model()->rowCount(); ++row) {
        if (grid.rowViewportPosition(row) >= seen.height())
            break;
        for (int column = first.column(); column < grid.ColumnCount(); ++column) {
            const QRect cell = grid.visualRect(grid.model()->index(row, column)).adjusted(3, 0, -4, -1);
            if (cell.left() >= seen.width())
                break;
            const QString text = grid.CellText(row, column);
            if (!text.isEmpty())
                texts_.push_back({cell, fontMetrics().elidedText(text, Qt::ElideRight, cell.width())});
        }
    }
}

void PaintedPage::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Text));
    for (const Text& text : texts_)
        painter.drawText(text.bounds, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text.shown);
}

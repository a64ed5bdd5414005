#include "runtime/grid/GridHeader.h"

#include "runtime/grid/DBGridPrivate.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kEdgeReach = 4; // how near an edge the pointer takes hold of it
const QColor kTitleBack(0xe6, 0xeb, 0xf1);
const QColor kTitleHover(0xd8, 0xe2, 0xee);
const QColor kTitleLine(0xb9, 0xc3, 0xce);

// Stays open while ticks are made.
class TickMenu : public QMenu {
public:
    using QMenu::QMenu;

protected:
    void mouseReleaseEvent(QMouseEvent* event) override
    {
        if (!Tick(actionAt(event->position().toPoint())))
            QMenu::mouseReleaseEvent(event);
    }
    void keyPressEvent(QKeyEvent* event) override
    {
        const bool chooses =
            event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (!chooses || !Tick(activeAction()))
            QMenu::keyPressEvent(event);
    }

private:
    static bool Tick(QAction* action)
    {
        if (!action || !action->isCheckable() || !action->isEnabled())
            return false;
        action->trigger();
        return true;
    }
};

} // namespace

TGridHeader::TGridHeader(TDBGridEh* grid)
    : QHeaderView(Qt::Horizontal, grid)
    , grid_(grid)
{
    setSectionsClickable(false);
    setSectionsMovable(false);
    setHighlightSections(false);
    setSectionResizeMode(Interactive);
    setMinimumSectionSize(8);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
}

int TGridHeader::LineHeight() const
{
    return QFontMetrics(grid_->font()).height() + Scaled(*this, 6);
}

QSize TGridHeader::sizeHint() const
{
    return {length(), levels_ * LineHeight() + 1};
}

void TGridHeader::Relayout()
{
    const auto& d = *grid_->d_;
    std::vector<int> shown;
    QStringList titles;
    int frozen = 0;
    for (int column = 0; column < int(d.columns.size()); ++column) {
        if (!d.ShownColumn(column))
            continue;
        shown.push_back(column);
        titles += d.columns[size_t(column)].info.title;
        frozen += column < d.frozen;
    }
    levels_ = TitleLines(titles);
    cells_ = TitleCells(titles, frozen);
    for (Cell& cell : cells_) {
        cell.first = shown[size_t(cell.first)];
        cell.last = shown[size_t(cell.last)];
    }
    updateGeometry();
    viewport()->update();
}

QRect TGridHeader::CellRect(const Cell& cell) const
{
    const int left = grid_->d_->ColumnLeft(cell.first);
    const int right = grid_->d_->ColumnLeft(cell.last) + sectionSize(cell.last);
    const int line = LineHeight();
    return {
        left, cell.level * line, right - left, cell.levels * line + (cell.level + cell.levels == levels_)};
}

QRect TGridHeader::SeenOf(const Cell& cell) const
{
    const int left = cell.first < grid_->d_->frozen ? 0 : grid_->d_->FrozenWidth();
    return CellRect(cell).intersected(QRect(left, 0, viewport()->width() - left, height()));
}

void TGridHeader::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.setFont(grid_->font());
    painter.fillRect(viewport()->rect(), kTitleBack);
    const int frozen = grid_->d_->frozen;
    const int frozenWidth = grid_->d_->FrozenWidth();
    painter.setClipRect(QRect(frozenWidth, 0, width(), height()));
    for (const Cell& cell : cells_) {
        if (cell.first >= frozen)
            PaintCell(painter, cell);
    }
    painter.setClipping(false);
    for (const Cell& cell : cells_) {
        if (cell.first < frozen)
            PaintCell(painter, cell);
    }
    painter.setPen(kTitleLine.darker(115));
    painter.drawLine(0, height() - 1, width(), height() - 1);
    if (frozenWidth > 0)
        painter.drawLine(frozenWidth - 1, 0, frozenWidth - 1, height());
    if (drag_ == Drag::Move && dropAt_ >= 0) {
        const int count = int(grid_->d_->columns.size());
        const int x = dropAt_ < count ? grid_->d_->ColumnLeft(dropAt_)
                                      : grid_->d_->ColumnLeft(count - 1) + sectionSize(count - 1);
        painter.fillRect(x - 1, 0, 3, height(), grid_->palette().color(QPalette::Highlight));
    }
}

void TGridHeader::PaintCell(QPainter& painter, const Cell& cell)
{
    const QRect rect = CellRect(cell);
    if (rect.right() < 0 || rect.left() > width())
        return;
    const TGridColumn& column = grid_->d_->columns[size_t(cell.first)];
    const bool hot = cell.leaf && cell.first == hovered_ && column.info.titleButton && grid_->SortLocal();
    painter.fillRect(rect, hot ? kTitleHover : kTitleBack);
    painter.setPen(kTitleLine);
    painter.drawLine(rect.topRight(), rect.bottomRight());
    painter.drawLine(rect.bottomLeft(), rect.bottomRight());

    QRect inner = rect.adjusted(3, 1, -4, -2);
    if (!cell.leaf) // the name of a group stands over what is to be seen of it
        inner = inner.intersected(SeenOf(cell).adjusted(3, 0, -4, 0));
    if (inner.isEmpty())
        return;
    const bool filtered = cell.leaf && HasFilter(cell.first);
    const QRect funnel = cell.leaf ? FunnelRect(cell.first) : QRect();
    if (!funnel.isEmpty() && (hot || filtered)) {
        PaintFunnel(painter, funnel, filtered);
        inner.setRight(funnel.left() - 1);
    }
    if (cell.leaf && column.info.sortMarker != TSortMarker::None)
        inner.setRight(PaintSortMarker(painter, inner, column) - 1);
    painter.setPen(grid_->palette().color(QPalette::ButtonText));
    const QFontMetrics metrics(grid_->font());
    if (metrics.horizontalAdvance(cell.text) <= inner.width())
        painter.drawText(inner, Qt::AlignCenter, cell.text);
    else if (cell.levels > 1 && inner.width() > 0)
        painter.drawText(inner, Qt::AlignCenter | Qt::TextWrapAnywhere, cell.text);
    else
        painter.drawText(inner, Qt::AlignLeft | Qt::AlignVCenter,
            metrics.elidedText(cell.text, Qt::ElideRight, inner.width()));
}

void TGridHeader::PaintFunnel(QPainter& painter, const QRect& funnel, bool filtered) const
{
    const double unit = funnel.width() / 12.0;
    const QPointF corner = QRectF(funnel).topLeft();
    QPainterPath path;
    path.moveTo(corner + QPointF(1.5, 2) * unit);
    path.lineTo(corner + QPointF(10.5, 2) * unit);
    path.lineTo(corner + QPointF(7.2, 6) * unit);
    path.lineTo(corner + QPointF(7.2, 10.5) * unit);
    path.lineTo(corner + QPointF(4.8, 9) * unit);
    path.lineTo(corner + QPointF(4.8, 6) * unit);
    path.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    if (filtered)
        painter.fillPath(path, ChangedCellColor());
    else
        painter.strokePath(path, QPen(grid_->palette().color(QPalette::ButtonText).lighter(170), unit));
    painter.setRenderHint(QPainter::Antialiasing, false);
}

// An arrow, and its place among several, at the right of the room; returns where it begins.
int TGridHeader::PaintSortMarker(QPainter& painter, const QRect& room, const TGridColumn& column) const
{
    const QColor color = grid_->palette().color(QPalette::Highlight);
    const bool several = std::any_of(grid_->d_->columns.begin(), grid_->d_->columns.end(),
        [](const TGridColumn& other) { return other.markOrder > 1; });
    const int side = Scaled(*this, 7);
    QFont small = grid_->font();
    small.setPixelSize(std::max(8, QFontInfo(small).pixelSize() * 3 / 4));
    const QString order = several ? QString::number(column.markOrder) : QString();
    const int numberWidth = several ? QFontMetrics(small).horizontalAdvance(order) + 1 : 0;
    const QRect arrow(room.right() - numberWidth - side, room.center().y() - side / 2, side, side);
    const bool up = column.info.sortMarker == TSortMarker::Up;
    QPainterPath path;
    path.moveTo(arrow.left(), up ? arrow.bottom() : arrow.top() + 1);
    path.lineTo(arrow.right() + 1, up ? arrow.bottom() : arrow.top() + 1);
    path.lineTo(arrow.center().x() + 0.5, up ? arrow.top() + 1 : arrow.bottom());
    path.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(path, color);
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (several) {
        painter.setFont(small);
        painter.setPen(color);
        painter.drawText(QRect(arrow.right() + 1, room.top(), numberWidth + 2, room.height()),
            Qt::AlignLeft | Qt::AlignVCenter, order);
        painter.setFont(grid_->font());
    }
    return arrow.left();
}

bool TGridHeader::HasFilter(int column) const
{
    return std::ranges::any_of(grid_->Filters(), [&](const TDBGridEh::Filter& filter) {
        return filter.field.compare(grid_->Column(column).fieldName, Qt::CaseInsensitive) == 0;
    });
}

QRect TGridHeader::FunnelRect(int column) const
{
    const int side = Scaled(*this, 12);
    if (!grid_->d_->CanFilter(column) || !grid_->Column(column).titleButton || sectionSize(column) < 3 * side)
        return {};
    const int right = grid_->d_->ColumnLeft(column) + sectionSize(column) - Scaled(*this, 5);
    return {right - side, height() - side - Scaled(*this, 4), side, side};
}

int TGridHeader::ColumnAt(int x) const
{
    const auto& d = *grid_->d_;
    if (x >= d.FrozenWidth())
        return logicalIndexAt(x);
    for (int column = 0; column < d.frozen; ++column) {
        if (d.ShownColumn(column) && x < d.ColumnLeft(column) + sectionSize(column))
            return column;
    }
    return -1;
}

int TGridHeader::EdgeAt(int x) const
{
    const auto& d = *grid_->d_;
    // Of two edges at one place the later column's is taken, so that a column of no width can be widened.
    for (int column = int(d.columns.size()) - 1; column >= 0; --column) {
        if (!d.ShownColumn(column))
            continue;
        const int edge = d.ColumnLeft(column) + sectionSize(column);
        if (std::abs(edge - x) <= kEdgeReach && (column < d.frozen || edge >= d.FrozenWidth()))
            return column;
    }
    return -1;
}

void TGridHeader::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    sincePress_.start();
    const int x = event->position().toPoint().x();
    const int edge = EdgeAt(x);
    dragColumn_ = edge >= 0 ? edge : ColumnAt(x);
    drag_ = edge >= 0 ? Drag::Resize : dragColumn_ >= 0 ? Drag::Pressed : Drag::None;
    dragStart_ = x;
    dragWidth_ = dragColumn_ >= 0 ? sectionSize(dragColumn_) : 0;
    event->accept();
}

void TGridHeader::mouseMoveEvent(QMouseEvent* event)
{
    const int x = event->position().toPoint().x();
    switch (drag_) {
    case Drag::None:
        setCursor(EdgeAt(x) >= 0 ? Qt::SplitHCursor : Qt::ArrowCursor);
        if (const int column = ColumnAt(x); column != hovered_) {
            hovered_ = column;
            viewport()->update();
        }
        return;
    case Drag::Resize: {
        const int width = std::max(Scaled(*this, 8), dragWidth_ + x - dragStart_);
        resizeSection(dragColumn_, width);
        grid_->d_->columns[size_t(dragColumn_)].info.width = DescribedWidth(*this, width);
        viewport()->update();
        grid_->updateGeometries();
        grid_->viewport()->update();
        return;
    }
    case Drag::Pressed:
        if (std::abs(x - dragStart_) < 8)
            return;
        drag_ = Drag::Move;
        setCursor(Qt::ClosedHandCursor);
        [[fallthrough]];
    case Drag::Move:
        dropAt_ = DropPlace(x);
        viewport()->update();
        return;
    }
}

// Before which column the dragged one would come to stand; it stays on its side of the frozen edge.
int TGridHeader::DropPlace(int x) const
{
    const auto& d = *grid_->d_;
    const bool frozen = dragColumn_ < d.frozen;
    const int from = frozen ? 0 : d.frozen;
    const int to = frozen ? d.frozen : int(d.columns.size());
    for (int column = from; column < to; ++column) {
        if (d.ShownColumn(column) && x < d.ColumnLeft(column) + sectionSize(column) / 2)
            return column;
    }
    return to;
}

void TGridHeader::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Drag drag = drag_;
    const int column = dragColumn_;
    const int drop = dropAt_;
    drag_ = Drag::None;
    dropAt_ = -1;
    unsetCursor();
    viewport()->update();
    const QRect funnel = column >= 0 ? FunnelRect(column) : QRect();
    if (drag == Drag::Pressed && funnel.contains(event->position().toPoint())
        && funnel.contains(dragStart_, funnel.top()))
        grid_->ShowFilter(column);
    else if (drag == Drag::Pressed && rect().contains(event->position().toPoint()))
        grid_->ClickTitle(column);
    else if (drag == Drag::Move && drop >= 0 && drop != column && drop != column + 1)
        grid_->MoveColumn(column, drop > column ? drop - 1 : drop);
    else if (drag == Drag::Resize)
        Q_EMIT grid_->ColumnsChanged();
}

void TGridHeader::mouseDoubleClickEvent(QMouseEvent* event)
{
    const int edge = EdgeAt(event->position().toPoint().x());
    if (edge >= 0)
        FitColumn(edge);
    else if (sincePress_.isValid() && sincePress_.elapsed() < 2 * QApplication::doubleClickInterval())
        mousePressEvent(event);
    // Otherwise the first press was in the rows, and the titles came under the pointer meanwhile.
}

// As wide as its title and the rows in sight need.
void TGridHeader::FitColumn(int column)
{
    const QFontMetrics metrics(grid_->font());
    int width = metrics.horizontalAdvance(grid_->Column(column).title.section(u'|', -1)) + Scaled(*this, 18);
    const int first = std::max(0, grid_->rowAt(0));
    const int last =
        std::min(grid_->model()->rowCount() - 1, first + grid_->viewport()->height() / grid_->RowHeight());
    for (int row = first; row <= last; ++row)
        width = std::max(width, metrics.horizontalAdvance(grid_->CellText(row, column)) + Scaled(*this, 9));
    width = std::min(width, Scaled(*this, 600));
    grid_->ModifyColumn(column, [&](TColumnEh& info) { info.width = DescribedWidth(*this, width); });
}

// Which columns are shown, and the ways back.
void TGridHeader::contextMenuEvent(QContextMenuEvent* event)
{
    ShowMenu(ColumnAt(event->pos().x()), event->globalPos());
}

void TGridHeader::ShowMenu(int column)
{
    const QPoint below(std::max(0, grid_->d_->ColumnLeft(column)), height());
    ShowMenu(column, viewport()->mapToGlobal(below));
}

void TGridHeader::ShowMenu(int at, const QPoint& place)
{
    TickMenu menu(this);
    for (int column = 0; column < grid_->ColumnCount(); ++column) {
        // A column without a caption was not made to be chosen.
        const TColumnEh& info = grid_->Column(column);
        if (!info.title.isEmpty() && info.title != info.fieldName)
            OfferColumn(menu, column);
    }
    menu.addSeparator();
    const bool sorted = grid_->SortLocal()
        && std::any_of(grid_->d_->columns.begin(), grid_->d_->columns.end(),
            [](const TGridColumn& column) { return column.markOrder > 0; });
    QAction* unsorted = menu.addAction(u"清除排序"_s, grid_, &TDBGridEh::ClearSortMarkers);
    unsorted->setEnabled(sorted);
    menu.addAction(u"恢复默认列"_s, grid_, &TDBGridEh::RestoreDefaultColumns);
    if (at >= 0) {
        const bool last = at + 1 == grid_->FrozenCols();
        menu.addAction(last ? u"取消冻结"_s : u"冻结到此列"_s, grid_,
            [this, frozen = last ? 0 : at + 1] { grid_->SetFrozenCols(frozen); });
    }
    menu.exec(place);
}

void TGridHeader::OfferColumn(QMenu& menu, int column)
{
    const TColumnEh& info = grid_->Column(column);
    QAction* action = menu.addAction(QString(info.title).replace(u'|', u" · "_s));
    action->setCheckable(true);
    action->setChecked(info.visible);
    connect(action, &QAction::triggered, grid_, [this, column, action](bool on) {
        const auto& columns = grid_->d_->columns;
        const auto shown = std::count_if(
            columns.begin(), columns.end(), [](const TGridColumn& other) { return other.info.visible; });
        if (on || shown > 1)
            grid_->d_->ShowColumn(column, on);
        else
            action->setChecked(true); // one column stays
    });
}

void TGridHeader::leaveEvent(QEvent* event)
{
    hovered_ = -1;
    viewport()->update();
    QHeaderView::leaveEvent(event);
}

bool TGridHeader::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const int column = ColumnAt(help->pos().x());
        QToolTip::showText(help->globalPos(),
            column < 0 ? QString() : QString(grid_->Column(column).title).replace(u'|', u" · "_s));
        return true;
    }
    return QHeaderView::event(event);
}

TGridIndicator::TGridIndicator(TDBGridEh* grid)
    : QHeaderView(Qt::Vertical, grid)
    , grid_(grid)
{
    setSectionsClickable(false);
    setSectionResizeMode(Fixed);
    setHighlightSections(false);
}

QSize TGridIndicator::sizeHint() const
{
    return {Scaled(*this, 14), 100};
}

void TGridIndicator::paintSection(QPainter* painter, const QRect& rect, int row) const
{
    const auto& d = *grid_->d_;
    painter->fillRect(rect, kTitleBack);
    painter->setPen(kTitleLine);
    painter->drawLine(rect.bottomLeft(), rect.bottomRight());
    painter->drawLine(rect.topRight(), rect.bottomRight());
    const TClientDataSetEx* open = d.OpenDataSet();
    if (!open || row >= open->RecordCount())
        return;
    const bool current = row == d.CurrentRow();
    if (!current && !grid_->IsRowSelected(open->ViewBookmark(row)))
        return;
    const QColor ink = grid_->palette().color(QPalette::ButtonText);
    const double unit = rect.height() / 18.0;
    const QPointF middle = QRectF(rect).center();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (current && open->State() == TDataSetState::Insert) {
        painter->setPen(ink);
        painter->drawText(rect, Qt::AlignCenter, u"*"_s);
    } else if (current && open->State() == TDataSetState::Edit) {
        // A pencil stroke: the row holds what has not been posted.
        painter->setPen(QPen(ink, 2 * unit, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(middle + QPointF(-2.5, 3.5) * unit, middle + QPointF(2.5, -3.5) * unit);
    } else if (current) {
        QPainterPath path;
        path.moveTo(middle + QPointF(-2.5, -4) * unit);
        path.lineTo(middle + QPointF(2.5, 0) * unit);
        path.lineTo(middle + QPointF(-2.5, 4) * unit);
        path.closeSubpath();
        painter->fillPath(path, ink);
    } else {
        painter->setPen(Qt::NoPen);
        painter->setBrush(grid_->palette().color(QPalette::Highlight));
        painter->drawEllipse(middle, 2.5 * unit, 2.5 * unit);
    }
    painter->restore();
}

void TGridIndicator::mousePressEvent(QMouseEvent* event)
{
    auto& d = *grid_->d_;
    const int row = grid_->rowAt(event->position().toPoint().y());
    if (event->button() != Qt::LeftButton || row < 0)
        return;
    grid_->setFocus(Qt::MouseFocusReason);
    if (!d.MoveTo(row, d.currentColumn))
        return;
    if (event->modifiers() & Qt::ControlModifier)
        d.SelectToggle(row);
    else if (event->modifiers() & Qt::ShiftModifier)
        d.SelectTo(row);
    else
        d.SelectOnly(row);
}

void TGridIndicator::mouseMoveEvent(QMouseEvent* event)
{
    auto& d = *grid_->d_;
    const int row = grid_->rowAt(event->position().toPoint().y());
    if (event->buttons() & Qt::LeftButton && row >= 0 && d.MoveTo(row, d.currentColumn))
        d.SelectTo(row);
}

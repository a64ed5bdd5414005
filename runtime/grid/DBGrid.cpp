#include "runtime/grid/DBGrid.h"

#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/FindBar.h"
#include "runtime/grid/SortIndex.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Forms.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <QAbstractButton>
#include <QEvent>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// An exact sum with at least the decimals of its column's pattern; never fewer than it has.
QString WithDecimals(const QString& sum, const QString& pattern)
{
    const qsizetype point = pattern.indexOf(u'.');
    if (point < 0 || sum.isEmpty())
        return sum;
    const qsizetype have = sum.contains(u'.') ? sum.size() - sum.indexOf(u'.') - 1 : 0;
    const qsizetype wanted = pattern.size() - point - 1;
    if (have >= wanted)
        return sum;
    return (have == 0 ? sum + u'.' : sum) + QString(wanted - have, u'0');
}

} // namespace

TDBGridEh::TDBGridEh(QWidget* parent, const QString& name)
    : QTableView(parent)
    , d_(std::make_unique<Private>(this))
{
    setObjectName(name);
    InstallFontSubstitutes();
    setFont(ListFont());
    connect(&TListStyles::Instance(), &TListStyles::Changed, this, [this] { d_->ApplyListStyle(); });
    setEditTriggers(NoEditTriggers);
    setSelectionMode(NoSelection);
    setSelectionBehavior(SelectItems);
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerItem);
    setWordWrap(false);
    setShowGrid(false);
    setTabKeyNavigation(true);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);

    d_->indicator = new TGridIndicator(this);
    setVerticalHeader(d_->indicator);
    d_->header = new TGridHeader(this);
    setHorizontalHeader(d_->header);
    d_->footer = new TGridFooter(this);
    d_->footer->hide();
    d_->model = new TDBGridModel(this);
    setModel(d_->model);
    connect(d_->header, &QHeaderView::sectionResized, this, [this] { d_->footer->update(); });

    d_->searchPause.setSingleShot(true);
    d_->searchPause.setInterval(1500);
    connect(&d_->searchPause, &QTimer::timeout, this, [this] { d_->typedSearch.clear(); });
    d_->ApplyColumns();
}

TDBGridEh::~TDBGridEh()
{
    blockSignals(true);
    d_->Attach(nullptr);
    delete d_->editor.data();
}

void TDBGridEh::SetDataSource(TDataSource* source)
{
    if (d_->source)
        disconnect(d_->source, nullptr, this, nullptr);
    d_->source = source;
    if (source)
        connect(source, &TDataSource::DataSetChanged, this,
            [this](TClientDataSetEx* dataSet) { d_->Attach(dataSet); });
    d_->Attach(source ? source->DataSet() : nullptr);
}

TDataSource* TDBGridEh::DataSource() const noexcept
{
    return d_->source;
}

TClientDataSetEx* TDBGridEh::DataSet() const noexcept
{
    return d_->dataSet;
}

// They ask this grid. A row in edit that may not be posted is left to who takes the rows over.
void TDBGridEh::Private::DropFilters()
{
    if (filters.empty())
        return;
    if (dataSet)
        Guarded([&] { dataSet->ClearValueFilters(); });
    filters.clear();
    Q_EMIT q->FiltersChanged();
}

void TDBGridEh::Private::Attach(TClientDataSetEx* newDataSet)
{
    for (const QMetaObject::Connection& connection : connections)
        QObject::disconnect(connection);
    connections.clear();
    CloseEditor();
    DropFilters();
    dataSet = newDataSet;
    if (dataSet) {
        connections = {
            connect(dataSet, &TClientDataSetEx::DataReset, q, [this] { DataReset(); }),
            connect(dataSet, &TClientDataSetEx::CursorMoved, q, [this] { FollowCursor(); }),
            connect(dataSet, &TClientDataSetEx::RowChanged, q, [this](int viewRow) { RowTouched(viewRow); }),
            connect(dataSet, &TClientDataSetEx::FieldChanged, q, [this] { RowTouched(CurrentRow()); }),
            connect(dataSet, &TClientDataSetEx::RowInserted, q,
                [this](int viewRow) {
                    sums.clear();
                    model->Insert(viewRow);
                    FollowCursor();
                    footer->update();
                }),
            connect(dataSet, &TClientDataSetEx::RowRemoved, q,
                [this](int viewRow) {
                    sums.clear();
                    model->Remove(viewRow);
                    FollowCursor();
                    footer->update();
                }),
            connect(dataSet, &TClientDataSetEx::StateChanged, q, [this] { EditingStateChanged(); }),
            connect(dataSet, &TClientDataSetEx::UpdateRecordRequested, q,
                [this] {
                    if (!q->CommitEditor())
                        Abort();
                }),
            connect(dataSet, &TClientDataSetEx::UnwrittenTextAsked, q,
                [this](bool& held) { held = held || editorModified; }),
            connect(dataSet, &QObject::destroyed, q, [this] { DataReset(); }),
        };
    }
    DataReset();
}

void TDBGridEh::Private::BindFields()
{
    const TClientDataSetEx* open = OpenDataSet();
    for (TGridColumn& column : columns) {
        column.field =
            open && !column.info.fieldName.isEmpty() ? open->FieldIndex(column.info.fieldName) : -1;
        column.lookupTexts.clear();
    }
    FollowLists();
}

// What a list says of a key changes when the list is read anew.
void TDBGridEh::Private::FollowLists()
{
    for (const QMetaObject::Connection& connection : listConnections)
        QObject::disconnect(connection);
    listConnections.clear();
    // Without rows there is nothing to look up, and at a screen's end the lists may be gone before the grid.
    if (!OpenDataSet())
        return;
    std::vector<TClientDataSetEx*> lists;
    for (const TGridColumn& column : columns) {
        TDataSource* listSource = column.info.lookup.listSource;
        TClientDataSetEx* list = listSource ? listSource->DataSet() : nullptr;
        if (!list || std::find(lists.begin(), lists.end(), list) != lists.end())
            continue;
        lists.push_back(list);
        listConnections.push_back(connect(list, &TClientDataSetEx::DataReset, q, [this] {
            for (TGridColumn& changed : columns)
                changed.lookupTexts.clear();
            q->viewport()->update();
        }));
    }
}

void TDBGridEh::Private::DataReset()
{
    CloseEditor();
    sums.clear();
    found = {};
    BindFields();
    const TClientDataSetEx* open = OpenDataSet();
    // A query run anew names no row of the one before.
    std::erase_if(selected, [open](TBookmark row) { return !open || !open->HasRow(row); });
    // Markers speak of the order shown; another order, or none, takes them away.
    if (open && open->IndexName() != kSortIndex) {
        for (TGridColumn& column : columns) {
            column.info.sortMarker = TSortMarker::None;
            column.markOrder = 0;
        }
    }
    model->Reset();
    FollowCursor();
    header->viewport()->update();
    footer->update();
}

void TDBGridEh::Private::RowTouched(int viewRow)
{
    sums.clear();
    if (model->rowCount() != (OpenDataSet() ? OpenDataSet()->RecordCount() : 0)) {
        DataReset();
        return;
    }
    if (viewRow < 0 || viewRow >= model->rowCount() || columns.empty())
        return;
    Q_EMIT model->dataChanged(model->index(viewRow, 0), model->index(viewRow, int(columns.size()) - 1));
    UpdateRow(viewRow);
    footer->update();
}

void TDBGridEh::Private::UpdateRow(int viewRow)
{
    q->viewport()->update(0, q->rowViewportPosition(viewRow), q->viewport()->width(), rowHeight);
    indicator->viewport()->update();
}

int TDBGridEh::Private::CurrentRow() const
{
    const TClientDataSetEx* open = OpenDataSet();
    return open && !open->IsEmpty() ? open->RecNo() - 1 : -1;
}

void TDBGridEh::Private::FollowCursor()
{
    const int row = CurrentRow();
    const int shownRow = q->currentIndex().row();
    if (editor && row != shownRow)
        CloseEditor();
    if (row < 0 || row >= model->rowCount() || columns.empty())
        return;
    const int column = ShownColumn(currentColumn) ? currentColumn : std::max(0, NextShownColumn(-1, 1));
    const QModelIndex index = model->index(row, column);
    if (!IsFound(row, column))
        found = {};
    if (index != q->currentIndex()) {
        moving = true;
        q->setCurrentIndex(index);
        moving = false;
    }
    if (!q->isVisible())
        return;
    q->scrollTo(index);
    if (q->KeepsRowPlace && !placing)
        rowPlace = RowPlace();
    q->viewport()->update();
    indicator->viewport()->update();
}

int TDBGridEh::Private::InForm(int y) const
{
    const QWidget* form = q;
    while (!form->isWindow() && !qobject_cast<const TForm*>(form))
        form = form->parentWidget();
    return q->viewport()->mapTo(form, QPoint(0, y)).y();
}

int TDBGridEh::Private::RowPlace() const
{
    const int row = CurrentRow();
    const int top = row < 0 ? -1 : q->rowViewportPosition(row);
    if (top < 0 || top + rowHeight > q->viewport()->height())
        return -1;
    return InForm(top);
}

void TDBGridEh::Private::RestoreRowPlace(int place)
{
    const int row = CurrentRow();
    if (place < 0 || row < 0)
        return;
    const int now = InForm(q->rowViewportPosition(row));
    const int fitting = std::max(1, q->viewport()->height() / rowHeight);
    const int first = q->verticalScrollBar()->value() + qRound(double(now - place) / rowHeight);
    q->verticalScrollBar()->setValue(std::clamp(first, row - fitting + 1, row));
}

void TDBGridEh::resizeEvent(QResizeEvent* event)
{
    const int place = d_->rowPlace;
    const bool outermost = !d_->placing;
    QTableView::resizeEvent(event);
    if (outermost && KeepsRowPlace)
        d_->RestoreRowPlace(place);
}

void TDBGridEh::Private::EditingStateChanged()
{
    const TClientDataSetEx* open = OpenDataSet();
    if (!open || open->State() == TDataSetState::Browse)
        CloseEditor();
    if (!open)
        DataReset();
    if (CurrentRow() >= 0)
        UpdateRow(CurrentRow());
}

void TDBGridEh::SetFooterRowCount(int count)
{
    d_->footerRows = std::max(0, count);
    d_->footer->setVisible(d_->footerRows > 0);
    updateGeometries();
}

int TDBGridEh::FooterRowCount() const noexcept
{
    return d_->footerRows;
}

void TDBGridEh::SetFooterColor(const QColor& color)
{
    d_->footerColor = color;
    d_->footer->update();
}

QString TDBGridEh::FooterText(int footerRow, int column) const
{
    if (column < 0 || column >= ColumnCount() || footerRow < 0)
        return {};
    const TGridColumn& entry = d_->columns[size_t(column)];
    if (footerRow >= int(entry.info.footers.size()))
        return {};
    const TFooter& footer = entry.info.footers[size_t(footerRow)];
    const TClientDataSetEx* open = d_->OpenDataSet();
    switch (footer.valueType) {
    case TFooterValueType::None:
        return {};
    case TFooterValueType::StaticText:
        return footer.value;
    case TFooterValueType::Count:
        return d_->sumList && open ? QString::number(open->RecordCount()) : QString();
    case TFooterValueType::Sum:
        break;
    }
    if (!d_->sumList || !open || entry.field < 0)
        return {};
    const auto known = d_->sums.constFind(entry.field);
    if (known != d_->sums.constEnd())
        return *known;
    return *d_->sums.insert(entry.field, WithDecimals(open->Sum(entry.field), entry.info.displayFormat));
}

void TDBGridEh::SetSumListActive(bool on)
{
    d_->sumList = on;
    d_->footer->update();
    viewport()->update();
}

bool TDBGridEh::SumListActive() const noexcept
{
    return d_->sumList;
}

int TDBGridEh::Private::FooterHeight() const
{
    return footerRows * rowHeight;
}

int TDBGridEh::RowHeight() const
{
    return d_->rowHeight;
}

void TDBGridEh::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (!d_ || !d_->model)
        return;
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        d_->ApplyColumns();
}

// All of it here rather than in the base: footers take their room from the viewport, and rows of one height
// need no measuring.
void TDBGridEh::updateGeometries()
{
    if (!d_ || !d_->footer || d_->placing)
        return;
    d_->placing = true;
    const int left = d_->indicator->isHidden() ? 0 : d_->indicator->sizeHint().width();
    const int top = d_->header->isHidden() ? 0 : d_->header->sizeHint().height();
    const int findBar = d_->FindBarHeight();
    setViewportMargins(left, findBar + top, 0, d_->FooterHeight());
    const QRect area = viewport()->geometry();
    if (d_->findBar)
        d_->findBar->setGeometry(
            area.left() - left, area.top() - top - findBar, area.width() + left, findBar);
    d_->indicator->setGeometry(area.left() - left, area.top(), left, area.height());
    d_->header->setGeometry(area.left(), area.top() - top, area.width(), top);
    d_->footer->setGeometry(area.left() - left, area.bottom() + 1, area.width() + left, d_->FooterHeight());
    if (auto* corner = findChild<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        corner->setVisible(left > 0 && top > 0);
        corner->setGeometry(area.left() - left, area.top() - top, left, top);
    }
    const int rows = d_->model->rowCount();
    const int fitting = std::max(1, area.height() / d_->rowHeight);
    verticalScrollBar()->setRange(0, std::max(0, rows - fitting));
    verticalScrollBar()->setPageStep(fitting);
    verticalScrollBar()->setSingleStep(1);
    horizontalScrollBar()->setRange(0, std::max(0, d_->header->length() - area.width()));
    horizontalScrollBar()->setPageStep(area.width());
    horizontalScrollBar()->setSingleStep(std::max(8, d_->rowHeight));
    // The table's own version is what this one replaces.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    QAbstractItemView::updateGeometries();
    d_->PlaceEditor();
    d_->placing = false;
}

void TDBGridEh::scrollContentsBy(int dx, int dy)
{
    QTableView::scrollContentsBy(dx, dy);
    // Frozen columns do not move along.
    if (dx != 0) {
        if (d_->frozen > 0)
            viewport()->update();
        d_->header->viewport()->update();
        d_->footer->update();
    }
    d_->PlaceEditor();
}

QRect TDBGridEh::visualRect(const QModelIndex& index) const
{
    if (!index.isValid() || !d_->ShownColumn(index.column()))
        return {};
    return {d_->ColumnLeft(index.column()), rowViewportPosition(index.row()), columnWidth(index.column()),
        d_->rowHeight};
}

QModelIndex TDBGridEh::indexAt(const QPoint& point) const
{
    const int row = rowAt(point.y());
    if (row < 0)
        return {};
    if (point.x() >= d_->FrozenWidth()) {
        const int column = columnAt(point.x());
        return column < 0 ? QModelIndex() : d_->model->index(row, column);
    }
    for (int column = 0; column < d_->frozen; ++column) {
        if (d_->ShownColumn(column) && point.x() < d_->ColumnLeft(column) + columnWidth(column))
            return d_->model->index(row, column);
    }
    return {};
}

void TDBGridEh::scrollTo(const QModelIndex& index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    const int fitting = std::max(1, viewport()->height() / d_->rowHeight);
    QScrollBar& bar = *verticalScrollBar();
    const int above = rowViewportPosition(index.row());
    if (hint == PositionAtCenter)
        bar.setValue(index.row() - fitting / 2);
    else if (above < 0 || hint == PositionAtTop)
        bar.setValue(index.row());
    else if (above + d_->rowHeight > viewport()->height() || hint == PositionAtBottom)
        bar.setValue(index.row() - fitting + 1);
    if (index.column() < d_->frozen || !d_->ShownColumn(index.column()))
        return;
    const int left = columnViewportPosition(index.column());
    const int right = left + columnWidth(index.column());
    QScrollBar& across = *horizontalScrollBar();
    if (left < d_->FrozenWidth() || columnWidth(index.column()) > viewport()->width() - d_->FrozenWidth())
        across.setValue(across.value() + left - d_->FrozenWidth());
    else if (right > viewport()->width())
        across.setValue(across.value() + right - viewport()->width());
}

TDBGridEh* GridOf(QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        if (auto* grid = qobject_cast<TDBGridEh*>(widget))
            return grid;
    }
    return nullptr;
}

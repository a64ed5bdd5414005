#include "runtime/controls/LookupCompletion.h"
#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/SortIndex.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Decimals of a pattern like "0.00"; thousands are grouped where it has a comma.
QString FormatNumber(double number, const QString& pattern)
{
    const qsizetype point = pattern.indexOf(u'.');
    const int decimals = point < 0 ? 0 : int(pattern.size() - point - 1);
    const QLocale c = QLocale::c();
    if (pattern.contains(u','))
        return c.toString(number, 'f', decimals);
    return QString::number(number, 'f', decimals);
}

} // namespace

void TDBGridEh::SetColumns(std::vector<TColumnEh> columns)
{
    d_->CloseEditor();
    d_->columns.clear();
    d_->columns.reserve(columns.size());
    for (TColumnEh& column : columns) {
        if (column.title.isEmpty() && !column.fieldName.isEmpty())
            column.title = column.fieldName;
        TGridColumn& entry = d_->columns.emplace_back();
        entry.initial = {int(d_->columns.size()) - 1, column.title, column.width, column.visible};
        entry.info = std::move(column);
    }
    d_->currentColumn = std::max(0, d_->NextShownColumn(-1, 1));
    d_->BindFields();
    d_->RenumberMarkers();
    d_->model->Reset();
    d_->ApplyColumns();
    d_->FollowCursor();
    Q_EMIT ColumnsChanged();
}

int TDBGridEh::ColumnCount() const noexcept
{
    return int(d_->columns.size());
}

const TColumnEh& TDBGridEh::Column(int index) const
{
    return d_->columns.at(size_t(index)).info;
}

int TDBGridEh::ColumnIndex(QStringView fieldName) const noexcept
{
    for (size_t i = 0; i < d_->columns.size(); ++i) {
        if (fieldName.compare(d_->columns[i].info.fieldName, Qt::CaseInsensitive) == 0)
            return int(i);
    }
    return -1;
}

void TDBGridEh::ModifyColumn(int index, const std::function<void(TColumnEh&)>& change)
{
    TGridColumn& entry = d_->columns.at(size_t(index));
    const bool visible = entry.info.visible;
    change(entry.info);
    if (entry.info.visible != visible)
        entry.initial.visible = entry.info.visible;
    d_->BindFields();
    d_->RenumberMarkers();
    d_->ApplyColumns();
    Q_EMIT ColumnsChanged();
}

void TDBGridEh::MoveColumn(int from, int to)
{
    const int count = ColumnCount();
    if (from == to || from < 0 || to < 0 || from >= count || to >= count || !CommitEditor())
        return;
    auto begin = d_->columns.begin();
    if (from < to)
        std::rotate(begin + from, begin + from + 1, begin + to + 1);
    else
        std::rotate(begin + to, begin + from, begin + from + 1);
    // The current cell stays the same field's.
    int& current = d_->currentColumn;
    if (current == from)
        current = to;
    else if (from < current && current <= to)
        --current;
    else if (to <= current && current < from)
        ++current;
    d_->ColumnsReordered();
}

void TDBGridEh::Private::ColumnsReordered()
{
    model->Reset();
    ApplyColumns();
    FollowCursor();
    Q_EMIT q->ColumnsChanged();
}

// What only the user asked for is undone by the default columns.
void TDBGridEh::Private::ShowColumn(int column, bool on)
{
    const bool initial = columns[size_t(column)].initial.visible;
    q->ModifyColumn(column, [on](TColumnEh& changed) { changed.visible = on; });
    columns[size_t(column)].initial.visible = initial;
}

void TDBGridEh::ArrangeColumns(const std::vector<TColumnPlace>& places)
{
    if (places.size() != d_->columns.size() || !CommitEditor())
        return;
    std::vector<TGridColumn> arranged;
    arranged.reserve(places.size());
    int current = 0;
    for (const TColumnPlace& place : places) {
        if (place.column == d_->currentColumn)
            current = int(arranged.size());
        TGridColumn& entry = arranged.emplace_back(std::move(d_->columns.at(size_t(place.column))));
        entry.info.title = place.title;
        entry.info.width = place.width;
    }
    d_->columns = std::move(arranged);
    d_->currentColumn = current;
    d_->ColumnsReordered();
}

void TDBGridEh::RestoreDefaultColumns()
{
    std::vector<TColumnPlace> places(d_->columns.size());
    for (size_t i = 0; i < places.size(); ++i) {
        TGridColumn& entry = d_->columns[i];
        entry.info.visible = entry.initial.visible;
        places[size_t(entry.initial.place)] = {int(i), entry.initial.title, entry.initial.width};
    }
    ArrangeColumns(places);
}

void TDBGridEh::SetRowNumberTitle(const QString& title)
{
    d_->rowNumberTitle = title;
    d_->ApplyColumns();
}

void TDBGridEh::SetFrozenCols(int count)
{
    d_->frozen = std::clamp(count, 0, ColumnCount());
    d_->ApplyColumns();
}

int TDBGridEh::FrozenCols() const noexcept
{
    return d_->frozen;
}

// Widths, visibility and heights from the descriptions to the views.
void TDBGridEh::Private::ApplyColumns()
{
    const QFontMetrics metrics(q->font());
    rowHeight = metrics.height() + Scaled(*q, ListStyle().rowSpace);
    frozen = std::min(frozen, int(columns.size()));
    indicator->setMinimumSectionSize(rowHeight);
    indicator->setDefaultSectionSize(rowHeight);
    const bool blocked = header->blockSignals(true);
    for (int i = 0; i < int(columns.size()); ++i) {
        const TColumnEh& column = columns[size_t(i)].info;
        columns[size_t(i)].rowNumber = !rowNumberTitle.isEmpty() && column.title == rowNumberTitle;
        header->setSectionHidden(i, !column.visible);
        if (column.visible)
            header->resizeSection(i, std::max(ShownWidth(*q, column.width), Scaled(*q, 8)));
    }
    header->blockSignals(blocked);
    if (!ShownColumn(currentColumn))
        currentColumn = std::max(0, NextShownColumn(-1, 1));
    header->Relayout();
    q->updateGeometries();
    q->viewport()->update();
    footer->update();
}

// Rows of another height move: the current one stays in sight if it was.
void TDBGridEh::Private::ApplyListStyle()
{
    const bool seen = q->isVisible() && RowPlace() >= 0;
    q->setFont(ListFont());
    if (editor)
        editor->setFont(q->font());
    ApplyColumns();
    if (seen)
        q->scrollTo(q->currentIndex());
    indicator->viewport()->update();
}

bool TDBGridEh::Private::ShownColumn(int column) const
{
    return column >= 0 && column < int(columns.size()) && columns[size_t(column)].info.visible;
}

int TDBGridEh::Private::NextShownColumn(int column, int step) const
{
    do
        column += step;
    while (column >= 0 && column < int(columns.size()) && !columns[size_t(column)].info.visible);
    return ShownColumn(column) ? column : -1;
}

int TDBGridEh::Private::FrozenWidth() const
{
    return frozen > 0 && frozen < int(columns.size()) ? header->sectionPosition(frozen)
        : frozen > 0                                  ? header->length()
                                                      : 0;
}

int TDBGridEh::Private::ColumnLeft(int column) const
{
    return column < frozen ? header->sectionPosition(column) : header->sectionViewportPosition(column);
}

int TDBGridEh::SelectedIndex() const noexcept
{
    return d_->ShownColumn(d_->currentColumn) ? d_->currentColumn : -1;
}

void TDBGridEh::SetSelectedIndex(int column)
{
    if (!d_->ShownColumn(column))
        return;
    if (column != d_->currentColumn && !CommitEditor())
        return;
    d_->currentColumn = column;
    d_->FollowCursor();
    Q_EMIT SelectionChanged();
}

QString TDBGridEh::SelectedField() const
{
    const int column = SelectedIndex();
    return column < 0 ? QString() : Column(column).fieldName;
}

void TDBGridEh::SelectField(QStringView fieldName)
{
    SetSelectedIndex(ColumnIndex(fieldName));
}

void TDBGridEh::SetSortLocal(bool on)
{
    d_->sortLocal = on;
}

bool TDBGridEh::SortLocal() const noexcept
{
    return d_->sortLocal;
}

// Marking order survives columns that come, go and move; a marker set from outside comes last.
void TDBGridEh::Private::RenumberMarkers()
{
    std::vector<TGridColumn*> marked;
    for (TGridColumn& column : columns) {
        if (column.info.sortMarker != TSortMarker::None)
            marked.push_back(&column);
        else
            column.markOrder = 0;
    }
    std::stable_sort(marked.begin(), marked.end(), [](const TGridColumn* a, const TGridColumn* b) {
        return (a->markOrder ? a->markOrder : INT_MAX) < (b->markOrder ? b->markOrder : INT_MAX);
    });
    for (size_t i = 0; i < marked.size(); ++i)
        marked[i]->markOrder = int(i) + 1;
}

void TDBGridEh::ClickTitle(int column)
{
    if (column < 0 || column >= ColumnCount() || !Column(column).titleButton)
        return;
    if (OnTitleBtnClick)
        Guarded([&] { OnTitleBtnClick(column); });
    TGridColumn& entry = d_->columns[size_t(column)];
    const bool sortable = !d_->OpenDataSet() || entry.field >= 0;
    if (!d_->sortLocal || !sortable || !CommitEditor())
        return;
    TSortMarker& marker = entry.info.sortMarker;
    marker = marker == TSortMarker::None ? TSortMarker::Up
        : marker == TSortMarker::Up      ? TSortMarker::Down
                                         : TSortMarker::None;
    d_->RenumberMarkers();
    d_->ApplySorting();
}

void TDBGridEh::ClearSortMarkers()
{
    for (TGridColumn& column : d_->columns)
        column.info.sortMarker = TSortMarker::None;
    d_->RenumberMarkers();
    d_->ApplySorting();
}

void TDBGridEh::Private::ApplySorting()
{
    header->viewport()->update();
    TClientDataSetEx* open = OpenDataSet();
    if (!open)
        return;
    std::vector<const TGridColumn*> marked;
    for (const TGridColumn& column : columns) {
        if (column.markOrder > 0 && column.field >= 0)
            marked.push_back(&column);
    }
    std::sort(marked.begin(), marked.end(),
        [](const TGridColumn* a, const TGridColumn* b) { return a->markOrder < b->markOrder; });
    QStringList fields;
    QStringList descending;
    for (const TGridColumn* column : marked) {
        fields += column->info.fieldName;
        if (column->info.sortMarker == TSortMarker::Down)
            descending += column->info.fieldName;
    }
    Guarded([&] {
        open->GatherRows({}); // the order that was asked for last
        if (fields.isEmpty()) {
            if (open->IndexName() == kSortIndex) {
                open->SetIndexName({});
                open->DeleteIndex(kSortIndex);
            }
        } else {
            open->AddIndex(kSortIndex, fields.join(u';'), descending.join(u';'));
            open->SetIndexName(kSortIndex);
        }
        open->First();
    });
}

const TGridColumn::LookupText& TDBGridEh::Private::LookupTextOf(
    const TGridColumn& column, const QString& key) const
{
    const auto known = column.lookupTexts.constFind(key);
    if (known != column.lookupTexts.constEnd())
        return *known;
    const TLookupParams& lookup = column.info.lookup;
    return *column.lookupTexts.insert(key, {LookupShownText(lookup, key), LookupKnows(lookup, key)});
}

bool TDBGridEh::Private::ShowsUnknown(int viewRow, int column) const
{
    const TClientDataSetEx* open = OpenDataSet();
    const TGridColumn& entry = columns[size_t(column)];
    return open && entry.field >= 0 && entry.info.style == TColumnStyle::Lookup && !entry.info.readOnly
        && !q->ReadOnly && viewRow >= 0 && viewRow < open->RecordCount()
        && !LookupTextOf(entry, open->ViewText(viewRow, entry.field)).known;
}

std::vector<TFooter> SumFooters(const QString& word)
{
    TFooter upper;
    if (!word.isEmpty())
        upper = {TFooterValueType::StaticText, word, TAlignment::Right};
    return {upper, {TFooterValueType::Sum, {}, TAlignment::Right}};
}

QString TDBGridEh::CellText(int viewRow, int column) const
{
    const TClientDataSetEx* open = d_->OpenDataSet();
    if (!open || column < 0 || column >= ColumnCount() || viewRow < 0 || viewRow >= open->RecordCount())
        return {};
    const TGridColumn& entry = d_->columns[size_t(column)];
    if (entry.rowNumber && d_->sumList)
        return QString::number(viewRow + 1);
    if (entry.field < 0)
        return {};
    return d_->ShownText(entry, open->ViewValue(viewRow, entry.field));
}

QString TDBGridEh::Private::ShownText(const TGridColumn& entry, const wire::Value& value) const
{
    const TColumnEh& info = entry.info;
    const bool null = wire::IsNull(value);
    if (null && !info.nullText.isEmpty())
        return info.nullText;
    const QString text = wire::ToText(value);
    switch (info.style) {
    case TColumnStyle::CheckBox:
        return text == info.keyList.value(0, u"1"_s) ? u"1"_s : u"0"_s;
    case TColumnStyle::KeyPickList: {
        const qsizetype index = info.keyList.indexOf(text);
        return index >= 0 && index < info.pickList.size() ? info.pickList[index]
                                                          : info.namedKeys.value(text, text);
    }
    case TColumnStyle::Lookup:
        return LookupTextOf(entry, text).shown;
    case TColumnStyle::Memo:
        return text.simplified();
    default:
        break;
    }
    if (info.displayFormat.isEmpty() || null)
        return text;
    if (const auto* moment = std::get_if<wire::DateTime>(&value))
        return moment->Format(info.displayFormat);
    if (const auto* number = std::get_if<double>(&value))
        return FormatNumber(*number, info.displayFormat);
    if (const auto* number = std::get_if<qint64>(&value))
        return FormatNumber(double(*number), info.displayFormat);
    return text;
}

// Which rows are seen and in what order, reading beside the cursor, sums and search.

#include "runtime/data/ClientDataSetPrivate.h"
#include "runtime/data/ExactSum.h"

using namespace Qt::Literals::StringLiterals;

// --- Reading any view row ---

bool TClientDataSetEx::ViewIsNull(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return true;
    const RowNumber row = d_->view.RowAt(viewRow);
    const wire::Value* edited = d_->Edited(row, field);
    return edited ? wire::IsNull(*edited) : d_->rows.Column(field).IsNull(row);
}

QString TClientDataSetEx::ViewText(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return {};
    const RowNumber row = d_->view.RowAt(viewRow);
    return CellText(d_->Edited(row, field), d_->rows.Column(field), row);
}

wire::Value TClientDataSetEx::ViewValue(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return {};
    const RowNumber row = d_->view.RowAt(viewRow);
    const wire::Value* edited = d_->Edited(row, field);
    return edited ? *edited : d_->rows.Column(field).ValueAt(row);
}

qint64 TClientDataSetEx::ViewInteger(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return 0;
    const RowNumber row = d_->view.RowAt(viewRow);
    return CellInteger(d_->Edited(row, field), d_->rows.Column(field), row);
}

const wire::Column& TClientDataSetEx::StoredColumn(int field) const
{
    return d_->rows.Column(field);
}

qint64 TClientDataSetEx::StoredRow(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count())
        return -1;
    const RowNumber row = d_->view.RowAt(viewRow);
    const bool edited =
        field < 0 ? row == d_->editRow || !d_->rows.IsAsRead(row) : d_->Edited(row, field) != nullptr;
    return edited ? -1 : qint64(row);
}

TBookmark TClientDataSetEx::ViewBookmark(int viewRow) const
{
    return viewRow < 0 || viewRow >= d_->view.Count() ? 0 : d_->view.RowAt(viewRow) + 1;
}

int TClientDataSetEx::ViewRowOf(TBookmark bookmark) const
{
    return bookmark == 0 ? -1 : d_->view.IndexOf(bookmark - 1);
}

TRowStatus TClientDataSetEx::ViewStatus(int viewRow) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count())
        return TRowStatus::Unmodified;
    const RowNumber row = d_->view.RowAt(viewRow);
    if (d_->state == TDataSetState::Insert && row == d_->editRow)
        return TRowStatus::Inserted;
    return d_->rows.Status(row);
}

bool TClientDataSetEx::ViewCellChanged(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return false;
    const wire::Value* edited = d_->Edited(d_->view.RowAt(viewRow), field);
    return edited && ViewStatus(viewRow) != TRowStatus::Inserted
        && !wire::SameValue(*edited, ViewOldValue(viewRow, field));
}

wire::Value TClientDataSetEx::ViewOldValue(int viewRow, int field) const
{
    if (viewRow < 0 || viewRow >= d_->view.Count() || field < 0 || field >= FieldCount())
        return {};
    return d_->rows.Original(d_->view.RowAt(viewRow), field);
}

QString TClientDataSetEx::Sum(int field) const
{
    if (field < 0 || field >= FieldCount())
        return {};
    const wire::Column& column = d_->rows.Column(field);
    if (column.Type() == wire::ColumnType::DateTime)
        return {};
    ExactSum sum;
    const auto addValue = [&](const wire::Value& value) {
        if (const auto* integer = std::get_if<qint64>(&value))
            sum.AddInteger(*integer);
        else if (const auto* number = std::get_if<double>(&value))
            sum.AddNumber(*number);
        else if (const auto* text = std::get_if<QString>(&value))
            sum.AddText(text->toLatin1());
    };
    const int count = d_->view.Count();
    for (int i = 0; i < count; ++i) {
        const RowNumber row = d_->view.RowAt(i);
        if (const wire::Value* edited = d_->Edited(row, field))
            addValue(*edited);
        else if (column.Type() == wire::ColumnType::Text)
            sum.AddText(column.TextAt(row));
        else if (column.Type() == wire::ColumnType::Integer)
            sum.AddInteger(column.IntegerAt(row));
        else
            sum.AddNumber(column.NumberAt(row));
    }
    return sum.ToText();
}

size_t TClientDataSetEx::MemoryUse() const noexcept
{
    return d_->rows.MemoryUse() + d_->view.MemoryUse() + d_->ranks.MemoryUse() + d_->lookup.MemoryUse()
        + d_->pending.MemoryUse() + d_->valueFilters.MemoryUse();
}

// --- Search ---

bool TClientDataSetEx::Private::Matches(RowNumber row, const WantedCell& wanted) const
{
    const wire::Column& column = rows.Column(wanted.field);
    const wire::Value* edited = rows.Edited(row, wanted.field);
    if (column.Type() != wire::ColumnType::Text || wire::IsNull(wanted.value))
        return wire::SameValue(edited ? *edited : column.ValueAt(row), wanted.value);
    if (!edited && !wanted.caseInsensitive)
        return wanted.partial ? column.TextAt(row).startsWith(wanted.utf8)
                              : column.TextAt(row) == wanted.utf8;
    const QString text = CellText(edited, column, row);
    const Qt::CaseSensitivity sensitivity = wanted.caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive;
    return wanted.partial ? text.startsWith(wanted.text, sensitivity)
                          : text.compare(wanted.text, sensitivity) == 0;
}

bool TClientDataSetEx::Locate(
    QStringView fieldNames, const std::vector<wire::Value>& values, bool caseInsensitive, bool partialKey)
{
    d_->RequireActive();
    d_->Settle();
    const QList<QStringView> names = SplitFieldNames(fieldNames);
    if (names.isEmpty() || static_cast<size_t>(names.size()) != values.size())
        RaiseUsage(u"定位“%1”需要每个字段一个值！"_s.arg(fieldNames));
    std::vector<Private::WantedCell> wanted;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const TField& field = FieldByName(names[i]);
        const wire::Value& value = values[static_cast<size_t>(i)];
        const QString text = wire::ToText(value);
        try {
            // An empty text is null here as everywhere.
            wanted.push_back(
                {field.Index(), wire::Convert(text.isEmpty() ? wire::Value{} : value, field.DataType()), text,
                    text.toUtf8(), caseInsensitive, partialKey});
        } catch (const wire::Error&) {
            return false; // no cell of that column can equal it
        }
    }

    const Private::WantedCell& first = wanted.front();
    const bool exactText =
        wanted.size() == 1 && !caseInsensitive && !partialKey && std::holds_alternative<QString>(first.value);
    if (exactText && d_->view.ShowsAll() && !d_->rows.HasEdits()) {
        const RowNumber row = d_->lookup.Find(d_->rows, first.field, first.utf8);
        if (row == kNoRow)
            return false;
        d_->MoveTo(static_cast<int>(row), false, false);
        return true;
    }
    const int count = d_->view.Count();
    for (int i = 0; i < count; ++i) {
        const RowNumber row = d_->view.RowAt(i);
        if (std::all_of(
                wanted.begin(), wanted.end(), [&](const auto& cell) { return d_->Matches(row, cell); })) {
            d_->MoveTo(i, false, false);
            return true;
        }
    }
    return false;
}

// --- Filter ---

void TClientDataSetEx::SetFilter(const QString& condition)
{
    if (condition == d_->filter.Text())
        return;
    if (Active())
        d_->Settle();
    RowFilter filter = RowFilter::Parse(condition);
    if (Active())
        filter.Bind(d_->rows, d_->names);
    d_->filter = std::move(filter);
    if (Active() && d_->filtered)
        d_->RebuildView(d_->CurrentRow());
}

const QString& TClientDataSetEx::Filter() const noexcept
{
    return d_->filter.Text();
}

void TClientDataSetEx::SetFiltered(bool on)
{
    if (Active())
        d_->Settle();
    // Switching on again applies the handler anew.
    if (!on && !d_->filtered)
        return;
    if (Active() && on)
        d_->filter.Bind(d_->rows, d_->names);
    d_->filtered = on;
    if (Active())
        d_->RebuildView(d_->CurrentRow());
}

bool TClientDataSetEx::Filtered() const noexcept
{
    return d_->filtered;
}

bool TClientDataSetEx::Private::PassesFilter(RowNumber row)
{
    if (!filter.IsEmpty() && !filter.Passes(rows, row))
        return false;
    if (!q->OnFilterRecord)
        return true;
    filterRow = row;
    struct Restore {
        RowNumber& row;
        ~Restore() { row = kNoRow; }
    } const restore{filterRow};
    return q->OnFilterRecord(*q);
}

void TClientDataSetEx::Private::BindValueFilters(int without)
{
    valueFilters.Bind(
        rows, [this](const QString& field) { return q->FieldIndex(field); }, without);
}

void TClientDataSetEx::FilterValues(const QString& field, std::function<bool(const wire::Value&)> passes)
{
    if (Active())
        d_->Settle();
    d_->valueFilters.Set(field, std::move(passes));
    if (Active())
        d_->RebuildView(d_->CurrentRow());
}

void TClientDataSetEx::ClearValueFilters()
{
    if (d_->valueFilters.IsEmpty())
        return;
    d_->valueFilters.Clear(); // first of all: who asked for them may be going
    if (!Active())
        return;
    d_->Settle();
    d_->RebuildView(d_->CurrentRow());
}

std::vector<TClientDataSetEx::ValueCount> TClientDataSetEx::CountValues(int field) const
{
    std::vector<ValueCount> counts;
    if (!Active() || field < 0 || field >= FieldCount())
        return counts;
    const FieldValues& values = d_->valueFilters.Values(d_->rows, field);
    d_->BindValueFilters(field);
    const bool filtering = d_->filtered && (!d_->filter.IsEmpty() || OnFilterRecord);
    std::vector<int> byCode(size_t(values.Count()), 0);
    QHash<QString, ValueCount> typed; // what no row was read with stands in no column
    const bool all =
        !filtering && d_->valueFilters.NoneBound() && !d_->rows.HasEdits() && d_->editRow == kNoRow;
    for (RowNumber row = 0; row < d_->rows.RowCount(); ++row) {
        if (all) {
            ++byCode[values.CodeOf(row)];
            continue;
        }
        if (!d_->rows.IsLive(row) || !d_->valueFilters.Pass(d_->rows, row)
            || (filtering && !d_->PassesFilter(row)))
            continue;
        if (const wire::Value* edited = d_->Edited(row, field)) {
            ValueCount& count = typed[wire::ToText(*edited)];
            count.value = *edited;
            ++count.rows;
        } else {
            ++byCode[values.CodeOf(row)];
        }
    }
    counts.reserve(byCode.size() + size_t(typed.size()));
    for (quint32 code = 0; code < quint32(byCode.size()); ++code) {
        if (byCode[code] > 0)
            counts.push_back({values.Value(code), byCode[code]});
    }
    for (const ValueCount& count : std::as_const(typed))
        counts.push_back(count);
    return counts;
}

void TClientDataSetEx::GatherRows(std::vector<TBookmark> rows)
{
    if (!Active() || (rows.empty() && d_->gathered.empty()))
        return;
    d_->Settle();
    d_->gathered = std::move(rows);
    d_->RebuildView(d_->CurrentRow());
}

int TClientDataSetEx::GatheredCount() const noexcept
{
    return int(d_->gathered.size());
}

void TClientDataSetEx::Private::PutGatheredFirst(std::vector<RowNumber>& order) const
{
    enum : char { Out, InView, Placed };
    std::vector<char> places(rows.RowCount(), Out);
    for (const RowNumber row : order)
        places[row] = InView;
    std::vector<RowNumber> arranged;
    arranged.reserve(order.size());
    for (const TBookmark row : gathered) {
        if (row == 0 || row > rows.RowCount() || places[row - 1] != InView)
            continue;
        places[row - 1] = Placed;
        arranged.push_back(row - 1);
    }
    std::ranges::copy_if(
        order, std::back_inserter(arranged), [&](RowNumber row) { return places[row] == InView; });
    order = std::move(arranged);
}

bool TClientDataSetEx::HasRow(TBookmark bookmark) const noexcept
{
    return bookmark != 0 && Active() && d_->rows.IsLive(bookmark - 1);
}

int TClientDataSetEx::UnnarrowedCount() const
{
    if (d_->valueFilters.IsEmpty())
        return RecordCount();
    const bool filtering = d_->filtered && (!d_->filter.IsEmpty() || OnFilterRecord);
    int count = 0;
    for (RowNumber row = 0; row < d_->rows.RowCount(); ++row)
        count += d_->rows.IsLive(row) && (!filtering || d_->PassesFilter(row)) ? 1 : 0;
    return count;
}

void TClientDataSetEx::Private::RebuildView(RowNumber current)
{
    const bool filtering = filtered && (!filter.IsEmpty() || q->OnFilterRecord);
    const bool narrowed = !valueFilters.IsEmpty();
    const std::vector<SortKey> keys = ActiveKeys();
    if (narrowed)
        BindValueFilters();
    if (!filtering && !narrowed && keys.empty() && gathered.empty() && !rows.HasHidden()) {
        view.SetAll(rows.RowCount());
    } else {
        std::vector<RowNumber> order;
        order.reserve(filtering || narrowed ? 0 : rows.RowCount());
        for (RowNumber row = 0; row < rows.RowCount(); ++row)
            if (rows.IsLive(row) && (!narrowed || valueFilters.Pass(rows, row))
                && (!filtering || PassesFilter(row)))
                order.push_back(row);
        if (!keys.empty())
            SortRows(rows, ranks, keys, order);
        if (!gathered.empty())
            PutGatheredFirst(order);
        view.SetRows(std::move(order));
    }
    const int kept = view.IndexOf(current);
    const bool lost = kept < 0;
    cursor = !lost ? kept : view.Count() > 0 ? 0 : -1;
    bof = lost;
    eof = cursor < 0;
    if (notifiedState == TDataSetState::Inactive)
        return; // opening: announced when all is in place
    NotifyReset();
    NotifyMoved();
    if (lost && q->AfterScroll)
        q->AfterScroll();
}

// --- Order ---

std::vector<SortKey> TClientDataSetEx::Private::ActiveKeys() const
{
    const auto index = indexes.find(indexName);
    if (index == indexes.end())
        return {};
    const QList<QStringView> descendingFields = SplitFieldNames(index->second.descendingFields);
    std::vector<SortKey> keys;
    for (const QStringView name : SplitFieldNames(index->second.fields)) {
        const bool descends = std::any_of(descendingFields.begin(), descendingFields.end(),
            [&](QStringView other) { return other.compare(name, Qt::CaseInsensitive) == 0; });
        keys.push_back({q->FieldIndex(name), descends});
    }
    return keys;
}

void TClientDataSetEx::AddIndex(const QString& name, QStringView fields, QStringView descendingFields)
{
    if (name.isEmpty() || SplitFieldNames(fields).isEmpty())
        RaiseUsage(u"索引需要名称和字段！"_s);
    const Private::Index index{fields.toString(), descendingFields.toString()};
    if (Active()) {
        for (const QStringView field : SplitFieldNames(fields))
            FieldByName(field);
        d_->Settle();
    }
    d_->indexes[name] = index;
    if (Active() && name == d_->indexName)
        d_->RebuildView(d_->CurrentRow());
}

void TClientDataSetEx::DeleteIndex(const QString& name)
{
    if (name == d_->indexName)
        SetIndexName({});
    d_->indexes.erase(name);
}

void TClientDataSetEx::SetIndexName(const QString& name)
{
    if (!name.isEmpty() && !d_->indexes.contains(name))
        RaiseUsage(u"数据集“%1”没有索引“%2”！"_s.arg(objectName(), name));
    if (!Active()) {
        d_->indexName = name;
        return;
    }
    d_->Settle();
    if (!name.isEmpty())
        for (const QStringView field : SplitFieldNames(d_->indexes[name].fields))
            FieldByName(field);
    // Setting the present one again takes in what was posted since.
    d_->indexName = name;
    d_->RebuildView(d_->CurrentRow());
}

const QString& TClientDataSetEx::IndexName() const noexcept
{
    return d_->indexName;
}

QString TClientDataSetEx::IndexFields(const QString& name) const
{
    const auto index = d_->indexes.find(name);
    return index == d_->indexes.end() ? QString() : index->second.fields;
}

QString TClientDataSetEx::IndexDescendingFields(const QString& name) const
{
    const auto index = d_->indexes.find(name);
    return index == d_->indexes.end() ? QString() : index->second.descendingFields;
}

#include "runtime/data/ValueFilter.h"

#include "wire/ColumnData.h"

#include <QHash>

#include <bit>

namespace {

// Numbers the cells, equal ones alike.
template <typename Key, typename KeyOf>
void NumberCells(RowNumber rows, const wire::Column& column, const KeyOf& keyOf, std::vector<quint32>& codes,
    std::vector<RowNumber>& firstRows)
{
    std::vector<quint32> table(std::bit_ceil(size_t(rows) * 2 + 1), 0); // code; 0 free
    for (RowNumber row = 0; row < rows; ++row) {
        if (column.IsNull(row))
            continue;
        const Key key = keyOf(row);
        size_t slot = qHash(key, 0x9e3779b9u) & (table.size() - 1);
        while (table[slot] != 0 && keyOf(firstRows[table[slot]]) != key)
            slot = (slot + 1) & (table.size() - 1);
        if (table[slot] == 0) {
            table[slot] = quint32(firstRows.size());
            firstRows.push_back(row);
        }
        codes[row] = table[slot];
    }
}

} // namespace

FieldValues::FieldValues(const RowStore& rows, int field)
    : column_(&rows.Column(field))
    , codes_(rows.BaseCount(), 0)
    , firstRows_(1, kNoRow)
{
    const wire::Column& column = *column_;
    const RowNumber count = rows.BaseCount();
    const wire::Column::Data& stored = column.Raw();
    if (column.Type() == wire::ColumnType::Text && column.IsDictionary()) {
        firstRows_.resize(size_t(column.EntryCount()) + 1, kNoRow);
        RowNumber row = 0;
        stored.ints.ForEach([&](qint64 code) {
            firstRows_[size_t(code)] = row;
            codes_[row++] = quint32(code);
        });
        return;
    }
    if (column.Type() == wire::ColumnType::Text) {
        wire::TextPool texts;
        wire::TextIndex index;
        std::vector<qint64> codes(count);
        index.FindAll(texts, stored.pool.bytes.Begin(), stored.pool.ends.Begin(), count, codes.data());
        firstRows_.reserve(size_t(texts.Count()) + 1);
        for (RowNumber row = 0; row < count; ++row) {
            codes_[row] = quint32(codes[row]);
            if (codes_[row] == firstRows_.size())
                firstRows_.push_back(row);
        }
        return;
    }
    if (column.Type() == wire::ColumnType::Number)
        NumberCells<double>(
            count, column, [&](RowNumber row) { return column.NumberAt(row) + 0.0; }, codes_, firstRows_);
    else
        NumberCells<qint64>(
            count, column, [&](RowNumber row) { return column.IntegerAt(row); }, codes_, firstRows_);
}

wire::Value FieldValues::Value(quint32 code) const
{
    return code == 0 || firstRows_[code] == kNoRow ? wire::Value{} : column_->ValueAt(firstRows_[code]);
}

size_t FieldValues::MemoryUse() const noexcept
{
    return codes_.capacity() * sizeof(quint32) + firstRows_.capacity() * sizeof(RowNumber);
}

void ValueFilters::Set(const QString& field, Passes passes)
{
    bound_.clear();
    std::erase_if(filters_,
        [&](const Filter& filter) { return filter.field.compare(field, Qt::CaseInsensitive) == 0; });
    if (passes)
        filters_.push_back({field, std::move(passes), {}});
}

void ValueFilters::Clear() noexcept
{
    bound_.clear();
    filters_.clear();
}

const FieldValues& ValueFilters::Values(const RowStore& rows, int field)
{
    for (const auto& [known, values] : values_) {
        if (known == field)
            return *values;
    }
    return *values_.emplace_back(field, std::make_unique<FieldValues>(rows, field)).second;
}

void ValueFilters::Bind(
    const RowStore& rows, const std::function<int(const QString&)>& fieldIndex, int without)
{
    bound_.clear();
    for (Filter& filter : filters_) {
        const int field = fieldIndex(filter.field);
        if (field < 0 || field == without)
            continue;
        const FieldValues& values = Values(rows, field);
        bound_.push_back({&values, field, &filter});
        if (!filter.passing.empty())
            continue;
        std::vector<bool> passing(size_t(values.Count()));
        for (quint32 code = 0; code < quint32(values.Count()); ++code)
            passing[code] = filter.passes(values.Value(code));
        filter.passing = std::move(passing);
    }
}

bool ValueFilters::Pass(const RowStore& rows, RowNumber row) const
{
    if (rows.Status(row) != TRowStatus::Unmodified)
        return true;
    for (const Bound& bound : bound_) {
        const wire::Value* edited = rows.Edited(row, bound.field);
        const Filter& filter = *bound.filter;
        if (edited ? !filter.passes(*edited) : !filter.passing[bound.values->CodeOf(row)])
            return false;
    }
    return true;
}

size_t ValueFilters::MemoryUse() const noexcept
{
    size_t bytes = 0;
    for (const auto& [field, values] : values_)
        bytes += values->MemoryUse();
    return bytes;
}

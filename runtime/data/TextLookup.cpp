#include "runtime/data/TextLookup.h"

#include <QHashFunctions>

#include <bit>

namespace {

RowNumber Scan(const RowStore& rows, int field, QByteArrayView utf8)
{
    const wire::Column& column = rows.Column(field);
    const RowNumber count = rows.BaseCount();
    if (column.IsDictionary()) {
        qint64 entry = 0;
        const qint64 entries = column.EntryCount();
        while (entry < entries && column.Entry(entry) != utf8)
            ++entry;
        if (entry == entries)
            return kNoRow;
        for (RowNumber row = 0; row < count; ++row)
            if (column.EntryAt(row) == entry)
                return row;
        return kNoRow;
    }
    for (RowNumber row = 0; row < count; ++row)
        if (!column.IsNull(row) && column.TextAt(row) == utf8)
            return row;
    return kNoRow;
}

} // namespace

void TextLookup::Build(Table& table, const RowStore& rows)
{
    const wire::Column& column = rows.Column(table.field);
    const RowNumber count = rows.BaseCount();
    table.slots.assign(std::bit_ceil(static_cast<size_t>(count) * 2 + 1), kNoRow);
    const size_t mask = table.slots.size() - 1;
    for (RowNumber row = 0; row < count; ++row) {
        if (column.IsNull(row))
            continue;
        const QByteArrayView text = column.TextAt(row);
        for (size_t place = qHash(text);; ++place) {
            RowNumber& slot = table.slots[place & mask];
            if (slot == kNoRow) {
                slot = row;
                break;
            }
            if (column.TextAt(slot) == text)
                break; // an earlier row has it
        }
    }
}

RowNumber TextLookup::Find(const RowStore& rows, int field, QByteArrayView utf8)
{
    const auto known = std::find_if(
        tables_.begin(), tables_.end(), [field](const Table& table) { return table.field == field; });
    if (known == tables_.end()) {
        tables_.push_back({field, {}});
        return Scan(rows, field, utf8);
    }
    if (known->slots.empty())
        Build(*known, rows);
    const size_t mask = known->slots.size() - 1;
    for (size_t place = qHash(utf8);; ++place) {
        const RowNumber row = known->slots[place & mask];
        if (row == kNoRow || rows.Column(field).TextAt(row) == utf8)
            return row;
    }
}

size_t TextLookup::MemoryUse() const noexcept
{
    size_t bytes = 0;
    for (const Table& table : tables_)
        bytes += table.slots.capacity() * sizeof(RowNumber);
    return bytes;
}

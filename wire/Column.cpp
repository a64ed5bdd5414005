#include "wire/Column.h"

#include "wire/ColumnData.h"
#include "wire/Error.h"

#include <cmath>

namespace wire {

Column::Data::Data(const Data& other)
    : type(other.type)
    , plain(other.plain)
    , rows(other.rows)
    , ints(other.ints)
    , numbers(other.numbers)
    , nulls(other.nulls)
    , pool(other.pool)
{
}

TextIndex& Column::Data::Index()
{
    if (!index) {
        index = std::make_unique<TextIndex>();
        index->Rebuild(pool);
    }
    return *index;
}

void Column::Data::AppendTextRow(const char* text, qsizetype size)
{
    if (plain)
        pool.Append(text, size);
    else if (size == 0)
        ints.Append(0);
    else
        ints.Append(qint64(Index().Find(pool, text, size)) + 1);
    ++rows;
}

void Column::Data::MakePlain()
{
    TextPool rowByRow;
    quint32* end = rowByRow.ends.Extend(rows);
    quint64 size = 0;
    ints.ForEach([&](qint64 code) { size += code == 0 ? 0 : quint64(pool.At(code - 1).size()); });
    char* to = size <= 0xFFFFFFFF ? rowByRow.bytes.Extend(static_cast<qsizetype>(size)) : nullptr;
    if (to == nullptr && size > 0)
        return; // stays a dictionary, which is the only form in which it fits
    quint32 at = 0;
    ints.ForEach([&](qint64 code) {
        if (code != 0) {
            const QByteArrayView text = pool.At(code - 1);
            std::memcpy(to + at, text.data(), static_cast<size_t>(text.size()));
            at += static_cast<quint32>(text.size());
        }
        *end++ = at;
    });
    pool = std::move(rowByRow);
    ints = {};
    index.reset();
    plain = true;
}

void Column::Data::Settle()
{
    if (plain)
        return;
    // The longer a column, the more of its values must have been there before: a few thousand different
    // values look all new at first.
    const qsizetype entries = pool.Count();
    if ((rows >= 1024 && entries * 20 > rows * 17) || (rows >= 4096 && entries * 2 > rows)
        || (rows >= 32768 && entries * 10 > rows * 3))
        MakePlain();
}

Column::Column(ColumnType type)
    : data_(std::make_unique<Data>(type))
{
}

Column::~Column() = default;
Column::Column(Column&&) noexcept = default;
Column& Column::operator=(Column&&) noexcept = default;

Column::Column(const Column& other)
    : data_(std::make_unique<Data>(*other.data_))
{
}

Column& Column::operator=(const Column& other)
{
    if (this != &other)
        data_ = std::make_unique<Data>(*other.data_);
    return *this;
}

ColumnType Column::Type() const noexcept
{
    return data_->type;
}

qsizetype Column::RowCount() const noexcept
{
    return data_->rows;
}

bool Column::IsNull(qsizetype row) const noexcept
{
    if (data_->type != ColumnType::Text)
        return data_->nulls.IsNull(row);
    return data_->plain ? data_->pool.At(row).isEmpty() : data_->ints.At(row) == 0;
}

qint64 Column::IntegerAt(qsizetype row) const noexcept
{
    return data_->ints.At(row);
}

double Column::NumberAt(qsizetype row) const noexcept
{
    if (data_->type != ColumnType::Number)
        return static_cast<double>(data_->ints.At(row));
    return data_->numbers.IsEmpty() ? 0 : data_->numbers[row];
}

QByteArrayView Column::TextAt(qsizetype row) const noexcept
{
    if (data_->plain)
        return data_->pool.At(row);
    const qint64 code = data_->ints.At(row);
    return code == 0 ? QByteArrayView() : data_->pool.At(code - 1);
}

qint64 Column::EntryAt(qsizetype row) const noexcept
{
    if (data_->plain)
        return data_->pool.At(row).isEmpty() ? -1 : row;
    return data_->ints.At(row) - 1;
}

qsizetype Column::EntryCount() const noexcept
{
    return data_->pool.Count();
}

QByteArrayView Column::Entry(qsizetype entry) const noexcept
{
    return data_->pool.At(entry);
}

bool Column::IsDictionary() const noexcept
{
    return !data_->plain;
}

Value Column::ValueAt(qsizetype row) const
{
    if (IsNull(row))
        return {};
    switch (data_->type) {
    case ColumnType::Text:
        return QString::fromUtf8(TextAt(row));
    case ColumnType::Integer:
        return IntegerAt(row);
    case ColumnType::Number:
        return NumberAt(row);
    case ColumnType::DateTime:
        return DateTime{IntegerAt(row)};
    }
    return {};
}

void Column::AppendNull()
{
    switch (data_->type) {
    case ColumnType::Text:
        data_->AppendTextRow(nullptr, 0);
        return;
    case ColumnType::Number:
        if (!data_->numbers.IsEmpty())
            data_->numbers.Append(0);
        break;
    default:
        data_->ints.Append(0);
        break;
    }
    data_->nulls.Append(true);
    ++data_->rows;
}

void Column::AppendInteger(qint64 value)
{
    data_->ints.Append(value);
    data_->nulls.Append(false);
    ++data_->rows;
}

void Column::AppendNumber(double value)
{
    if (data_->numbers.IsEmpty())
        data_->numbers.AppendZeros(data_->rows);
    data_->numbers.Append(value);
    data_->nulls.Append(false);
    ++data_->rows;
}

void Column::AppendText(QByteArrayView utf8)
{
    data_->AppendTextRow(utf8.data(), utf8.size());
    if ((data_->rows & (CellBlock::kRows - 1)) == 0)
        data_->Settle();
}

void Column::AppendValue(const Value& value)
{
    const Value converted = Convert(value, data_->type);
    if (const auto* text = std::get_if<QString>(&converted))
        AppendText(text->toUtf8());
    else if (const auto* integer = std::get_if<qint64>(&converted))
        AppendInteger(*integer);
    else if (const auto* number = std::get_if<double>(&converted))
        AppendNumber(*number);
    else if (const auto* time = std::get_if<DateTime>(&converted))
        AppendInteger(time->seconds);
    else
        AppendNull();
}

void Column::AppendColumn(Column&& block)
{
    Data& from = *block.data_;
    if (data_->rows == 0 && !data_->plain) {
        data_ = std::move(block.data_);
        block.data_ = std::make_unique<Data>(data_->type);
        return;
    }
    if (data_->type == ColumnType::Number) {
        if (data_->numbers.IsEmpty() && !from.numbers.IsEmpty())
            data_->numbers.AppendZeros(data_->rows);
        if (from.numbers.IsEmpty() && !data_->numbers.IsEmpty())
            data_->numbers.AppendZeros(from.rows);
        else
            data_->numbers.Append(from.numbers.Begin(), from.numbers.Size());
        data_->nulls.Append(from.nulls);
    } else if (data_->type != ColumnType::Text) {
        data_->ints.Append(from.ints);
        data_->nulls.Append(from.nulls);
    } else {
        if (from.plain && !data_->plain)
            data_->MakePlain();
        if (data_->plain && from.plain) {
            data_->pool.Append(from.pool);
        } else if (data_->plain || from.plain) {
            for (qsizetype row = 0; row < from.rows; ++row) {
                const QByteArrayView text = block.TextAt(row);
                data_->AppendTextRow(text.data(), text.size());
            }
            data_->rows -= from.rows; // counted below
        } else {
            const qsizetype entries = from.pool.Count();
            Array<qint64> codes; // of the block's entries, here; the null's first
            codes.Append(0);
            data_->Index().FindAll(
                data_->pool, from.pool.bytes.Begin(), from.pool.ends.Begin(), entries, codes.Extend(entries));
            Array<qint64> mapped;
            qint64* to = mapped.Extend(from.rows);
            // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): codes holds at least the null's
            from.ints.ForEach([&](qint64 code) { *to++ = codes[code]; });
            data_->ints.Append(mapped.Begin(), mapped.Size());
        }
    }
    data_->rows += from.rows;
    data_->Settle();
    block.data_ = std::make_unique<Data>(data_->type);
}

void Column::AppendCells(const CellBlock& cells)
{
    const qsizetype rows = cells.rows_;
    if (rows == 0)
        return;
    if (data_->type == ColumnType::Number) {
        if (cells.nulls_ < rows || !data_->numbers.IsEmpty()) {
            if (data_->numbers.IsEmpty())
                data_->numbers.AppendZeros(data_->rows);
            data_->numbers.Append(cells.numbers_.Begin(), rows);
        }
        data_->nulls.Append(cells.flags_.Begin(), rows, cells.nulls_);
    } else if (data_->type != ColumnType::Text) {
        data_->ints.Append(cells.ints_.Begin(), rows);
        data_->nulls.Append(cells.flags_.Begin(), rows, cells.nulls_);
    } else if (data_->plain) {
        TextPool& pool = data_->pool;
        const quint32 offset = static_cast<quint32>(pool.bytes.Size());
        pool.Append(cells.bytes_.Begin(), cells.bytes_.Size()); // guards the size
        pool.ends.Truncate(pool.ends.Size() - 1);
        quint32* to = pool.ends.Extend(rows);
        for (qsizetype row = 0; row < rows; ++row)
            to[row] = cells.ends_[row] + offset;
    } else if (cells.nulls_ == rows) {
        data_->ints.AppendZeros(rows);
    } else {
        Array<qint64> codes;
        data_->Index().FindAll(
            data_->pool, cells.bytes_.Begin(), cells.ends_.Begin(), rows, codes.Extend(rows));
        data_->ints.Append(codes.Begin(), rows);
    }
    data_->rows += rows;
    data_->Settle();
}

Column Column::TakeRows()
{
    Column rows(data_->type);
    rows.data_.swap(data_);
    rows.data_->index.reset();
    data_->plain = rows.data_->plain;
    return rows;
}

Column Column::Slice(qsizetype begin, qsizetype count) const
{
    Column rows(data_->type);
    rows.data_->plain = data_->plain;
    for (qsizetype row = begin; row < begin + count; ++row) {
        if (IsNull(row))
            rows.AppendNull();
        else if (data_->type == ColumnType::Text)
            rows.AppendText(TextAt(row));
        else if (data_->type == ColumnType::Number)
            rows.AppendNumber(NumberAt(row));
        else
            rows.AppendInteger(IntegerAt(row));
    }
    return rows;
}

size_t Column::MemoryUse() const noexcept
{
    return sizeof(Data) + data_->ints.MemoryUse() + data_->numbers.MemoryUse() + data_->nulls.MemoryUse()
        + data_->pool.bytes.MemoryUse() + data_->pool.ends.MemoryUse()
        + (data_->index ? data_->index->MemoryUse() : 0);
}

void Column::Squeeze()
{
    data_->index.reset();
    data_->ints.Squeeze();
    data_->numbers.Squeeze();
    data_->nulls.Squeeze();
    data_->pool.bytes.Squeeze();
    data_->pool.ends.Squeeze();
}

int RowSet::IndexOf(QStringView name) const noexcept
{
    for (size_t i = 0; i < infos.size(); ++i) {
        if (name.compare(infos[i].name, Qt::CaseInsensitive) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

} // namespace wire

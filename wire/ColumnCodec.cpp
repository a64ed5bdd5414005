#include "wire/Codec.h"
#include "wire/Reader.h"

#include <algorithm>
#include <bit>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

// Rows without bytes (all null) cost nothing to send, so their number needs a limit of its own.
constexpr quint32 kMaxBlockRows = 4'000'000;

enum class TextForm : quint8 { Nothing = 0, Plain = 1, Dictionary = 2 };

// Calls `work` with a zero of the type that integers of this width have; not at all for width 0.
template <typename F> void WithWidth(int width, F&& work)
{
    switch (width) {
    case 1:
        return work(qint8(0));
    case 2:
        return work(qint16(0));
    case 4:
        return work(qint32(0));
    case 8:
        return work(qint64(0));
    default:
        return;
    }
}

// `next` gives one integer after the other, none outside of `least` to `most`.
template <typename F> void PutInts(Packet& out, qint64 least, qint64 most, qsizetype count, F&& next)
{
    const int width = NarrowInts::WidthFor(least, most);
    out.Put(static_cast<quint8>(width));
    WithWidth(width, [&](auto zero) {
        using T = decltype(zero);
        char* const to = out.Extend(count * qsizetype(sizeof(T)));
        for (qsizetype i = 0; i < count; ++i) {
            const T value = static_cast<T>(next(i));
            std::memcpy(to + i * qsizetype(sizeof(T)), &value, sizeof(T));
        }
    });
}

void PutInts(Packet& out, const NarrowInts& ints)
{
    out.Put(static_cast<quint8>(ints.Width()));
    out.Put(ints.Bytes(), ints.Size() * ints.Width());
}

int GetWidth(Reader& in)
{
    const auto width = in.Get<quint8>();
    if (width > 8 || (width != 0 && !std::has_single_bit(width)))
        Malformed(u"integers of %1 bytes"_s.arg(width));
    return width;
}

NarrowInts GetInts(Reader& in, qsizetype rows)
{
    const int width = GetWidth(in);
    NarrowInts ints;
    ints.AppendBytes(in.Take(qint64(rows) * width), width, rows);
    return ints;
}

void PutNulls(Packet& out, const NullMap& nulls)
{
    out.Put(static_cast<quint32>(nulls.Nulls()));
    if (nulls.Nulls() != 0 && nulls.Nulls() != nulls.Rows())
        out.Put(nulls.Words().Begin(), nulls.Words().Size() * qsizetype(sizeof(quint64)));
}

NullMap GetNulls(Reader& in, qsizetype rows)
{
    const auto count = qsizetype(in.Get<quint32>());
    if (count > rows)
        Malformed(u"%1 nulls in %2 rows"_s.arg(count).arg(rows));
    NullMap nulls;
    if (count == 0 || count == rows) {
        nulls.AppendSame(count != 0, rows);
        return nulls;
    }
    Array<quint64> words;
    const qsizetype size = (rows + 63) / 64;
    const char* const from = in.Take(qint64(size) * 8);
    std::memcpy(words.Extend(size), from, static_cast<size_t>(size) * 8);
    qsizetype bits = 0;
    for (qsizetype i = 0; i < size; ++i)
        bits += std::popcount(words[i]);
    const bool beyond = rows % 64 != 0 && (words[size - 1] >> (rows % 64)) != 0;
    if (bits != count || beyond)
        Malformed(u"null map contradicts its count"_s);
    nulls.Assign(rows, count, std::move(words));
    return nulls;
}

void PutTexts(Packet& out, const Array<quint32>& ends, const Array<char>& bytes)
{
    quint32 longest = 0;
    quint32 begin = 0;
    for (qsizetype i = 0; i < ends.Size(); ++i)
        longest = std::max(longest, ends[i] - std::exchange(begin, ends[i]));
    begin = 0;
    PutInts(
        out, 0, longest, ends.Size(), [&](qsizetype i) { return ends[i] - std::exchange(begin, ends[i]); });
    out.Put(bytes.Begin(), bytes.Size());
}

// Takes at most four times the memory that was sent.
TextPool GetTexts(Reader& in, qsizetype count)
{
    const int width = GetWidth(in);
    if (width == 0 || width == 8)
        Malformed(u"texts with lengths of %1 bytes"_s.arg(width));
    const char* const lengths = in.Take(qint64(count) * width);
    TextPool pool;
    qint64 end = 0; // wide enough for the sum of any lengths that a body holds
    qint64 least = 0;
    WithWidth(width, [&](auto zero) {
        using T = decltype(zero);
        quint32* const ends = pool.ends.Extend(count);
        for (qsizetype i = 0; i < count; ++i) {
            T length;
            std::memcpy(&length, lengths + i * qsizetype(sizeof(T)), sizeof(T));
            least = std::min<qint64>(least, length);
            ends[i] = static_cast<quint32>(end += length);
        }
    });
    if (least < 0)
        Malformed(u"text of %1 bytes"_s.arg(least));
    pool.bytes.Append(in.Take(end), static_cast<qsizetype>(end));
    return pool;
}

void CheckDictionary(const Column::Data& column)
{
    const qint64 entries = column.pool.Count();
    bool inside = true;
    column.ints.ForEach([&](qint64 code) { inside &= code >= 0 && code <= entries; });
    if (!inside)
        Malformed(u"text number outside its dictionary"_s);
    for (qsizetype entry = 0; entry < entries; ++entry) {
        if (column.pool.At(entry).isEmpty())
            Malformed(u"empty text in a dictionary"_s);
    }
}

void PutColumn(Packet& out, const Column::Data& column)
{
    out.Put(static_cast<quint8>(column.type));
    switch (column.type) {
    case ColumnType::Text:
        if (column.pool.bytes.IsEmpty()) {
            out.Put(static_cast<quint8>(TextForm::Nothing));
        } else if (column.plain) {
            out.Put(static_cast<quint8>(TextForm::Plain));
            PutTexts(out, column.pool.ends, column.pool.bytes);
        } else {
            out.Put(static_cast<quint8>(TextForm::Dictionary));
            PutInts(out, column.ints);
            out.Put(static_cast<quint32>(column.pool.Count()));
            PutTexts(out, column.pool.ends, column.pool.bytes);
        }
        break;
    case ColumnType::Number:
        PutNulls(out, column.nulls);
        out.Put(column.numbers.Begin(), column.numbers.Size() * qsizetype(sizeof(double)));
        break;
    default:
        PutNulls(out, column.nulls);
        PutInts(out, column.ints);
        break;
    }
}

void PutNulls(Packet& out, const CellBlock& cells)
{
    out.Put(static_cast<quint32>(cells.Nulls()));
    const qsizetype rows = cells.RowCount();
    if (cells.Nulls() == 0 || cells.Nulls() == rows)
        return;
    const uchar* const flags = cells.NullFlags().Begin();
    for (qsizetype begin = 0; begin < rows; begin += 64) {
        quint64 word = 0;
        for (qsizetype row = begin; row < std::min(begin + 64, rows); ++row)
            word |= quint64(flags[row]) << (row - begin);
        out.Put(word);
    }
}

void PutCells(Packet& out, const CellBlock& cells)
{
    out.Put(static_cast<quint8>(cells.Type()));
    switch (cells.Type()) {
    case ColumnType::Text:
        if (cells.TextBytes() == 0) {
            out.Put(static_cast<quint8>(TextForm::Nothing));
        } else {
            out.Put(static_cast<quint8>(TextForm::Plain));
            PutTexts(out, cells.Ends(), cells.Texts());
        }
        break;
    case ColumnType::Number:
        PutNulls(out, cells);
        if (cells.Nulls() < cells.RowCount())
            out.Put(cells.Numbers().Begin(), cells.RowCount() * qsizetype(sizeof(double)));
        break;
    default: {
        PutNulls(out, cells);
        const qint64* const ints = cells.Integers().Begin();
        qint64 least = 0;
        qint64 most = 0;
        for (qsizetype row = 0; row < cells.RowCount(); ++row) {
            least = std::min(least, ints[row]);
            most = std::max(most, ints[row]);
        }
        PutInts(out, least, most, cells.RowCount(), [&](qsizetype row) { return ints[row]; });
        break;
    }
    }
}

// At most so many bytes does a column of cells take.
qsizetype MostBytesOf(const CellBlock& cells)
{
    constexpr qsizetype kHead = 8; // type, form or nulls, width
    const qsizetype each = cells.Type() == ColumnType::Text ? 4 : 9;
    return kHead + 8 + cells.RowCount() * each + cells.TextBytes();
}

TextForm GetTextForm(Reader& in)
{
    const auto form = in.Get<quint8>();
    if (form > quint8(TextForm::Dictionary))
        Malformed(u"unknown form of text %1"_s.arg(form));
    return static_cast<TextForm>(form);
}

void GetTextColumn(Reader& in, Column::Data& column, qsizetype rows)
{
    switch (GetTextForm(in)) {
    case TextForm::Nothing:
        column.ints.AppendZeros(rows);
        break;
    case TextForm::Plain:
        column.plain = true;
        column.pool = GetTexts(in, rows);
        break;
    case TextForm::Dictionary:
        column.ints = GetInts(in, rows);
        column.pool = GetTexts(in, in.GetCount(1));
        CheckDictionary(column);
        break;
    }
}

void GetColumn(Reader& in, Column::Data& column, qsizetype rows)
{
    column.rows = rows;
    switch (column.type) {
    case ColumnType::Text:
        GetTextColumn(in, column, rows);
        break;
    case ColumnType::Number:
        column.nulls = GetNulls(in, rows);
        if (column.nulls.Nulls() < rows) {
            const char* const from = in.Take(qint64(rows) * 8);
            std::memcpy(column.numbers.Extend(rows), from, static_cast<size_t>(rows) * 8);
        }
        break;
    default:
        column.nulls = GetNulls(in, rows);
        column.ints = GetInts(in, rows);
        break;
    }
}

} // namespace

Packet EncodeRows(const std::vector<Column>& block, quint32 number, bool compress)
{
    qsizetype size = 0;
    for (const Column& column : block)
        size += static_cast<qsizetype>(column.MemoryUse());
    Packet out(FrameKind::Rows, number, 0, size);
    out.Put(static_cast<quint32>(block.empty() ? 0 : block.front().RowCount()));
    out.Put(static_cast<quint32>(block.size()));
    for (const Column& column : block)
        PutColumn(out, column.Raw());
    out.Seal(compress);
    return out;
}

Packet EncodeCells(const std::vector<CellBlock>& block, quint32 number, bool compress)
{
    qsizetype size = 8;
    for (const CellBlock& cells : block)
        size += MostBytesOf(cells);
    Packet out(FrameKind::Rows, number, 0, size);
    out.Put(static_cast<quint32>(block.empty() ? 0 : block.front().RowCount()));
    out.Put(static_cast<quint32>(block.size()));
    for (const CellBlock& cells : block)
        PutCells(out, cells);
    out.Seal(compress);
    return out;
}

std::vector<Column> DecodeRows(const Frame& frame, const std::vector<ColumnInfo>& infos)
{
    Reader in(frame, FrameKind::Rows);
    const auto rows = in.Get<quint32>();
    const auto columns = in.Get<quint32>();
    if (rows > kMaxBlockRows)
        Malformed(u"block of %1 rows"_s.arg(rows));
    if (columns != infos.size())
        Malformed(u"block of %1 columns instead of %2"_s.arg(columns).arg(infos.size()));
    std::vector<Column> block;
    block.reserve(columns);
    for (const ColumnInfo& info : infos) {
        if (in.GetType() != info.type)
            Malformed(u"column %1 changed its type"_s.arg(info.name));
        GetColumn(in, block.emplace_back(info.type).Raw(), rows);
    }
    in.Finish();
    return block;
}

} // namespace wire

#include "wire/Codec.h"
#include "wire/Reader.h"

#include <bit>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

// Rows without bytes (all null) cost nothing to send, so their number needs a limit of its own.
constexpr quint32 kMaxBlockRows = 4'000'000;

void PutInts(Packet& out, const NarrowInts& ints)
{
    out.Put(static_cast<quint8>(ints.Width()));
    out.Put(ints.Bytes(), ints.Size() * ints.Width());
}

NarrowInts GetInts(Reader& in, qsizetype rows)
{
    const auto width = in.Get<quint8>();
    if (width > 8 || (width != 0 && !std::has_single_bit(width)))
        Malformed(u"integers of %1 bytes"_s.arg(width));
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

void PutPool(Packet& out, const TextPool& pool)
{
    out.Put(static_cast<quint32>(pool.Count()));
    out.Put(pool.ends.Begin(), pool.ends.Size() * qsizetype(sizeof(quint32)));
    out.Put(pool.bytes.Begin(), pool.bytes.Size());
}

TextPool GetPool(Reader& in)
{
    TextPool pool;
    const auto count = qsizetype(in.GetCount(sizeof(quint32)));
    const char* const ends = in.Take(qint64(count) * 4);
    if (count == 0)
        return pool;
    std::memcpy(pool.ends.Extend(count), ends, static_cast<size_t>(count) * 4);
    quint32 last = 0;
    bool rising = true;
    for (qsizetype i = 0; i < count; ++i)
        rising &= std::exchange(last, pool.ends[i]) <= pool.ends[i];
    if (!rising)
        Malformed(u"text offsets run backwards"_s);
    pool.bytes.Append(in.Take(last), last);
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
        out.Put(static_cast<quint8>(column.plain ? 1 : 0));
        if (!column.plain)
            PutInts(out, column.ints);
        PutPool(out, column.pool);
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

void GetColumn(Reader& in, Column::Data& column, qsizetype rows)
{
    column.rows = rows;
    switch (column.type) {
    case ColumnType::Text:
        column.plain = in.Get<quint8>() != 0;
        if (!column.plain)
            column.ints = GetInts(in, rows);
        column.pool = GetPool(in);
        if (!column.plain)
            CheckDictionary(column);
        else if (column.pool.Count() != rows)
            Malformed(u"%1 texts for %2 rows"_s.arg(column.pool.Count()).arg(rows));
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
    Packet out(FrameKind::Rows, number);
    qsizetype size = 0;
    for (const Column& column : block)
        size += static_cast<qsizetype>(column.MemoryUse());
    out.Reserve(size);
    out.Put(static_cast<quint32>(block.empty() ? 0 : block.front().RowCount()));
    out.Put(static_cast<quint32>(block.size()));
    for (const Column& column : block)
        PutColumn(out, column.Raw());
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

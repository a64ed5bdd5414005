// What either side may be sent: a stream of frames in any pieces. Whatever decodes must say the same when it
// is encoded and decoded again; whatever does not must raise a protocol error and nothing else. Nothing takes
// more memory than its budget was asked for, or more time than it may.
//
// Input: one byte that chooses the sizes of the pieces, then the stream.

#include "fuzz/Finding.h"
#include "wire/Budgets.h"
#include "wire/Codec.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <span>

using fuzz::Require;
using wire::Column;
using wire::ErrorKind;
using wire::Frame;
using wire::FrameKind;
using wire::Packet;

namespace {

// Cells looked at one by one, and rows kept as a client keeps them, of each block.
constexpr qsizetype kMostRows = 2'000;
constexpr qsizetype kMostCells = 200'000;
// With everything that checks the program built in, ten times as slow as it is.
constexpr double kFrameSeconds = 5;

class Counter final : public wire::MemoryBudget {
public:
    void Take(qint64 bytes) override { taken += bytes; }
    qint64 taken = 0;
};

// At least so much does a request hold.
qint64 MemoryOf(const wire::Request& request)
{
    const auto textOf = [](const wire::Value& value) {
        const auto* text = std::get_if<QString>(&value);
        return text == nullptr ? 0 : text->size() * qint64(sizeof(QChar));
    };
    qint64 bytes = request.text.size() * qint64(sizeof(QChar));
    for (const wire::RowChange& row : request.changes.rows) {
        bytes += qint64(sizeof row);
        for (const wire::CellChange& cell : row.cells)
            bytes += qint64(sizeof cell) + textOf(cell.original) + textOf(cell.current);
    }
    return bytes;
}

wire::Request DecodeWithinBudget(const Frame& frame)
{
    constexpr qint64 kUnasked = 64 << 10; // what has not come together yet
    Counter budget;
    wire::Request request = wire::DecodeRequest(frame, &budget);
    Require(MemoryOf(request) <= budget.taken + kUnasked, "a request takes more than it asked for");
    Require(budget.taken <= wire::kMaxChangeMemory + qint64(wire::kMaxRequestBody) * 2,
        "a request asks for more than one may");
    return request;
}

class Stream final : public wire::FrameChannel {
public:
    Stream(const char* bytes, qsizetype size, quint8 pieces)
        : at_(bytes)
        , left_(size)
        , pieces_(pieces)
    {
    }

private:
    // Pieces of 1 to 64 bytes in an order that the first byte names; 0: all there is.
    qsizetype ReadSome(char* to, qsizetype size, bool /*idle*/) override
    {
        Require(size > 0, "a read of nothing");
        qsizetype step = left_;
        if (pieces_ != 0) {
            pieces_ = pieces_ * 1'103'515'245u + 12'345u;
            step = 1 + ((pieces_ >> 16) & 63);
        }
        step = std::min({step, size, left_});
        std::memcpy(to, at_, static_cast<size_t>(step));
        at_ += step;
        left_ -= step;
        return step;
    }
    void WriteAll(const char*, qsizetype) override { }

    const char* at_;
    qsizetype left_;
    quint32 pieces_;
};

Frame Received(const Packet& packet)
{
    Frame frame;
    Stream stream(packet.Data(), packet.Size(), 0);
    Require(stream.Read(frame, wire::kMaxBody), "an encoded frame cannot be read");
    return frame;
}

bool SameBytes(const Packet& a, const Packet& b)
{
    return std::ranges::equal(std::span(a.Data(), static_cast<size_t>(a.Size())),
        std::span(b.Data(), static_cast<size_t>(b.Size())));
}

bool SameCell(const wire::Value& a, const wire::Value& b)
{
    const auto* number = std::get_if<double>(&a);
    const auto* other = std::get_if<double>(&b);
    return number && other ? std::bit_cast<quint64>(*number) == std::bit_cast<quint64>(*other) : a == b;
}

// Encoding what `decode` made of a frame, and decoding that, comes to rest.
template <typename Decode, typename Encode>
void CheckRoundTrip(const Frame& frame, const Decode& decode, const Encode& encode)
{
    const Packet first = encode(decode(frame));
    Require(SameBytes(first, encode(decode(Received(first)))), "encoded again, a message differs");
}

// The rows of a reply, kept as a client does.
class Result {
public:
    void Begin(std::vector<wire::ColumnInfo> infos)
    {
        infos_ = std::move(infos);
        columns_.clear();
    }

    void Take(const Frame& frame)
    {
        const std::vector<wire::ColumnInfo> none;
        const std::vector<wire::ColumnInfo>& infos = infos_ ? *infos_ : none;
        std::vector<Column> block = wire::DecodeRows(frame, infos);
        const Packet plain = wire::EncodeRows(block, frame.header.request);
        const Packet packed = wire::EncodeRows(block, frame.header.request, true);
        Require(packed.Size() <= plain.Size(), "compressing made a frame larger");
        const std::vector<Column> again = wire::DecodeRows(Received(packed), infos);
        Require(
            SameBytes(plain, wire::EncodeRows(again, frame.header.request)), "rows differ when sent again");
        for (size_t i = 0; i < block.size(); ++i)
            CheckCells(block[i], again[i]);
        Keep(std::move(block));
    }

private:
    static void CheckCells(const Column& column, const Column& again)
    {
        Require(column.RowCount() == again.RowCount(), "rows got lost");
        for (qsizetype row = 0; row < std::min(column.RowCount(), kMostRows); ++row) {
            const wire::Value value = column.ValueAt(row);
            Require(wire::IsNull(value) == column.IsNull(row), "a null that is none");
            Require(SameCell(value, again.ValueAt(row)), "a cell changed on its way");
            if (column.Type() == wire::ColumnType::Text && !wire::IsNull(value))
                Require(column.EntryAt(row) < column.EntryCount(), "a text outside its pool");
        }
    }

    void Keep(std::vector<Column> block)
    {
        if (block.empty())
            return;
        const qsizetype rows = block.front().RowCount();
        const qsizetype kept = columns_.empty() ? 0 : columns_.front().RowCount();
        if ((kept + rows) * static_cast<qsizetype>(block.size()) > kMostCells)
            return;
        if (columns_.empty()) {
            for (const Column& column : block)
                columns_.emplace_back(column.Type());
        }
        for (size_t i = 0; i < block.size(); ++i) {
            const Column before = block[i];
            columns_[i].AppendColumn(std::move(block[i]));
            CheckCells(before, columns_[i].Slice(kept, rows));
        }
    }

    std::optional<std::vector<wire::ColumnInfo>> infos_;
    std::vector<Column> columns_;
};

void Decode(const Frame& frame, Result& result)
{
    const quint32 number = frame.header.request;
    switch (frame.header.kind) {
    case FrameKind::Columns:
        CheckRoundTrip(frame, wire::DecodeColumns,
            [&](const wire::ColumnInfos& infos) { return wire::EncodeColumns(*infos, number); });
        result.Begin(*wire::DecodeColumns(frame));
        break;
    case FrameKind::Rows:
        result.Take(frame);
        break;
    case FrameKind::Done:
        CheckRoundTrip(frame, wire::DecodeDone,
            [&](const wire::Reply& reply) { return wire::EncodeDone(reply, number); });
        break;
    case FrameKind::Error:
        CheckRoundTrip(frame, wire::DecodeError,
            [&](const wire::Error& error) { return wire::EncodeError(error, number); });
        break;
    default:
        CheckRoundTrip(frame, DecodeWithinBudget,
            [&](const wire::Request& request) { return wire::EncodeRequest(request, number); });
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* data, size_t size)
{
    if (size == 0)
        return -1;
    Stream stream(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size) - 1, data[0]);
    Result result;
    try {
        for (Frame frame; stream.Read(frame, wire::kMaxRequestBody);) {
            const fuzz::Budget budget(kFrameSeconds, "a frame takes too long");
            try {
                Decode(frame, result);
            } catch (const wire::Error& error) {
                // Texts that are no UTF-8 grow when they are put right, and may then be too large to send.
                // So may change logs be, once they are read.
                Require(error.Kind() == ErrorKind::Protocol || error.Kind() == ErrorKind::Limit
                        || error.Kind() == ErrorKind::Data,
                    "a malformed message raises another error");
            }
        }
    } catch (const wire::Error& error) {
        Require(error.Kind() == ErrorKind::Protocol || error.Kind() == ErrorKind::Connection,
            "a malformed frame raises another error");
    }
    return 0;
}

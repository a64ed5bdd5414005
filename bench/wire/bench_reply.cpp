// What the reply to a query costs each end, in processor time and bytes: orders of 72 columns from a block of
// cells to frames, and from the frames to what a client keeps; against the same with dictionaries.

#include "demo/Generator.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/RowStream.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/RowKeeper.h"
#include "wire/Codec.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// Microseconds of processor time for one call: the least of some rounds.
double MicrosecondsOf(int times, const std::function<void()>& work)
{
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e6 + double(time.tv_nsec) / 1e3;
    };
    double best = 1e9;
    for (int round = 0; round < 15; ++round) {
        const double begin = now();
        for (int i = 0; i < times; ++i)
            work();
        best = std::min(best, (now() - begin) / times);
    }
    return best;
}

// Gives the same cells again and again.
class Cells final : public storage::RowSource {
public:
    explicit Cells(const wire::RowSet& rows)
    {
        blocks = storage::MakeCellBlocks(rows.infos);
        for (size_t column = 0; column < blocks.size(); ++column) {
            const wire::Column& from = rows.columns[column];
            for (qsizetype row = 0; row < from.RowCount(); ++row) {
                if (from.IsNull(row))
                    blocks[column].AddNull();
                else if (from.Type() == wire::ColumnType::Text)
                    blocks[column].AddText(from.TextAt(row).data(), from.TextAt(row).size());
                else if (from.Type() == wire::ColumnType::Number)
                    blocks[column].AddNumber(from.NumberAt(row));
                else
                    blocks[column].AddInteger(from.IntegerAt(row));
            }
        }
    }
    bool Fill(storage::CellBlocks& to) override
    {
        std::swap(to, blocks);
        return false;
    }
    storage::CellBlocks blocks;
};

class Bytes final : public wire::FrameChannel {
public:
    QByteArray bytes;
    qsizetype at = 0;

private:
    qsizetype ReadSome(char* to, qsizetype size, bool) override
    {
        const qsizetype count = std::min(size, bytes.size() - at);
        std::memcpy(to, bytes.constData() + at, size_t(count));
        at += count;
        return count;
    }
    void WriteAll(const char* from, qsizetype size) override { bytes.append(from, size); }
};

// As the server's: a short result is sent as it was read, or with the dictionaries that a long one has.
class Sink final : public wire::ReplySink {
public:
    Sink(wire::FrameChannel& channel, bool dictionaries, bool compress)
        : channel_(channel)
        , dictionaries_(dictionaries)
        , compress_(compress)
    {
    }
    void Columns(const wire::ColumnInfos& infos) override { channel_.Write(wire::EncodeColumns(infos, 1)); }
    void Rows(std::vector<wire::Column> block) override
    {
        channel_.Write(wire::EncodeRows(block, 1, compress_));
    }
    void Cells(const std::vector<wire::CellBlock>& block) override
    {
        if (dictionaries_)
            ReplySink::Cells(block);
        else
            channel_.Write(wire::EncodeCells(block, 1, compress_));
    }

private:
    wire::FrameChannel& channel_;
    const bool dictionaries_;
    const bool compress_;
};

struct Cost {
    double encoding, decoding;
    qsizetype bytes;
};

Cost CostOf(const wire::RowSet& rows, bool dictionaries, bool compress)
{
    const int times = rows.RowCount() == 1 ? 2000 : 50;
    Cells cells(rows);
    storage::CellBlocks scratch = storage::MakeCellBlocks(rows.infos);
    Bytes channel;
    const wire::ColumnInfos infos(rows.infos);
    const double encoding = MicrosecondsOf(times, [&] {
        channel.bytes.resize(0);
        Sink sink(channel, dictionaries, compress);
        sink.Columns(infos);
        storage::StreamRows(cells, scratch, {rows.RowCount(), 0}, sink);
        std::swap(scratch, cells.blocks);
        channel.Write(wire::EncodeDone({}, 1));
    });
    wire::Frame frame;
    wire::KnownColumns known;
    RowKeeper keeper;
    const double decoding = MicrosecondsOf(times, [&] {
        channel.at = 0;
        channel.Read(frame, wire::kMaxBody);
        const wire::ColumnInfos got = known.Decode(frame);
        keeper.Columns(got);
        channel.Read(frame, wire::kMaxBody);
        keeper.Rows(wire::DecodeRows(frame, *got));
        channel.Read(frame, wire::kMaxBody);
        wire::DecodeDone(frame);
    });
    return {encoding, decoding, channel.bytes.size()};
}

void Measure(const wire::RowSet& rows, bool compress)
{
    const Cost plain = CostOf(rows, false, compress);
    const Cost peer = CostOf(rows, true, compress);
    std::printf(
        "%lld x %zu%s: %.1f us to encode, %.1f us to decode, %lld bytes; as columns with dictionaries "
        "%.1f us, %.1f us, %lld bytes; ratio %.2f\n",
        qint64(rows.RowCount()), rows.columns.size(), compress ? ", compressed" : "", plain.encoding,
        plain.decoding, qint64(plain.bytes), peer.encoding, peer.decoding, qint64(peer.bytes),
        (plain.encoding + plain.decoding) / (peer.encoding + peer.decoding));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    server::Options options;
    options.open = storage::SqliteIn(folder.path());
    options.demo = u"small"_s;
    server::ApplicationServer server(options);
    const wire::RowSet list =
        server.QueryAsAdministrator(u"select a.* from tab_zelmor_bill a where rownum<=500"_s);
    const wire::RowSet one =
        server.QueryAsAdministrator(u"select a.* from tab_zelmor_bill a where rownum<=1"_s);
    for (const bool compress : {false, true}) {
        Measure(one, compress);
        Measure(list, compress);
    }
    return 0;
}

// What the reply to a query costs each end, in processor time and bytes: orders of 72 columns from a block of
// cells to a packet, and from the packet to what a client keeps.

#include "demo/Generator.h"
#include "server/Server.h"
#include "server/storage/RowStream.h"
#include "tests/support/RowKeeper.h"
#include "wire/Codec.h"
#define NEW_REPLY

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

class Sink final : public wire::ReplySink {
public:
    Sink(wire::FrameChannel& channel, bool compress)
        : channel_(channel)
        , compress_(compress)
    {
    }
#ifdef NEW_REPLY
    void Columns(const wire::ColumnInfos& infos) override
    {
        channel_.Write(wire::EncodeColumns(infos, 1));
    }
    void Cells(const std::vector<wire::CellBlock>& block) override
    {
        if (dictionary)
            ReplySink::Cells(block);
        else
            channel_.Write(wire::EncodeCells(block, 1, compress_));
    }
#else
    void Columns(std::vector<wire::ColumnInfo> infos) override
    {
        channel_.Write(wire::EncodeColumns(infos, 1));
    }
#endif
    void Rows(std::vector<wire::Column> block) override
    {
        channel_.Write(wire::EncodeRows(block, 1, compress_));
    }
    static inline bool dictionary = false;

private:
    wire::FrameChannel& channel_;
    bool compress_;
};

void Measure(const wire::RowSet& rows, int times, bool compress)
{
    Cells cells(rows);
    storage::CellBlocks scratch = storage::MakeCellBlocks(rows.infos);
    Bytes channel;
#ifdef NEW_REPLY
    const wire::ColumnInfos infos(rows.infos);
    wire::KnownColumns known;
#else
    const std::vector<wire::ColumnInfo>& infos = rows.infos;
#endif
    const double encode = MicrosecondsOf(times, [&] {
        channel.bytes.resize(0);
        Sink sink(channel, compress);
        sink.Columns(infos);
        storage::StreamRows(cells, scratch, {2'000'000, 8192}, sink);
        std::swap(scratch, cells.blocks);
        channel.Write(wire::EncodeDone({}, 1));
    });
    wire::Frame frame;
    RowKeeper keeper;
    const double decode = MicrosecondsOf(times, [&] {
        channel.at = 0;
        channel.Read(frame, wire::kMaxBody);
#ifdef NEW_REPLY
        const wire::ColumnInfos got = known.Decode(frame);
        keeper.Columns(got);
        channel.Read(frame, wire::kMaxBody);
        keeper.Rows(wire::DecodeRows(frame, *got));
#else
        const std::vector<wire::ColumnInfo> got = wire::DecodeColumns(frame);
        keeper.Columns(got);
        channel.Read(frame, wire::kMaxBody);
        keeper.Rows(wire::DecodeRows(frame, got));
#endif
        channel.Read(frame, wire::kMaxBody);
        wire::DecodeDone(frame);
    });
    std::printf("%lld rows of %zu columns%s: %.1f us to encode, %.1f us to decode, %lld bytes\n",
        (long long)rows.RowCount(), rows.columns.size(), compress ? ", compressed" : "", encode, decode,
        (long long)channel.bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    server::Options options;
    options.dataDir = folder.path();
    options.demo = u"small"_s;
    server::ApplicationServer server(options);
    const wire::RowSet list =
        server.QueryAsAdministrator(u"select a.* from tab_zelmor_bill a where rownum<=500"_s);
    const wire::RowSet one =
        server.QueryAsAdministrator(u"select a.* from tab_zelmor_bill a where rownum<=1"_s);
    for (const bool dictionary : {false, true}) {
        Sink::dictionary = dictionary;
        for (const bool compress : {false, true}) {
            Measure(one, 2000, compress);
            Measure(list, 50, compress);
        }
#ifndef NEW_REPLY
        break;
#endif
    }
    return 0;
}

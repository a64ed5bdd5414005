#include "server/storage/RowStream.h"

#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

namespace storage {
namespace {

constexpr size_t kBlocksInFlight = 4;
constexpr qsizetype kBytesAhead = 8 << 20; // of texts that wait to be taken
// Usual rows stay below it.
constexpr qsizetype kBytesPerReply = 16 << 20;

// Fills the blocks anew; false when that was the end.
bool FillBlocks(RowSource& source, CellBlocks& blocks)
{
    for (wire::CellBlock& cells : blocks)
        cells.Clear();
    return source.Fill(blocks);
}

qsizetype RowCount(const CellBlocks& blocks)
{
    return blocks.front().RowCount();
}

// Reads a query on a thread of its own, some blocks ahead of whoever takes them.
class ReadAhead {
public:
    ReadAhead(RowSource& source, const CellBlocks& like)
        : source_(source)
    {
        blocks_.fill(like);
        for (CellBlocks& blocks : blocks_)
            free_.push_back(&blocks);
        thread_ = std::thread([this] { Run(); });
    }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    ~ReadAhead()
    {
        {
            const std::lock_guard lock(mutex_);
            cancelled_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    // The next blocks, until they are given back; nullptr at the end. Raises what the reading raised.
    CellBlocks* Take()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return finished_ || !full_.empty(); });
        if (full_.empty()) {
            if (error_)
                std::rethrow_exception(error_);
            return nullptr;
        }
        CellBlocks* const blocks = full_.front();
        full_.pop_front();
        return blocks;
    }

    void GiveBack(CellBlocks* blocks)
    {
        {
            const std::lock_guard lock(mutex_);
            free_.push_back(blocks);
            bytesAhead_ -= TextBytes(*blocks);
        }
        changed_.notify_all();
    }

private:
    void Run()
    {
        try {
            bool more = true;
            while (more) {
                CellBlocks* blocks = nullptr;
                {
                    std::unique_lock lock(mutex_);
                    changed_.wait(
                        lock, [this] { return cancelled_ || (!free_.empty() && bytesAhead_ < kBytesAhead); });
                    if (cancelled_)
                        break;
                    blocks = free_.front();
                    free_.pop_front();
                }
                more = FillBlocks(source_, *blocks);
                {
                    const std::lock_guard lock(mutex_);
                    if (RowCount(*blocks) > 0) {
                        full_.push_back(blocks);
                        bytesAhead_ += TextBytes(*blocks);
                    }
                }
                changed_.notify_all();
            }
        } catch (...) {
            error_ = std::current_exception();
        }
        {
            const std::lock_guard lock(mutex_);
            finished_ = true;
        }
        changed_.notify_all();
    }

    RowSource& source_;
    std::array<CellBlocks, kBlocksInFlight> blocks_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<CellBlocks*> free_;
    std::deque<CellBlocks*> full_;
    qsizetype bytesAhead_ = 0;
    bool cancelled_ = false;
    bool finished_ = false;
    std::exception_ptr error_;
    std::thread thread_;
};

void RequireFewEnough(qint64 rows, const ReadLimits& limits)
{
    if (rows > limits.maxRows)
        throw server::RefusedError(
            server::RefusalReason::Rows, wire::ErrorKind::Limit, server::texts::TooManyRows(limits.maxRows));
}

// Turns blocks into columns and passes them on.
class Encoder {
public:
    Encoder(const CellBlocks& like, const ReadLimits& limits, wire::ReplySink& sink)
        : limits_(limits)
        , sink_(sink)
    {
        columns_.reserve(like.size());
        for (const wire::CellBlock& cells : like)
            columns_.emplace_back(cells.Type());
    }

    void Append(const CellBlocks& blocks)
    {
        total_ += RowCount(blocks);
        bytes_ += TextBytes(blocks);
        RequireFewEnough(total_, limits_);
        for (size_t i = 0; i < columns_.size(); ++i)
            columns_[i].AppendCells(blocks[i]);
        if (limits_.rowsPerReply > 0
            && (columns_.front().RowCount() >= limits_.rowsPerReply || bytes_ > kBytesPerReply))
            Send();
    }

    qint64 Finish()
    {
        if (columns_.front().RowCount() > 0)
            Send();
        return total_;
    }

private:
    void Send()
    {
        bytes_ = 0;
        std::vector<wire::Column> rows;
        rows.reserve(columns_.size());
        for (wire::Column& column : columns_)
            rows.push_back(column.TakeRows());
        sink_.Rows(std::move(rows));
    }

    const ReadLimits& limits_;
    wire::ReplySink& sink_;
    std::vector<wire::Column> columns_;
    qint64 total_ = 0; // rows
    qsizetype bytes_ = 0; // of texts, not yet sent
};

} // namespace

RowSource::~RowSource() = default;

void RaiseRowTooLong()
{
    throw server::RefusedError(
        server::RefusalReason::Size, wire::ErrorKind::Limit, server::texts::RowTooLong());
}

CellBlocks MakeCellBlocks(std::span<const wire::ColumnInfo> infos)
{
    CellBlocks blocks;
    blocks.reserve(infos.size());
    for (const wire::ColumnInfo& info : infos)
        blocks.emplace_back(info.type);
    return blocks;
}

qint64 StreamRows(RowSource& source, CellBlocks& scratch, const ReadLimits& limits, wire::ReplySink& sink)
{
    if (!FillBlocks(source, scratch)) {
        const qint64 rows = RowCount(scratch);
        RequireFewEnough(rows, limits);
        if (rows > 0)
            sink.Cells(scratch);
        return rows;
    }
    Encoder encoder(scratch, limits, sink);
    CellBlocks like;
    like.reserve(scratch.size());
    for (const wire::CellBlock& cells : scratch)
        like.emplace_back(cells.Type());
    ReadAhead ahead(source, like);
    encoder.Append(scratch);
    while (CellBlocks* blocks = ahead.Take()) {
        encoder.Append(*blocks);
        ahead.GiveBack(blocks);
    }
    return encoder.Finish();
}

} // namespace storage

#include "server/storage/RowReader.h"

#include "server/Texts.h"

#include <array>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

namespace storage {
namespace {

// Results this short are not worth a dictionary.
constexpr qsizetype kPlainRows = 8;
constexpr size_t kBlocksInFlight = 4;

void ReadCell(sqlite3_value* value, wire::CellBlock& cells)
{
    if (cells.Type() == wire::ColumnType::Text) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        if (text)
            cells.AddText(text, sqlite3_value_bytes(value));
        else
            cells.AddNull();
        return;
    }
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL)
        cells.AddNull();
    else if (cells.Type() == wire::ColumnType::Number)
        cells.AddNumber(sqlite3_value_double(value));
    else if (type == SQLITE_INTEGER)
        cells.AddInteger(sqlite3_value_int64(value));
    else // computed: half a second more or less is rounding
        cells.AddInteger(std::llround(sqlite3_value_double(value)));
}

// Fills the blocks from the statement; false when it came to its end.
bool FillBlocks(Statement& statement, CellBlocks& blocks)
{
    for (wire::CellBlock& cells : blocks)
        cells.Clear();
    sqlite3_stmt* const handle = statement.Handle();
    const int columns = static_cast<int>(blocks.size());
    for (qsizetype row = 0; row < wire::CellBlock::kRows; ++row) {
        if (!statement.Step())
            return false;
        // The connection belongs to this thread, so its values are as good as protected ones.
        for (int i = 0; i < columns; ++i)
            ReadCell(sqlite3_column_value(handle, i), blocks[static_cast<size_t>(i)]);
    }
    return true;
}

qsizetype RowCount(const CellBlocks& blocks)
{
    return blocks.front().RowCount();
}

// Steps a statement on a thread of its own, some blocks ahead of whoever takes them.
class ReadAhead {
public:
    ReadAhead(Statement& statement, const CellBlocks& like)
        : statement_(statement)
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
                    changed_.wait(lock, [this] { return cancelled_ || !free_.empty(); });
                    if (cancelled_)
                        break;
                    blocks = free_.front();
                    free_.pop_front();
                }
                more = FillBlocks(statement_, *blocks);
                {
                    const std::lock_guard lock(mutex_);
                    if (RowCount(*blocks) > 0)
                        full_.push_back(blocks);
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

    Statement& statement_;
    std::array<CellBlocks, kBlocksInFlight> blocks_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<CellBlocks*> free_;
    std::deque<CellBlocks*> full_;
    bool cancelled_ = false;
    bool finished_ = false;
    std::exception_ptr error_;
    std::thread thread_;
};

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
        if (RowCount(like) <= kPlainRows) {
            for (wire::Column& column : columns_)
                column.Raw().plain = column.Type() == wire::ColumnType::Text;
        }
    }

    void Append(const CellBlocks& blocks)
    {
        total_ += RowCount(blocks);
        if (total_ > limits_.maxRows)
            throw wire::Error(wire::ErrorKind::Limit, server::texts::TooManyRows(limits_.maxRows));
        for (size_t i = 0; i < columns_.size(); ++i)
            columns_[i].AppendCells(blocks[i]);
        if (limits_.rowsPerReply > 0 && columns_.front().RowCount() >= limits_.rowsPerReply)
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
        std::vector<wire::Column> rows;
        rows.reserve(columns_.size());
        for (wire::Column& column : columns_)
            rows.push_back(column.TakeRows());
        sink_.Rows(std::move(rows));
    }

    const ReadLimits& limits_;
    wire::ReplySink& sink_;
    std::vector<wire::Column> columns_;
    qint64 total_ = 0;
};

} // namespace

CellBlocks MakeCellBlocks(std::span<const wire::ColumnInfo> infos)
{
    CellBlocks blocks;
    blocks.reserve(infos.size());
    for (const wire::ColumnInfo& info : infos)
        blocks.emplace_back(info.type);
    return blocks;
}

qint64 ReadRows(Statement& statement, CellBlocks& scratch, const ReadLimits& limits, wire::ReplySink& sink)
{
    const ResetGuard reset(statement);
    const bool more = FillBlocks(statement, scratch);
    if (RowCount(scratch) == 0)
        return 0;
    Encoder encoder(scratch, limits, sink);
    if (!more) {
        encoder.Append(scratch);
        return encoder.Finish();
    }
    CellBlocks like;
    like.reserve(scratch.size());
    for (const wire::CellBlock& cells : scratch)
        like.emplace_back(cells.Type());
    ReadAhead ahead(statement, like);
    encoder.Append(scratch);
    while (CellBlocks* blocks = ahead.Take()) {
        encoder.Append(*blocks);
        ahead.GiveBack(blocks);
    }
    return encoder.Finish();
}

} // namespace storage

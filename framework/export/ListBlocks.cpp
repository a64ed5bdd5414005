#include "framework/export/ListBlocks.h"

#include <QElapsedTimer>

#include <algorithm>
#include <system_error>

namespace {

constexpr int kCellsOfBlock = 16'384; // their lines stay in the cache of a core until they are taken
constexpr int kMostRowsOfBlock = 2'048;
constexpr size_t kBlocks = 64; // of a round, after which the window has its turn
constexpr qint64 kPrepareMilliseconds = 15;
constexpr unsigned kMostThreads = 4; // beyond these, writing is what takes the time

} // namespace

TLineMaker::~TLineMaker() = default;
TLineFormat::~TLineFormat() = default;

TListBlocks::TListBlocks(TExportRows& rows, TLineFormat& format, TTake take)
    : rows_(rows)
    , format_(format)
    , take_(std::move(take))
    , rowsOfBlock_(std::clamp(
          kCellsOfBlock / std::max(1, static_cast<int>(rows.Columns().size())), 1, kMostRowsOfBlock))
    , blocks_(kBlocks)
{
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
    while (makers_.size() < threads)
        makers_.push_back(format_.NewMaker());
    try {
        for (size_t i = 1; i < makers_.size(); ++i)
            helpers_.emplace_back(&TListBlocks::Help, this, std::ref(*makers_[i]));
    } catch (const std::system_error&) { // no further thread to be had
    }
}

TListBlocks::~TListBlocks()
{
    const std::lock_guard lock(guard_);
    ending_ = true;
    begins_.notify_all();
}

TListBlocks::TOutcome TListBlocks::Write(int first, int end, TPacedProgress& progress)
{
    while (first < end) {
        if (!progress.GoOn(first))
            return TOutcome::GivenUp;
        format_.BeginRound();
        const size_t blocks = Prepare(first, end);
        first = blocks_[blocks - 1].first + static_cast<int>(blocks_[blocks - 1].places.size());
        if (!FormatAndTake(blocks))
            return TOutcome::Full;
    }
    return TOutcome::Done;
}

// How many blocks there are in a round: as far as there is time for what only this thread may read.
size_t TListBlocks::Prepare(int row, int end)
{
    QElapsedTimer clock;
    clock.start();
    size_t prepared = 0;
    do {
        TRowBlock& block = blocks_[prepared++];
        block.first = row;
        block.places.resize(static_cast<size_t>(std::min(rowsOfBlock_, end - row)));
        rows_.StoredRows(row, block.places);
        MakeCells(block);
        row += static_cast<int>(block.places.size());
    } while (row < end && prepared < blocks_.size() && clock.elapsed() < kPrepareMilliseconds);
    return prepared;
}

void TListBlocks::MakeCells(TRowBlock& block)
{
    block.made.Clear();
    block.madeEnds.clear();
    const std::vector<TExportColumn>& columns = rows_.Columns();
    const bool allStored = std::ranges::all_of(columns, &TExportColumn::stored);
    int row = block.first;
    for (const qint64 place : block.places) {
        for (size_t i = 0; i < columns.size() && (place < 0 || !allStored); ++i) {
            if (place >= 0 && columns[i].stored)
                continue;
            format_.AddCell(block.made, i, rows_.Cell(row, static_cast<int>(i)));
            block.madeEnds.push_back(block.made.Size());
        }
        ++row;
    }
}

bool TListBlocks::FormatAndTake(size_t blocks)
{
    std::unique_lock lock(guard_);
    used_ = blocks;
    next_ = 0;
    taken_ = 0;
    ready_.assign(blocks, false);
    begins_.notify_all();
    Work(*makers_.front(), lock);
    rests_.wait(lock, [this] { return busy_ == 0; });
    if (failure_)
        std::rethrow_exception(failure_);
    return !full_;
}

// Under the lock but for what takes its time.
void TListBlocks::Work(TLineMaker& maker, std::unique_lock<std::mutex>& lock)
{
    while (next_ < used_) {
        const size_t block = next_++;
        ++busy_;
        try {
            lock.unlock();
            maker.MakeLines(blocks_[block]);
            lock.lock();
            ready_[block] = true;
            if (!taking_)
                TakeReady(lock);
        } catch (...) {
            if (!lock.owns_lock())
                lock.lock();
            failure_ = std::current_exception();
            next_ = used_;
        }
        if (--busy_ == 0)
            rests_.notify_all();
    }
}

void TListBlocks::TakeReady(std::unique_lock<std::mutex>& lock)
{
    taking_ = true;
    while (taken_ < used_ && ready_[taken_] && !full_) {
        lock.unlock();
        const bool room = take_(blocks_[taken_].lines.Bytes());
        lock.lock();
        ++taken_;
        if (!room) {
            full_ = true;
            next_ = used_;
        }
    }
    taking_ = false;
}

void TListBlocks::Help(TLineMaker& maker)
{
    std::unique_lock lock(guard_);
    while (!ending_) {
        Work(maker, lock);
        begins_.wait(lock, [this] { return ending_ || next_ < used_; });
    }
}

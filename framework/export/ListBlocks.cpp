#include "framework/export/ListBlocks.h"

#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

constexpr int kCellsOfBlock = 16'384; // their lines stay in the cache of a core until they are taken
constexpr int kMostRowsOfBlock = 2'048;
constexpr size_t kBlocks = 16; // of a round, after which the window has its turn
constexpr qint64 kPrepareMilliseconds = 30;
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
}

TListBlocks::TOutcome TListBlocks::Write(int first, int end, TPacedProgress& progress)
{
    while (first < end) {
        if (!progress.GoOn(first))
            return TOutcome::GivenUp;
        first = Prepare(first, end);
        if (!FormatAndTake())
            return TOutcome::Full;
    }
    return TOutcome::Done;
}

// The blocks of a round, as far as there is time for what only this thread may read.
int TListBlocks::Prepare(int row, int end)
{
    QElapsedTimer clock;
    clock.start();
    used_ = 0;
    do {
        TRowBlock& block = blocks_[used_++];
        block.first = row;
        block.places.resize(static_cast<size_t>(std::min(rowsOfBlock_, end - row)));
        rows_.StoredRows(row, block.places);
        MakeCells(block);
        row += static_cast<int>(block.places.size());
    } while (row < end && used_ < blocks_.size() && clock.elapsed() < kPrepareMilliseconds);
    return row;
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

bool TListBlocks::FormatAndTake()
{
    std::atomic<size_t> next = 0;
    std::mutex guard;
    std::vector<bool> ready(used_);
    size_t taken = 0;
    bool taking = false; // by one of the threads
    std::atomic<bool> full = false;
    const auto work = [&](TLineMaker& maker) {
        for (size_t i = next++; i < used_ && !full; i = next++) {
            maker.MakeLines(blocks_[i]);
            std::unique_lock lock(guard);
            ready[i] = true;
            if (std::exchange(taking, true))
                continue;
            while (taken < used_ && ready[taken] && !full) {
                lock.unlock();
                if (!take_(blocks_[taken].lines.Bytes()))
                    full = true;
                lock.lock();
                ++taken;
            }
            taking = false;
        }
    };
    std::vector<std::future<void>> others; // each waited for as it goes, whatever happens here
    try {
        for (size_t i = 1; i < std::min(used_, makers_.size()); ++i)
            others.push_back(std::async(std::launch::async, work, std::ref(*makers_[i])));
    } catch (const std::system_error&) { // no further thread to be had
    }
    work(*makers_.front());
    for (std::future<void>& other : others)
        other.get();
    return !full;
}

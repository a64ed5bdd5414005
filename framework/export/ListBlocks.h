#pragma once

#include "framework/export/ListExportFile.h"
#include "wire/TextOut.h"

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// A list's rows made into lines of text by as many threads as the machine has.

// Some rows that follow one another.
struct TRowBlock {
    int first = 0;
    std::vector<qint64> places; // of each row in the stored columns; -1: none of its cells is read there
    wire::TextBuffer made; // the cells that do not stand in a stored column, as characters, row by row
    std::vector<size_t> madeEnds;
    wire::TextBuffer lines;
};

// Makes the lines of one block after the other; each thread has one of its own.
class TLineMaker {
public:
    virtual ~TLineMaker();
    virtual void MakeLines(TRowBlock& block) = 0;
};

// How the rows of a file look.
class TLineFormat {
public:
    virtual ~TLineFormat();
    // On the thread of the list. The stored columns may be others than in the round before; they stay as they
    // are until the next.
    virtual void BeginRound() { }
    // One cell, on the thread of the list.
    virtual void AddCell(wire::TextBuffer& to, size_t column, const TExportCell& cell) = 0;
    virtual std::unique_ptr<TLineMaker> NewMaker() const = 0;
};

// Its threads rest while the progress is asked, so that nothing they read can change under them.
class TListBlocks {
public:
    // Takes lines, on any thread, one block after the other; false where there is no room for them.
    using TTake = std::function<bool(QByteArrayView lines)>;

    TListBlocks(TExportRows& rows, TLineFormat& format, TTake take);
    ~TListBlocks();
    TListBlocks(const TListBlocks&) = delete;
    TListBlocks& operator=(const TListBlocks&) = delete;

    enum class TOutcome { Done, GivenUp, Full };
    // The rows from `first` to before `end`.
    TOutcome Write(int first, int end, TPacedProgress& progress);

private:
    size_t Prepare(int row, int end);
    void MakeCells(TRowBlock& block);
    bool FormatAndTake(size_t blocks);
    void Work(TLineMaker& maker, std::unique_lock<std::mutex>& lock);
    void TakeReady(std::unique_lock<std::mutex>& lock);
    void Help(TLineMaker& maker);

    TExportRows& rows_;
    TLineFormat& format_;
    TTake take_;
    const int rowsOfBlock_;
    std::vector<TRowBlock> blocks_; // of a round
    std::vector<std::unique_ptr<TLineMaker>> makers_; // by thread

    std::mutex guard_; // of what follows
    std::condition_variable begins_;
    std::condition_variable rests_;
    size_t used_ = 0; // blocks of this round
    size_t next_ = 0; // to be made
    size_t taken_ = 0;
    std::vector<bool> ready_;
    int busy_ = 0; // threads with a block
    bool taking_ = false; // by one of them
    bool full_ = false;
    bool ending_ = false;
    std::exception_ptr failure_;
    std::vector<std::jthread> helpers_; // last: they end before what they use
};

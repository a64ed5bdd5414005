#pragma once

#include "framework/export/ListExportFile.h"
#include "wire/TextOut.h"

#include <functional>
#include <memory>
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
    // One cell, on the thread of the list.
    virtual void AddCell(wire::TextBuffer& to, size_t column, const TExportCell& cell) = 0;
    virtual std::unique_ptr<TLineMaker> NewMaker() const = 0;
};

// Threads run only while Write() is between two calls of the progress, so that nothing they read can change
// under them.
class TListBlocks {
public:
    // Takes lines, on any thread, one block after the other; false where there is no room for them.
    using TTake = std::function<bool(QByteArrayView lines)>;

    TListBlocks(TExportRows& rows, TLineFormat& format, TTake take);
    enum class TOutcome { Done, GivenUp, Full };
    // The rows from `first` to before `end`.
    TOutcome Write(int first, int end, TPacedProgress& progress);

private:
    int Prepare(int row, int end);
    void MakeCells(TRowBlock& block);
    bool FormatAndTake();

    TExportRows& rows_;
    TLineFormat& format_;
    TTake take_;
    const int rowsOfBlock_;
    std::vector<TRowBlock> blocks_;
    size_t used_ = 0;
    std::vector<std::unique_ptr<TLineMaker>> makers_; // by thread
};

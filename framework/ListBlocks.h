#pragma once

#include "framework/ListExportFile.h"
#include "wire/TextOut.h"

#include <functional>
#include <span>

// A list's rows made into lines by as many threads as the machine has, for the writers of files.

// Characters one behind the other. Whoever adds makes room first.
class TLines {
public:
    // May be written to behind the room asked for, too: texts are copied in pieces.
    static constexpr size_t kSpare = 16;

    // Room for so many more from `to` on, which is the end so far; what is there may move.
    char* Room(char* to, size_t bytes)
    {
        return bytes + kSpare <= static_cast<size_t>(bytes_.data() + bytes_.size() - to) ? to
                                                                                         : Grow(to, bytes);
    }
    const char* Begin() const { return bytes_.data(); }
    char* End() { return bytes_.data() + size_; }
    void SetEnd(const char* end) { size_ = static_cast<size_t>(end - bytes_.data()); }
    void Add(QByteArrayView text)
    {
        char* const to = Room(End(), static_cast<size_t>(text.size()));
        SetEnd(std::copy(text.begin(), text.end(), to));
    }
    QByteArrayView Bytes() const { return {bytes_.data(), static_cast<qsizetype>(size_)}; }
    size_t Size() const { return size_; }
    void Clear() { size_ = 0; } // keeps its room

private:
    char* Grow(char* to, size_t bytes);

    std::vector<char> bytes_ = std::vector<char>(1024);
    size_t size_ = 0;
};

// Some rows that follow one another.
struct TRowBlock {
    int first = 0;
    std::vector<qint64> places; // of each row in the stored columns; -1: none of its cells is read there
    TLines made; // the cells that do not stand in a stored column, as characters, row by row
    std::vector<size_t> madeEnds;
    TLines lines;
};

// How the rows of a file look.
class TLineFormat {
public:
    virtual ~TLineFormat();
    // One cell, on the thread of the list.
    virtual void AddCell(TLines& to, int row, size_t column, const TExportCell& cell) = 0;
    // The lines of a block, on any thread, several at a time.
    virtual void AddRows(TRowBlock& block) const = 0;
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
};

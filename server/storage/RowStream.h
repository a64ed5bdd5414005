#pragma once

#include "wire/ColumnData.h"
#include "wire/Messages.h"

#include <span>
#include <vector>

namespace storage {

struct ReadLimits {
    qint64 maxRows = 0; // more than that raises wire::Error (Limit)
    qsizetype rowsPerReply = 0; // rows handed to the sink at a time; 0: all of them at once
};

// The cells of a block of rows, a block for each column.
using CellBlocks = std::vector<wire::CellBlock>;

CellBlocks MakeCellBlocks(std::span<const wire::ColumnInfo> infos);

[[noreturn]] void RaiseRowTooLong();

inline qsizetype TextBytes(const CellBlocks& blocks)
{
    qsizetype bytes = 0;
    for (const wire::CellBlock& cells : blocks)
        bytes += cells.TextBytes();
    return bytes;
}

// Rows with texts of unusual length fill a block before it has kRows of them. Raises wire::Error (Limit)
// where the last row alone is more than anybody reads.
inline bool AreFull(const CellBlocks& blocks)
{
    constexpr qsizetype kManyBytes = 4 << 20;
    constexpr qsizetype kLongestRow = 8 << 20;
    if (blocks.front().RowCount() >= wire::CellBlock::kRows)
        return true;
    const qsizetype bytes = TextBytes(blocks);
    if (bytes > kManyBytes + kLongestRow)
        RaiseRowTooLong();
    return bytes > kManyBytes;
}

inline size_t MemoryUse(const CellBlocks& blocks)
{
    size_t bytes = 0;
    for (const wire::CellBlock& cells : blocks)
        bytes += cells.MemoryUse();
    return bytes;
}

// Asked after each row. A row of many columns may hold many bytes.
inline bool AreFullAfterRow(const CellBlocks& blocks)
{
    constexpr qsizetype kRowsALook = 8;
    constexpr size_t kUsualColumns = 100;
    return (blocks.front().RowCount() % kRowsALook == 0 || blocks.size() > kUsualColumns) && AreFull(blocks);
}

// More than is worth keeping for a statement's next run.
inline bool HoldMuch(const CellBlocks& blocks)
{
    constexpr qsizetype kMuch = 1 << 20;
    return TextBytes(blocks) > kMuch;
}

// The rows of a running query.
class RowSource {
public:
    virtual ~RowSource();
    // Fills the cleared blocks with the next rows until they are full; false when the query came to its
    // end with them. Called from one thread at a time, not always the same. Raises wire::Error.
    virtual bool Fill(CellBlocks& blocks) = 0;
};

// Hands the rows of a query to the sink, on the calling thread. Long results are read by a second thread
// while this one encodes what the first has read. `scratch` is for the first block, kept by the caller from
// one run to the next. Gives the number of rows; raises wire::Error.
qint64 StreamRows(RowSource& source, CellBlocks& scratch, const ReadLimits& limits, wire::ReplySink& sink);

} // namespace storage

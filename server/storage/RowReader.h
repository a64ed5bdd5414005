#pragma once

#include "server/storage/Sqlite.h"
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

// Runs a bound statement to its end and hands its rows to the sink, on the calling thread. Long results are
// stepped by a second thread while this one encodes what the first has read. `scratch` is for the first
// block, kept by the caller from one run to the next. Gives the number of rows; raises wire::Error.
qint64 ReadRows(Statement& statement, CellBlocks& scratch, const ReadLimits& limits, wire::ReplySink& sink);

} // namespace storage

#include "wire/Messages.h"

#include "wire/ColumnData.h"

#include <algorithm>

namespace wire {

ReplySink::~ReplySink() = default;

void ReplySink::Cells(const std::vector<CellBlock>& block)
{
    // Results this short are not worth a dictionary.
    constexpr qsizetype kPlainRows = 8;
    std::vector<Column> columns;
    columns.reserve(block.size());
    for (const CellBlock& cells : block) {
        Column& column = columns.emplace_back(cells.Type());
        column.Raw().plain = cells.Type() == ColumnType::Text && cells.RowCount() <= kPlainRows;
        column.AppendCells(cells);
    }
    Rows(std::move(columns));
}

Transport::~Transport() = default;

int ApplyOutcome::Rejected() const noexcept
{
    return static_cast<int>(
        std::count_if(rows.begin(), rows.end(), [](const RowVerdict& row) { return !row.accepted; }));
}

} // namespace wire

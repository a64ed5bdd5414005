#pragma once

#include "company/Tables.h"

#include <span>

namespace company {

// Takes the rows of a new database: all rows of a table between BeginTable and EndTable, values in the order
// of the table's columns.
class RowSink {
public:
    virtual ~RowSink();
    virtual void BeginTable(const Table& table) = 0;
    virtual void Row(std::span<const wire::Value> values) = 0;
    virtual void EndTable() = 0;
};

} // namespace company

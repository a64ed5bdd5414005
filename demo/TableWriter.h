#pragma once

#include "demo/Generator.h"

#include <initializer_list>
#include <vector>

namespace demo {

// One table on its way into a sink: opened at construction, ended by End().
class TableWriter {
public:
    TableWriter(company::RowSink& sink, QStringView tableName)
        : sink_(sink)
        , table_(*company::FindTable(tableName))
    {
        sink_.BeginTable(table_);
    }
    // Values in the order of the table's columns.
    void Row(std::initializer_list<wire::Value> values) { sink_.Row({values.begin(), values.size()}); }
    void End() { sink_.EndTable(); }

private:
    company::RowSink& sink_;
    const company::Table& table_;
};

inline wire::Value Flag(bool on)
{
    return qint64{on ? 1 : 0};
}

} // namespace demo

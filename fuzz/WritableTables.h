#pragma once

#include "company/Tables.h"

#include <QString>

#include <vector>

// The small company that change logs are sent to: its tables that clients may write.
namespace fuzz {

// A table's rows, in the order of its columns.
struct TableState {
    const company::Table* table;
    std::vector<std::vector<wire::Value>> rows;

    // The column's position; beyond the last for a name that is none.
    size_t IndexOf(const QString& column) const
    {
        size_t at = 0;
        while (
            at < table->columns.size() && table->columns[at].name.compare(column, Qt::CaseInsensitive) != 0)
            ++at;
        return at;
    }
    size_t KeyColumn(size_t i) const { return IndexOf(table->primaryKey[i]); }
};

// As they stand before each change log.
const std::vector<TableState>& Pristine();
// What change logs may be read with.
const std::vector<QString>& CommandTexts();

} // namespace fuzz

#pragma once

#include "wire/Value.h"

#include <QString>

#include <vector>

// The company's tables, as far as clients read or write them.
namespace demo {

struct ColumnDef {
    QString name;
    wire::ColumnType type;
    int width = 0; // text: most characters
};

struct IndexDef {
    QString name;
    std::vector<QString> columns;
    bool unique = false;
};

struct TableDef {
    QString name;
    std::vector<ColumnDef> columns = {};
    std::vector<QString> primaryKey = {};
    QString primaryKeyName = {}; // as index hints name it
    std::vector<IndexDef> indexes = {};
    bool clientsMayWrite = false; // change logs and updates of clients are accepted
};

const std::vector<TableDef>& Schema();
const TableDef* FindTable(QStringView name); // case-insensitive

} // namespace demo

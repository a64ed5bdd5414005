#pragma once

#include "wire/Value.h"

#include <QString>

#include <vector>

// The company's tables, as far as clients read or write them.
namespace company {

struct Column {
    QString name;
    wire::ColumnType type;
    int width = 0; // text: most characters
    QString caption = {}; // as clerks know it; empty: they do not
    QString group = {}; // that its title stands in
    // A change of its row counts only while this still is what the writer read.
    bool guarded = false;

    // "发货客户信息|姓名" in a grid.
    QString Title() const;
};

struct Index {
    QString name;
    std::vector<QString> columns;
    bool unique = false;
};

struct Table {
    QString name;
    std::vector<Column> columns = {};
    std::vector<QString> primaryKey = {};
    QString primaryKeyName = {}; // as index hints name it
    std::vector<Index> indexes = {};
    bool clientsMayWrite = false; // change logs and updates of clients are accepted

    const Column* Find(QStringView column) const; // case-insensitive
};

const std::vector<Table>& Tables();
const Table* FindTable(QStringView name); // case-insensitive
const Table& OrderTable(); // tab_zelmor_bill

} // namespace company

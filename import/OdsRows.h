#pragma once

#include <QByteArray>

#include <vector>

// A row that an ODS file writes once for several alike; liborcus reads the first and leaves the others empty.
struct TRepeatedRow {
    int row = 0; // from 0
    int count = 0; // of rows, this one included
};

// Of each table of the file, its rows with cells that are written once for several.
std::vector<std::vector<TRepeatedRow>> RepeatedRows(const QByteArray& odsFile);

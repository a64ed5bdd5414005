#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// What a file may hold before it is given up: a small file can unpack to more than the machine has.
struct TSheetBudget {
    qint64 fileBytes = 50LL << 20;
    qint64 unpackedBytes = 400LL << 20;
    int rows = 20'000;
    int columns = 256;
    qint64 cells = 2'000'000;
};

// The first table of a file that holds anything, row by row from the first; a row ends with its last cell.
// Numbers are written as people write them, dates as "yyyy-mm-dd hh:mm:ss".
struct TSheet {
    QString name{}; // of the table, where it has one
    std::vector<QStringList> rows{};
    int mergedCells = 0; // that show what their first cell holds

    QString Text(int row, int column) const; // from 0; empty beyond the ends
    int ColumnCount() const;
};

// Reads an XLSX, ODS or CSV file (UTF-8, UTF-16 or GB 18030). Raises wire::Error: Usage where the file cannot
// be opened, Limit beyond the budget, Data for what is no such file; its message tells the user what to do.
TSheet ReadSheet(const QString& path, const TSheetBudget& budget = {});

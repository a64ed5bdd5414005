#pragma once

#include "import/SheetReader.h"

#include <vector>

// What of a sheet goes where: found before anything is imported, and shown to the user.

// A column of the grid that orders are imported into.
struct TImportTarget {
    QString title{}; // levels separated by "|"
    bool given = false; // the screen fills it itself
};

struct TImportColumn {
    int sheetColumn = 0; // from 0
    QString heading{}; // empty where the sheet has none
    int target = -1; // index of the target; none: not imported
};

struct TImportPlan {
    std::vector<TImportColumn> columns{};
    bool byHeadings = false; // else by position
    std::vector<int> orders{}; // rows of the sheet that hold one, from 0
    QString problem{}; // why nothing can be imported; empty: it can
};

// Headings are the targets' titles in one row, or in two with the groups above; case, blanks and "|" do not
// matter. Where none matches, orders begin at row and column `firstRow` and `firstColumn` (from 1), and
// columns go to the targets in their order.
TImportPlan PlanImport(
    const TSheet& sheet, const std::vector<TImportTarget>& targets, int firstRow, int firstColumn);

// "A", "Z", "AA": a column as spreadsheets name it.
QString ColumnName(int column);

#pragma once

#include "import/ImportPlan.h"
#include "runtime/grid/DBGrid.h"

#include <QAbstractButton>

#include <functional>

// The grid's columns that have a field, in the order shown; the dataset's key is the screen's own.
struct TImportGrid {
    explicit TImportGrid(TDBGridEh& grid);

    TClientDataSetEx& rows;
    std::vector<TColumnEh> columns{};
    std::vector<TImportTarget> targets{}; // of the columns
};

// A row of the sheet that was not imported, and why.
struct TImportRefusal {
    int row = 0; // from 0
    QString reason;
};

struct TImportOutcome {
    int saved = 0;
    std::vector<TImportRefusal> refused{};
    // The server was lost, or the user stopped: rows after the last one tried are among the refused. Empty:
    // the run came to its end.
    QString stopped{};
};

// Enters the sheet's orders one by one, each through the dataset's insert and post, then the screen's own
// save, so that every rule has its say and every order its own number. What would be a message box is the
// reason of the row. A number that another desk was faster to take is asked for again. `step` hears how many
// were tried and may stop the run. No save button: posted orders stay in the dataset.
TImportOutcome ImportOrders(const TSheet& sheet, const TImportPlan& plan, TImportGrid& grid,
    QAbstractButton* save, const std::function<bool(int done)>& step);

#pragma once

#include "runtime/grid/DBGrid.h"

#include <QString>

#include <functional>
#include <optional>

// A batch over the selected orders: what it asks, which rows it takes, what it sets, how it sums up.
struct TOrderBatch {
    QString caption{}; // the screen's, of progress and summary
    QString question{}; // anything but Yes stops
    std::function<bool()> prepare{}; // after the question: a reason for all rows; false stops
    std::function<bool(const TClientDataSetEx& row)> takes; // the row's conditions
    std::function<bool(const TClientDataSetEx& row)> confirm{}; // of a row in edit; false takes the edit back
    std::function<void(TClientDataSetEx& row)> change; // of a row in edit, which is posted then
    std::function<void()> beforeSummary{};
    QString summaryEnd{}; // behind the counts
};

struct TBatchCounts {
    int changed = 0;
    int unchanged = 0; // conditions not met, refused before the edit, or not confirmed
};

// Runs the batch with its question, progress and summary; the user may cancel it between rows, and what was
// changed by then stays. Nothing, and no question, where no order is selected. A row whose post is refused
// ends the batch (EAbort).
std::optional<TBatchCounts> RunOrderBatch(TDBGridEh& grid, const TOrderBatch& batch);

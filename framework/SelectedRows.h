#pragma once

#include "runtime/grid/DBGrid.h"

#include <functional>

// Visits each row selected in the grid as the dataset's current one, in the order shown, until `visit`
// returns false: under the busy cursor, with the views standing still, and without the sort order, which
// comes back afterwards (where a row was left in edit, as soon as that edit ends). What `visit` raises ends
// the walk.
void WalkSelectedRows(TDBGridEh& grid, const std::function<bool(TClientDataSetEx& row)>& visit);
// The same for every row in view.
void WalkAllRows(TClientDataSetEx& rows, const std::function<bool(TClientDataSetEx& row)>& visit);

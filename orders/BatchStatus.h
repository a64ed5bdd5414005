#pragma once

#include "runtime/grid/DBGrid.h"

#include <functional>

// A batch of the sites' screens: gives every selected row the status and posts it; rows that have the status
// are passed over. `change` may set more before the row is posted. The first row whose rules refuse it ends
// the batch (EAbort), as does any error. The selection is emptied in every case.
void SetStatusOfSelected(
    TDBGridEh& grid, int status, const std::function<void(TClientDataSetEx&)>& change = {});

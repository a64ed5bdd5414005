#pragma once

#include "orders/record/OrderColumns.h"

// The columns of orders that are found and looked at, not worked on: statuses in words, weight, pieces and
// money summed.
std::vector<TColumnEh> OrderQueryColumns();

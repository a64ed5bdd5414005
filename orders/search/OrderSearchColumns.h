#pragma once

#include "orders/record/OrderColumns.h"

// A column that a screen has besides, or otherwise than, the other searches.
struct TSearchColumn {
    OrderColumnUse use;
    QStringView after{}; // this field; none: at the end
};

// The columns of orders that are found and looked at: what every search shows, with the screen's own;
// statuses in words, to be read only.
std::vector<TColumnEh> OrderSearchColumns(std::span<const TSearchColumn> own, company::StatusUse statuses);

#pragma once

#include "orders/search/OrderSearch.h"

// What the centre's cancellation finds orders by.
std::span<const TCriterion> RevocationCriteria();

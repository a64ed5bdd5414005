#pragma once

#include "orders/OrderSearch.h"

// What the centre's cancellation finds orders by.
std::span<const TCriterion> RevocationCriteria();

#pragma once

#include "orders/search/OrderSearch.h"

// What the centre query asks by, and what it reads of each order.

// No column of the order: says that the user's site stands fixed in both site boxes.
inline constexpr QStringView kLockedSites = u"LOCKED_SITES";
// One status of the group that waits for export.
inline constexpr QStringView kStatusMember = u"STATUS_MEMBER";

std::span<const TCriterion> CentreQueryCriteria();

// The order's columns, the price on its waybill, and whether there is one.
QString CentreQueryColumns();
// The distributed orders of a ready-made list of quoted numbers, the last picked up first; of one site only
// where it is named.
QString CentreOrdersByNumber(const QString& numberList, const QString& offeredTo);
QString CentreOrdersByWaybill(const QString& numberList, const QString& offeredTo);

#pragma once

#include "runtime/grid/DBGrid.h"

#include <QString>

// The couriers whom a site may send, and the site whose orders it has in hand.

// Sites and couriers are those at and below this one: the login site, at a centre its finance centre.
QString DispatchRoot();
// The employees at and below the site, and those who collect for every site.
QString CouriersQuery(const QString& root);
// Every employee, for the sites of big customers.
QString AllCouriersQuery();
TLookupParams CourierLookup(TDataSource* couriers);

#pragma once

#include <QString>

// What the order lists of the sites ask alike.

// The orders of a time range, by the time at which they came; conditions follow.
QString OrdersCreatedBetween(const QString& from, const QString& to);
// The condition on the dispatching warehouse; empty where none was typed.
QString OfWarehouse(const QString& warehouse);

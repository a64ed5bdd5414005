#pragma once

#include "wire/DateTime.h"

#include <QString>
#include <QStringList>

// What the order entry asks the server for, and the numbers of its orders: "D", the day as yyyymmdd and a
// serial of at least six digits that begins anew each day.

// The order table without rows: the form before anything is entered.
QString NoOrdersQuery();
QString PayModesQuery();

// The highest number given on the database's present day.
QString LastNumberQuery();
QString NumbersInUseQuery(const QStringList& numbers);

// The number that follows the last one of the day (empty: there is none yet). Raises wire::Error (Data) where
// its serial is no number.
QString NextNumber(const QString& last, wire::DateTime today);
// The number after a posted one, of the same day.
QString NumberAfter(const QString& posted);

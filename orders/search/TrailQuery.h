#pragma once

#include <QString>

// The tracking messages of one order, oldest first, their codes in words: those of the warehouse platform or
// of the marketplace, as the order's source has it. Empty for a source without messages. An order without a
// waybill number has no messages yet.
QString TrailQuery(const QString& source, const QString& orderNumber, const QString& waybill);

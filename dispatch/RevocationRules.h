#pragma once

#include "runtime/data/ClientDataSet.h"

// The rules of an order that a centre revokes.

// Finds the message that tells the order's source of the pickup.
QString PickupReportedQuery(const QString& waybill, const QString& orderNumber);
// Every post: there is a reason, the pickup has not been reported; then the order is stamped as one whose
// pickup failed, whatever it was before. `found` is a scratch dataset. Raises wire::Error besides.
void CheckRevocation(TClientDataSetEx& cds, TClientDataSetEx& found);

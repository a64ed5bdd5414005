#pragma once

#include "orders/record/OrderStamps.h"

// The rules of order acceptance, each a step of the before-post handler, in the order in which they run.

// A refusal needs a reason and takes the courier away; any other status takes the reason away.
void RequireReasonForRefusal(TClientDataSetEx& cds, const TClerk& clerk);
// Only a candidate may accept or refuse; who does so first is stamped. Waiting again takes the stamp away.
void StampAcceptance(TClientDataSetEx& cds, const TClerk& clerk);
// Stores the courier's name for his code or name, and the message that is sent to the shipper: courier,
// his phone, the site's phone.
void ResolveCourier(TClientDataSetEx& cds, TClientDataSetEx& employees, const QString& sitePhone);
// An acceptance that is taken back, a saved one or one of this sitting, leaves no trace of the site.
// `statusBefore` is what the row had when this edit began.
void ClearUndoneAcceptance(TClientDataSetEx& cds, qint64 statusBefore);

// At most 100 characters.
QString CourierMessage(const QString& courier, const QString& courierPhone, const QString& sitePhone);

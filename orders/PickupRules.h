#pragma once

#include "orders/record/OrderStamps.h"
#include "orders/waybill/Coupon.h"
#include "orders/waybill/NumberRules.h"

// The rules of pickup registration, each a step of the before-post handler, in the order in which they run.

// No row leaves the screen without a number, a failed pickup neither.
void RequireNumber(TClientDataSetEx& cds);
// A coupon pays for nothing that the consignee pays for; any other must be good, and good for the parcel.
void RequireGoodCoupon(TClientDataSetEx& cds);
// The number must have been issued to those whose stock the login site uses.
void RequireIssuedNumber(TClientDataSetEx& cds, const TClerk& clerk);
// Binding a number means that the order was picked up. The number that the row had when this edit began stays
// when the pickup is undone, or turns out to have failed.
void RequirePickedUp(TClientDataSetEx& cds, const QString& numberBefore);
void RequireNumberOfPickup(TClientDataSetEx& cds);
// A failed pickup needs a reason; any other status takes the reason away.
void RequireReasonForFailure(TClientDataSetEx& cds, const TClerk& clerk);
// Who collected first is stamped; an order that is to be collected again has no stamp.
void StampPickup(TClientDataSetEx& cds, const TClerk& clerk);

// What the current order weighs and measures.
TParcel ParcelOf(const TClientDataSetEx& cds);

// All of them, with what every order screen asks of a row. `numberBefore` is the row's when the edit began.
void CheckPickup(TClientDataSetEx& cds, TClientDataSetEx& destinations, const TEnteredNumbers& entered,
    const QString& numberBefore, const TClerk& clerk);

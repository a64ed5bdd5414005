#pragma once

#include "wire/Value.h"

#include <QString>

// Coupons: their numbers, what the server knows of one, and the parcels that each may pay for.

// Eleven characters: three of any kind, seven digits and their check digit. Raises wire::Error (Data) where a
// digit is needed and another character stands.
bool CouponNumberFits(const QString& number);

QString CouponQuery(const QString& number);

struct TCoupon {
    wire::DateTime validFrom;
    wire::DateTime validUntil;
    bool used = false;
    QString value; // as printed: "10元"
};

struct TParcel {
    double weight = 0;
    double volume = 0;
};

// What the user is told of a coupon that may not be used at that time or for that parcel; empty when it may.
// Raises wire::Error (Data) for a value that is no number where the parcel limits it.
QString CouponComplaint(const TCoupon& coupon, const TParcel& parcel, const wire::DateTime& now);

// Every check of a coupon number, the server's knowledge included; the complaint, or empty. Raises
// wire::Error.
QString CheckCoupon(const QString& number, const TParcel& parcel);

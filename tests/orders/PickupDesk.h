#pragma once

#include "tests/orders/OrderDesk.h"

// A desk whose server also knows waybill numbers, stock and coupons. The login site has waybill stock of its
// own under a finance centre.
class PickupDesk : public OrderDesk {
public:
    PickupDesk();

    void SetLoginSite(const QString& type, int material, const QString& shared, const QString& financeCenter);

    QStringList usedNumbers;
    QStringList disabledNumbers;
    bool issued = true;
    struct Coupon {
        wire::DateTime from;
        wire::DateTime until;
        int used = 0;
        QString value;
    };
    std::map<QString, Coupon> coupons;
    QString failing; // queries that hold this text get no answer
};

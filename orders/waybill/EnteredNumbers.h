#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QHash>
#include <QString>

// The waybill numbers that a screen's orders have got in it, one an order; the server does not know them
// before they are saved.
class TEnteredNumbers {
public:
    void Clear() { numberOf_.clear(); }
    // The orders of a list with the numbers that they have, in place of what was here.
    void Refill(const TClientDataSetEx& orders);
    void Enter(const QString& order, const QString& number) { numberOf_.insert(order, number); }
    // Whether another order has the number. A number whose row in the list shows another one, or none, was
    // given up and is free.
    bool OtherOrderHas(const TClientDataSetEx& orders, const QString& order, const QString& number) const;

private:
    QHash<QString, QString> numberOf_; // by order
};

#pragma once

#include <QHash>
#include <QString>

// Waybill numbers as the pickup screens check them: against the company's rule, the orders and the numbers
// withdrawn.

// Whether the number matches the host's rule "MainBill". Raises wire::Error for a rule that cannot be used.
bool FitsWaybillRule(const QString& number);

QString BillUsedQuery(const QString& number);
QString BillDisabledQuery(const QString& number);
// Whether any order on the server has the number; whether it was withdrawn. Raise wire::Error.
bool BillUsed(const QString& number);
bool BillDisabled(const QString& number);

// The numbers entered in a screen since it was opened, one an order; the server does not know them before
// they are saved.
class TEnteredNumbers {
public:
    // Whether the order was given this number.
    bool Has(const QString& order, const QString& number) const;
    bool OtherOrderHas(const QString& order, const QString& number) const;
    void Enter(const QString& order, const QString& number);

private:
    QHash<QString, QString> numberOf_; // by order
};

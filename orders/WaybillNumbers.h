#pragma once

#include <QHash>
#include <QString>

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

#pragma once

#include "framework/DataView.h"
#include "runtime/data/ClientDataSet.h"

#include <QObject>
#include <QString>

class QTimer;

// The goods lines of one order.
QString ItemsQuery(const QString& orderNumber);

// Keeps a dataset of goods lines on the current order of another dataset. Screens call Load after a query and
// on a cell click; moving by keyboard loads after a short rest, so that running through a list asks nothing.
class TOrderItems : public QObject {
    Q_OBJECT
public:
    TOrderItems(QObject* screen, TClientDataSetEx* orders, TClientDataSetEx* items);

    // Reads the lines of the current order; an order without a number, or no order, leaves them as they are.
    void Load();

private:
    void LoadAfterRest();

    TClientDataSetEx* orders_;
    TClientDataSetEx* items_;
    QTimer* rest_;
    QString shown_;
};

// Sets up a view over goods lines.
void PrepareItemsView(TDataView& view, TClientDataSetEx* items);

#pragma once

#include "framework/DataView.h"
#include "framework/RowRules.h"
#include "framework/SaveChanges.h"
#include "framework/frm_BasicBoot.h"
#include "orders/record/OrderItems.h"

#include <QAction>
#include <QPushButton>

// What the screens over a list of orders have alike: the list, the goods of its current order, batch actions,
// the rules of a row, the question before unsaved edits are dropped. A screen makes the views in
// CreateControls().
class Tfrm_OrderList : public Tfrm_BasicBoot {
    Q_OBJECT
protected:
    // `name` is the dataset's.
    explicit Tfrm_OrderList(QObject* owner, const QString& name = QStringLiteral("cds"));

    bool HasOrders() const;
    bool HasSelectedOrders() const;
    // Runs the query of a button: asks first where it would drop unsaved edits (the user's No ends the
    // handler), then shows the orders and the goods of the first. Raises wire::Error.
    void ShowOrders(const QString& sqlText);
    // Sets up DataView1 over the orders; a click on one shows its goods.
    void PrepareList(std::vector<TColumnEh> columns, int frozen = 1);
    void DataView1DataViewGridCellClick();
    // An action over the selected orders; enabled while there are orders.
    QAction* NewBatchAction(const QString& name, const QString& caption);
    // Rules of a before-edit or before-post handler: a violation is told under the caption, its column found.
    void CheckRow(const std::function<void()>& rules);
    // To the column that a rule complains of.
    virtual void GoToColumn(const QString& field);
    // The save under the screen's caption where it has none of its own, found again by order number; the
    // current order's goods are read again with the list.
    TSaveOutcome SaveOrders(TSave save);

    TDataView* DataView1 = nullptr; // the orders

    TClientDataSetEx* cds; // the orders
    TClientDataSetEx* cdsms; // goods lines
    TOrderItems* items_;
};

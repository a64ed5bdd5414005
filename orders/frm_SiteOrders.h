#pragma once

#include "framework/DataView.h"
#include "framework/frm_BasicBoot.h"
#include "orders/Items.h"
#include "orders/Rules.h"

#include <QAction>
#include <QPushButton>

// What the screens on which a site works through its orders have alike: the list with its goods lines, the
// destinations it offers, the rows that a save left over, and the clerk who works on it.
class Tfrm_SiteOrders : public Tfrm_BasicBoot {
    Q_OBJECT
protected:
    explicit Tfrm_SiteOrders(QObject* owner);

    bool HasOrders() const;
    // An action over the selected orders; enabled while there are orders.
    QAction* NewBatchAction(const QString& name, const QString& caption);
    // The rules of every posted row.
    virtual void cdsBeforePost() = 0;

    TDataView* DataView1 = nullptr; // the orders
    TDataView* DataView2 = nullptr; // goods of the current order
    QPushButton* Button4 = nullptr; // 查询
    QPushButton* Button1 = nullptr; // 保存

    TClientDataSetEx* cds; // the orders
    TClientDataSetEx* cdsms; // goods lines
    TClientDataSetEx* cdsDestination; // sites that an order may go to
    TClientDataSetEx* cdsErr; // orders that could not be saved
    TDataSource* dsDestination;
    TOrderItems* items_;

    TClerk clerk_;
};

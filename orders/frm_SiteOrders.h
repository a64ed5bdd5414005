#pragma once

#include "orders/frm_OrderList.h"
#include "orders/record/OrderStamps.h"
#include "runtime/controls/DBControls.h"

#include <QHBoxLayout>

// What the screens on which a site works through its orders have alike: the time of the orders, the
// destinations that an order may have, the save with the orders that others were faster with, and the clerk
// who works on them.
class Tfrm_SiteOrders : public Tfrm_OrderList {
    Q_OBJECT
protected:
    explicit Tfrm_SiteOrders(QObject* owner);

    // Filters above actions above the orders above their goods; the screen fills the parts.
    void CreateControls() override;
    virtual void AddFilters(QHBoxLayout& row, QWidget* panel) = 0; // behind the time of the orders
    virtual void AddActions(QHBoxLayout& row, QWidget* panel) = 0; // Button1 among them
    virtual void CreateOrdersView() = 0; // DataView1's
    void FirstLoad() override; // the destinations
    void FormShow() override;
    // The rules of every posted row.
    virtual void cdsBeforePost() = 0;
    virtual void Button4Click() = 0;
    virtual void Button1Click() = 0;
    QPushButton* NewSaveButton(QWidget* panel);

    // Whether the query may run; tells the user why not.
    bool RangeIsGood() const;
    // The save of both screens: refused orders are listed under the text.
    bool SaveOrdersOrList(const QString& failureText);

    TDBDateTimeEditEh* DBDateTimeEditEh1 = nullptr; // 订单时间始
    TDBDateTimeEditEh* DBDateTimeEditEh2 = nullptr; // 订单时间止
    TDataView* DataView2 = nullptr; // goods of the current order
    QPushButton* Button4 = nullptr; // 查询
    QPushButton* Button1 = nullptr; // 保存

    TClientDataSetEx* cdsDestination; // sites that an order may go to
    TClientDataSetEx* cdsErr; // orders that could not be saved
    TDataSource* dsDestination;

    TClerk clerk_;
};

#pragma once

#include "framework/DataView.h"
#include "framework/frm_BasicBoot.h"
#include "orders/Items.h"
#include "orders/RecQuery.h"
#include "orders/Rules.h"
#include "orders/WaybillNumbers.h"
#include "runtime/ui/DBControls.h"

#include <QAction>
#include <QPushButton>

// 网点揽件: a site binds waybill numbers to the orders that it has collected.
class Tfrm_RecBill : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_RecBill(QObject* owner);

protected:
    void FormShow() override;

private:
    void CreateDataSets();
    void CreateControls();
    QWidget* CreateFilterPanel();
    QWidget* CreateActionPanel();
    void CreateViews();
    void FormCreate();

    void Button1Click();
    void Button4Click();
    void BatchRecBillExecute();
    void BatchRecBillUpdate();
    void DBEditEh1Exit();
    void DataView1DataViewGridKeyDown(QKeyEvent* event);
    void cdsBeforePost();

    TRecCriteria Criteria() const;
    bool HasOrders() const;
    void LoadOrders();
    void RegisterPickup();
    void GoToNumber();
    void GoToColumn(const QString& field);

    TDBDateTimeEditEh* DBDateTimeEditEh1; // 订单时间始
    TDBDateTimeEditEh* DBDateTimeEditEh2; // 订单时间止
    TDBEditEh* DBEditEh1; // 优惠券编号 of the current order
    TDBEditEh* DBEditEh2; // 仓库编号
    QPushButton* Button4; // 查询
    QPushButton* Button1; // 保存
    QAction* BatchRecBill;
    TDataView* DataView1; // the orders
    TDataView* DataView2; // goods of the current order

    TClientDataSetEx* cds; // the orders
    TClientDataSetEx* cdsms; // goods lines
    TClientDataSetEx* cdsDestination; // sites that an order may go to
    TClientDataSetEx* cdsErr; // orders that could not be saved
    TDataSource* dsDestination;
    TOrderItems* items_;

    TClerk clerk_;
    TEnteredNumbers entered_;
};

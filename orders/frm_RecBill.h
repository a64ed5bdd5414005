#pragma once

#include "orders/PickupQuery.h"
#include "orders/frm_SiteOrders.h"
#include "orders/waybill/EnteredNumbers.h"
#include "runtime/controls/DBControls.h"

// 网点揽件: a site binds waybill numbers to the orders that it has collected.
class Tfrm_RecBill : public Tfrm_SiteOrders {
    Q_OBJECT
public:
    explicit Tfrm_RecBill(QObject* owner);

protected:
    void AddFilters(QHBoxLayout& row, QWidget* panel) override;
    void AddActions(QHBoxLayout& row, QWidget* panel) override;
    void CreateOrdersView() override;
    void FirstLoad() override;
    void FormShow() override;
    void Button4Click() override;
    void cdsBeforePost() override;
    void Button1Click() override;
    void GoToColumn(const QString& field) override;

private:
    void BatchRecBillExecute();
    void DBEditEh1Exit();
    void DataView1DataViewGridKeyDown(QKeyEvent* event);

    TPickupCriteria Criteria() const;
    void RegisterPickup();
    void GoToNumber();

    TDBEditEh* DBEditEh1; // 优惠券编号 of the current order
    TDBEditEh* DBEditEh2; // 仓库编号
    QAction* BatchRecBill;

    TEnteredNumbers entered_; // numbers that orders have got here and the server does not know yet
    QString numberBefore_; // of the row in edit, when the edit began
};

#pragma once

#include "framework/DataView.h"
#include "framework/PageLookup.h"
#include "framework/frm_BasicBoot.h"
#include "orders/AcceptQuery.h"
#include "orders/Items.h"
#include "orders/Rules.h"
#include "runtime/ui/DBControls.h"

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

// 网点接单: a site accepts, refuses or hands on the orders that were offered to it.
class Tfrm_AcceptBill : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_AcceptBill(QObject* owner);

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
    void Button2Click();
    void Button4Click();
    void BatchAcceptBillExecute();
    void BatchAcceptBillUpdate();
    void Timer1Timer();
    void cdsBeforePost();
    void DataView1DataViewGridGetCellParams(const TColumnEh& column, int viewRow, TCellParams& params);

    bool AtHeadquarters() const;
    TAcceptCriteria Criteria() const;
    bool HasOrders() const;
    bool OfferedHere(int viewRow);

    TDBDateTimeEditEh* DBDateTimeEditEh1; // 订单时间始
    TDBDateTimeEditEh* DBDateTimeEditEh2; // 订单时间止
    TDBEditEh* DBEditEh1; // 仓库编号
    QLabel* Label4;
    TDBEditEh* DBEditEh2; // 物流号, headquarters only
    QLabel* Label5;
    TDBLookupComboboxEh* DBLookupComboboxEh1; // 接单网点, headquarters only
    QPushButton* Button4; // 查询
    QPushButton* Button2; // 转单
    QPushButton* Button1; // 保存
    TDBPageLookup_Employee* DBPageLookup_Employee1; // 接单业务员 of a batch
    QAction* BatchAcceptBill;
    TDataView* DataView1; // the orders
    TDataView* DataView2; // goods of the current order
    QTimer* Timer1;

    TClientDataSetEx* cds; // the orders
    TClientDataSetEx* cdsms; // goods lines
    TClientDataSetEx* cdsDestination; // sites that an order may go to
    TClientDataSetEx* cdsErr; // orders that could not be saved
    TDataSource* dsDestination;
    TOrderItems* items_;

    TClerk clerk_;
    qint64 statusBefore_ = 0; // of the row in edit, when the edit began
    int ticks_ = 0;
    int offeredRow_ = -1; // the row that offeredHere_ speaks of; painting asks once for each cell of a row
    bool offeredHere_ = true;
};

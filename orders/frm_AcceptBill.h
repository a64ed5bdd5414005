#pragma once

#include "framework/PageLookup.h"
#include "orders/AcceptQuery.h"
#include "orders/frm_SiteOrders.h"
#include "runtime/controls/DBControls.h"

#include <QLabel>
#include <QPushButton>
#include <QTimer>

// 网点接单: a site accepts, refuses or hands on the orders that were offered to it.
class Tfrm_AcceptBill : public Tfrm_SiteOrders {
    Q_OBJECT
public:
    explicit Tfrm_AcceptBill(QObject* owner);

protected:
    void AddFilters(QHBoxLayout& row, QWidget* panel) override;
    void AddActions(QHBoxLayout& row, QWidget* panel) override;
    void CreateOrdersView() override;
    void FormCreate() override;
    void FirstLoad() override;
    void Button4Click() override;
    void cdsBeforePost() override;
    void Button1Click() override;

private:
    void Button2Click();
    void BatchAcceptBillExecute();
    void Timer1Timer();
    void DataView1DataViewGridGetCellParams(const TColumnEh& column, int viewRow, TCellParams& params);

    bool AtHeadquarters() const;
    TAcceptCriteria Criteria() const;
    bool OfferedHere(int viewRow);

    TDBEditEh* DBEditEh1; // 仓库编号
    QLabel* Label4;
    TDBEditEh* DBEditEh2; // 物流号, headquarters only
    QLabel* Label5;
    TDBLookupComboboxEh* DBLookupComboboxEh1; // 接单网点, headquarters only
    QPushButton* Button2; // 转单
    TDBPageLookup_Employee* DBPageLookup_Employee1; // 接单业务员 of a batch
    QAction* BatchAcceptBill;
    QTimer* Timer1;

    qint64 statusBefore_ = 0; // of the row in edit, when the edit began
    int ticks_ = 0;
    int offeredRow_ = -1; // the row that offeredHere_ speaks of; painting asks once for each cell of a row
    bool offeredHere_ = true;
};

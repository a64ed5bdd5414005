#pragma once

#include "framework/NumberListInput.h"
#include "orders/CorrectionQuery.h"
#include "orders/frm_OrderList.h"
#include "orders/search/DateWindow.h"
#include "orders/waybill/EnteredNumbers.h"
#include "runtime/controls/DBControls.h"

// 网点揽件查询: a site finds the orders that were picked up, and corrects their waybill numbers.
class Tfrm_RecBillQuery : public Tfrm_OrderList {
    Q_OBJECT
public:
    explicit Tfrm_RecBillQuery(QObject* owner);

protected:
    void CreateControls() override;
    void FirstLoad() override;
    void FormShow() override;

private:
    QWidget* CreateFilterPanel();
    void CreateViews();
    void cdsBeforePost();
    void btQueryClick();
    void btSaveClick();

    QString OwnSites() const;

    TNumberListInput* numberBox_;
    TDateWindow* window_; // 揽件日期
    TDBLookupComboboxEh* DBLookupComboboxEh1; // 揽件网点名称
    TDataView* DataView2; // goods of the current order
    QPushButton* btQuery;
    QPushButton* btSave;

    TEnteredNumbers numbers_; // of the orders in the list, as read and as corrected since
};

#pragma once

#include "orders/OrderDetails.h"
#include "orders/OrderSearchPanel.h"
#include "orders/OrderSummary.h"
#include "orders/frm_OrderList.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>

// 泽摩订单查询: searches the orders by pasted numbers or by criteria, and shows an order's goods and trail.
class Tfrm_BillQuery : public Tfrm_OrderList {
    Q_OBJECT
public:
    explicit Tfrm_BillQuery(QObject* owner);

protected:
    void CreateControls() override;
    void FormCreate() override;
    void FirstLoad() override;
    void FormShow() override;

private:
    void CreatePages();
    void CreateView();

    void Button1Click();
    void PageControl1Change();
    void TabSheet1Show();
    void TabSheet2Show();
    void DataView1DataViewGridDblClick();

    void SearchByNumbers();
    void SearchByCriteria();

    QWidget* Panel1; // the pages
    QTabWidget* PageControl1;
    QWidget* TabSheet1; // 查询条件
    QWidget* TabSheet2; // 详细数据
    TOrderSearchPanel* Panel2; // the criteria
    QPushButton* Button1; // 查询, pressed through the host
    QPlainTextEdit* Memo2; // the text of the last search by criteria; hidden
    TOrderDetails* details_;
    TOrderSummary* summary_; // of the current order, while the criteria stand above it

    TClientDataSetEx* cdsprov; // provinces that orders come from
    TClientDataSetEx* cdscheck; // the subtree of the candidate site
    TClientDataSetEx* CDSStatus; // tracking trail of the order last double-clicked

    QString areaName_; // of the login site
};

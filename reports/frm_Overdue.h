#pragma once

#include "orders/frm_OrderList.h"
#include "orders/record/OrderDetails.h"
#include "reports/BarChart.h"
#include "reports/OverdueQuery.h"

#include <QLabel>
#include <QTabWidget>

// A monitor of orders that wait too long at one step: how many by region, and the orders of a chosen row.
class Tfrm_Overdue : public Tfrm_OrderList {
    Q_OBJECT
protected:
    Tfrm_Overdue(QObject* owner, const TOverdueStep& step);

    void CreateControls() override;
    void FormShow() override;

private:
    QWidget* CreateFilterPanel();
    void CreateSummaryPage();
    void CreateOrdersPage();

    void Button1Click();
    void PageControl1Change();
    void TabSheet2Show();
    void DataView2DataViewGridDblClick();
    void ChartBarClick(const TChartBar& bar);

    TOverdueGroup CurrentGroup() const;
    // Whose orders the page shows, or why it shows none.
    void TellWhose(const TOverdueGroup& group);

    QTabWidget* PageControl1 = nullptr;
    QWidget* TabSheet1 = nullptr; // 汇总数据
    QWidget* TabSheet2 = nullptr; // 明细数据
    TDBComboBoxEh* DBComboBoxEh1 = nullptr; // 超时(小时)
    QPushButton* Button1 = nullptr; // 查询
    TDataView* DataView2 = nullptr; // the summary
    TBarChart* chart_ = nullptr; // of the summary's rows
    QLabel* whose_ = nullptr;
    TOrderDetails* details_ = nullptr; // of the current order, with its goods

    TClientDataSetEx* cdsSum; // the summary

    const TOverdueStep& step_;
    QString condition_; // of the summary shown
    QString ordersKey_; // of the row whose orders were last read
};

#pragma once

#include "framework/DataView.h"
#include "framework/frm_BasicBoot.h"
#include "orders/search/DateWindow.h"
#include "reports/BarChart.h"
#include "reports/ServiceFigures.h"

#include <QLabel>
#include <QPushButton>
#include <QTabWidget>

// 汇总分析: how well each site served the orders of a time window, and the orders behind each figure.
class Tfrm_Collect : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_Collect(QObject* owner);

protected:
    void CreateControls() override;
    void FormCreate() override;
    void FormShow() override;

private:
    QWidget* CreateFilterPanel();
    void CreateFiguresPage();
    QWidget* CreateCharts();
    void CreateOrdersPage();

    void Button1Click();
    void Button2Click();
    void DBComboBoxEh4Change();
    void DataView1DataViewGridDblClick();
    void PageControl1Change();
    void TabSheet2Show();
    void ChartBarClick(const TChartBar& bar, const QString& figure);

    TFiguresCriteria Criteria() const;
    void AppendRegions();
    // The query of the orders behind the grid's selected figure of the current row; empty where the column is
    // none.
    QString OrdersQuery() const;
    void TellWhose();

    TDateWindow* window_ = nullptr; // 下单时间范围(31天以内)
    TDBLookupComboboxEh* DBLookupComboboxEh2 = nullptr; // 网点名称
    TDBComboBoxEh* DBComboBoxEh4 = nullptr; // 片区
    TDBComboBoxEh* DBComboBoxEh2 = nullptr; // 项目
    QPushButton* Button1 = nullptr; // 查询
    QPushButton* Button2 = nullptr; // 刷新接单站点
    QTabWidget* PageControl1 = nullptr;
    QWidget* TabSheet1 = nullptr; // 汇总数据
    QWidget* TabSheet2 = nullptr; // 明细数据
    TDataView* DataView1 = nullptr; // the figures
    TBarChart* acceptance_ = nullptr; // of the sites shown
    TBarChart* pickup_ = nullptr;
    TDataView* DataView2 = nullptr; // the orders behind one

    TClientDataSetEx* cds; // figures of the sites, and of the regions appended to them
    TClientDataSetEx* cds1; // figures of the regions
    TClientDataSetEx* cds_detail; // the orders behind a figure

    TFiguresConditions conditions_; // of the figures shown
};

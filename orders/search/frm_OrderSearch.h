#pragma once

#include "orders/frm_OrderList.h"
#include "orders/record/OrderDetails.h"
#include "orders/search/OrderSearchColumns.h"
#include "orders/search/OrderSearchPanel.h"
#include "orders/search/OrderSummary.h"

#include <QPlainTextEdit>
#include <QTabWidget>

// How a screen that searches orders differs from the others.
struct TOrderSearch {
    QString windowTitle{}; // of the date window
    std::span<const TCriterion> criteria{};
    TPasteRule numbers{.maxLines = 999, .trimmed = false, .lastFirst = true};
    std::vector<TColumnEh> columns{};
    QString selected = QStringLiteral(" a.*"); // of each order that meets the criteria
    bool readOnly = true;
    bool showsTrail = true; // among the details
};

// What the screens that search orders by pasted numbers or by criteria are made of: a page of criteria, one
// of the current order's details, and the orders below. A double click shows an order's goods and, where the
// screen has it, its tracking trail.
class Tfrm_OrderSearch : public Tfrm_OrderList {
    Q_OBJECT
protected:
    Tfrm_OrderSearch(QObject* owner, TOrderSearch search);

    void CreateControls() override;
    void FormCreate() override;
    void FirstLoad() override;
    void FormShow() override;

    // The search for a list of quoted numbers, of orders or (which the panel says) of waybills.
    virtual QString NumbersQuery(const QString& numbers) const = 0;
    // Adds what the boxes do not say. Before the date window is checked.
    virtual void CompleteCriteria(TOrderCriteria& criteria) { Q_UNUSED(criteria) }
    // After a search that the user was told not to make so.
    virtual void SearchRefused() { }

    TOrderSearchPanel* Panel2 = nullptr; // the criteria

private:
    void CreatePages(QWidget* content);
    void CreateView(QWidget* content);
    void LayOut(QWidget* content);

    void Button1Click();
    void PageControl1Change();
    void TabSheet1Show();
    void TabSheet2Show();
    void DataView1DataViewGridDblClick();
    void LoadTrail(const QString& orderNumber);

    // The text of the search; empty where it is refused.
    QString SearchByNumbers();
    QString SearchByCriteria();

    TOrderSearch search_;

    QWidget* Panel1 = nullptr; // the pages
    QTabWidget* PageControl1 = nullptr;
    QWidget* TabSheet1 = nullptr; // 查询条件
    QWidget* TabSheet2 = nullptr; // 详细数据
    QPushButton* Button1 = nullptr; // 查询, pressed through the host
    QPlainTextEdit* Memo2 = nullptr; // the text of the last search by criteria; hidden
    TOrderDetails* details_ = nullptr;
    TOrderSummary* summary_ = nullptr; // of the current order, while the criteria stand above it

    TClientDataSetEx* cdsprov; // provinces that orders come from
    TClientDataSetEx* CDSStatus = nullptr; // tracking trail of the order last double-clicked
};

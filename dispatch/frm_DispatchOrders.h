#pragma once

#include "dispatch/DispatchFilter.h"
#include "orders/frm_OrderList.h"
#include "orders/record/OrderBatch.h"
#include "orders/record/OrderStamps.h"

#include <QHBoxLayout>

// What the screens that dispatch orders to sites and drivers have alike: filter and query, the list with its
// goods, batches over the selected orders, and a save that writes all or nothing.
class Tfrm_DispatchOrders : public Tfrm_OrderList {
    Q_OBJECT
protected:
    Tfrm_DispatchOrders(QObject* owner, const TDispatchFilter::TOptions& filter);

    void CreateControls() override;
    void FirstLoad() override;
    void FormShow() override;
    // What a screen adds to them.
    virtual void AddActions(QHBoxLayout& /*row*/, QWidget* /*panel*/) { }
    virtual void PrepareColumns(std::vector<TColumnEh>& columns);
    // The condition of the query on the sites; empty: orders of every site.
    virtual QString SiteCondition() const { return {}; }
    virtual void CDS_ORDER_PDABeforeEdit() { }
    virtual void CDS_ORDER_PDABeforePost() = 0;

    void btn_openClick();
    void btn_SaveClick();

    // Rows are selected; a hint where none are.
    bool HasSelection() const;
    // The batch under the screen's caption. Whatever refuses rows in it is told once, not row by row.
    void RunBatch(TOrderBatch batch);
    // Refuses the selected orders that are offered to the login site alone, for the reason that is asked for.
    void RefuseOrders(const QString& prompt);

    TDataView* DataView2 = nullptr; // goods of the current order
    QPushButton* btn_open = nullptr; // 查询, pressed through the host
    QPushButton* btn_Save = nullptr; // 保存, pressed through the host

    TClientDataSetEx* CDS_SITE_TMP; // the sites at and below RootSite
    TClientDataSetEx* cds_loginsiteowner_employee; // the couriers of these sites
    TDataSource* dsSites;
    TDataSource* dsCouriers;

    const int ControlMode; // 2 at a centre, else 1
    const QString RootSite;

private:
    void CheckRowOnce(const std::function<void()>& rules);

    TDispatchFilter::TOptions options_;
    TDispatchFilter* filter_ = nullptr;
    // What the batch that runs says once for all its rows.
    struct TBatchRun {
        QStringList told; // refusals
        TModifier modifier;
    };
    std::optional<TBatchRun> run_;
};

#pragma once

#include "dispatch/frm_DispatchOrders.h"

// 订单查询: the couriers' worklist gives the orders offered to the site to drivers, one by one, in the list.
class Tfrm_order_pda_EMP : public Tfrm_DispatchOrders {
    Q_OBJECT
public:
    explicit Tfrm_order_pda_EMP(QObject* owner);

protected:
    void CreateControls() override;
    void PrepareColumns(std::vector<TColumnEh>& columns) override;
    QString SiteCondition() const override;
    void CDS_ORDER_PDABeforeEdit() override;
    void CDS_ORDER_PDABeforePost() override;

private Q_SLOTS:
    void btn_FailClick(); // no button has it

private:
    bool DataView1DataViewGridColExit(int column);
    void DriverChanged();

    QString takenName_; // the driver last taken from a cell's list
    QString takenCode_;
};

#pragma once

#include "dispatch/frm_order_pda_control.h"

// 订单委托: entrusts orders to another site; otherwise dispatch control over orders of every site.
class Tfrm_order_pda_depute : public Tfrm_order_pda_control {
    Q_OBJECT
public:
    explicit Tfrm_order_pda_depute(QObject* owner);

protected:
    void AddActions(QHBoxLayout& row, QWidget* panel) override { AddGivingActions(row, panel); }
    QString SiteCondition() const override { return {}; }
    void CDS_ORDER_PDABeforeEdit() override;
    void CDS_ORDER_PDABeforePost() override;
    void btn_SelectClick() override;
};

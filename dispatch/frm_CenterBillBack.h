#pragma once

#include "orders/search/frm_OrderSearch.h"

// 中心订单撤销: a centre finds orders whose pickup cannot be made, and revokes them with a reason.
class Tfrm_CenterBillBack : public Tfrm_OrderSearch {
    Q_OBJECT
public:
    explicit Tfrm_CenterBillBack(QObject* owner);

protected:
    void CreateControls() override;
    void FormShow() override;
    QString NumbersQuery(const QString& numbers) const override;

private:
    void Button2Click();
    void cdsBeforePost();

    QPushButton* Button2 = nullptr; // 保存, pressed through the host
    TClientDataSetEx* cds_Temp; // the message of a pickup
};

#pragma once

#include "dispatch/frm_DispatchOrders.h"

// 订单分派: dispatch control offers orders to a site, gives them to drivers, cancels and refuses them.
class Tfrm_order_pda_control : public Tfrm_DispatchOrders {
    Q_OBJECT
public:
    explicit Tfrm_order_pda_control(QObject* owner);

protected:
    // How a screen that gives orders away words it.
    struct TWords {
        QString site; // beside the target site's box
        QString offer; // on btn_Select
        QString driverQuestion;
        QString cancelPrompt;
    };
    Tfrm_order_pda_control(QObject* owner, const TDispatchFilter::TOptions& filter, TWords words);

    void AddActions(QHBoxLayout& row, QWidget* panel) override;
    void AddGivingActions(QHBoxLayout& row, QWidget* panel);
    QString SiteCondition() const override;
    void CDS_ORDER_PDABeforePost() override;
    virtual void btn_SelectClick();
    // The site chosen for the selected orders; empty where none is, which is told, and where none are.
    QString TargetSite(const QString& missing);

private:
    void Button1Click();
    void btn_CANELClick();
    void btn_FailClick();

    void ShowDriver();
    // Whether an order that has a driver may change hands: not without a reason. The user who gives up the
    // question is not asked again in this batch.
    bool AskWhy(const TClientDataSetEx& row, QString& reason, bool& asking);

    TDBLookupComboboxEh* SITE_NAME = nullptr; // the target site
    TDBPageLookup_Employee* EMP_NAME = nullptr; // 接单司机, found in CDS_EMP_CAR
    QLabel* driver_ = nullptr; // whom the lookup has taken
    QPushButton* btn_Select = nullptr; // 批量分派机构
    QPushButton* Button1 = nullptr; // 批量分派司机
    QPushButton* btn_CANEL = nullptr; // 订单取消
    QPushButton* btn_Fail = nullptr; // 接单失败

    TWords words_;
};

#pragma once

#include "dispatch/DistributionQuery.h"
#include "orders/frm_OrderList.h"
#include "orders/record/OrderDetails.h"
#include "orders/record/OrderStamps.h"

// 未分件泽摩订单: the distribution desk offers new orders to sites, finds the site that delivers them, or
// refuses them.
class Tfrm_UnDispartBill : public Tfrm_OrderList {
    Q_OBJECT
public:
    explicit Tfrm_UnDispartBill(QObject* owner);

protected:
    void CreateControls() override;
    void FirstLoad() override;
    void FormShow() override;

private:
    QWidget* CreateFilterPanel();
    QWidget* CreateActionPanel();
    void CreateViews();

    void Button1Click();
    void Button2Click();
    void Button3Click();
    void SpeedButton3Click();
    void DBLookupComboboxEh1KeyDown(QKeyEvent* event);
    void DataView1DataViewGridDblClick();
    void DataView1DataViewGridKeyDown(QKeyEvent* event);
    void cdsBeforePost();

    TDistributionCriteria Criteria() const;
    // The site that delivers to the address; empty where none is known.
    QString MatchDeliverySite(
        const QString& province, const QString& city, const QString& county, const QString& address);
    bool MatchRow(TClientDataSetEx& row);

    TDBDateTimeEditEh* DBDateTimeEditEh1 = nullptr; // 订单时间始
    TDBDateTimeEditEh* DBDateTimeEditEh2 = nullptr; // 订单时间止
    TDBEditEh* DBEditEh1 = nullptr; // 省份
    TDBEditEh* DBEditEh2 = nullptr; // 城市
    TDBLookupComboboxEh* DBLookupComboboxEh1 = nullptr; // 区/县
    QPushButton* Button1 = nullptr; // 查询, pressed through the host
    QPushButton* Button2 = nullptr; // 保存, pressed through the host
    QPushButton* Button3 = nullptr; // 分件
    QPushButton* SpeedButton3 = nullptr; // 自动匹配目的站点(新)
    TOrderDetails* details_ = nullptr; // of the current order, with its goods

    TClientDataSetEx* cdsCounty; // the counties
    TClientDataSetEx* cds_Temp; // look-ups of the address matcher
    TDataSource* dsCounty;

    TClerk clerk_;
};

#pragma once

#include "dispatch/DispatchQuery.h"
#include "framework/NumberListInput.h"
#include "framework/PageLookup.h"
#include "orders/search/DateWindow.h"

#include <optional>

// The filter above the orders that are dispatched: pasted numbers, or the time of the order with what the
// boxes say. Asks the server nothing itself, except for pages of drivers.
class TDispatchFilter : public QWidget {
    Q_OBJECT
public:
    struct TOptions {
        int status; // that it opens with
        bool entrusted = true; // asks for entrusted orders
        bool gaps = true; // asks for orders without site or driver
    };

    TDispatchFilter(QWidget* parent, TDataSource* couriers, TDataSource* sites, const TOptions& options);

    void OfferPayments(const QStringList& payments);
    // What the boxes say, the sites left open. None where they cannot be asked; the user is told why.
    std::optional<TDispatchCriteria> Criteria();

private:
    QWidget* CreateBoxes(TDataSource* couriers, TDataSource* sites, const TOptions& options);

    TNumberListInput* NumberBox; // 按订单号查询
    TDateWindow* window_;
    TDBLookupComboboxEh* REC_GOODS_MAN; // 业务员
    TDBLookupComboboxEh* CREATER_SITE; // 创建网点
    TDBPageLookup_Employee* REC_BILL_MAN; // 接单司机
    TDBComboBoxEh* PAY_TYPE; // 支付方式
    TDBComboBoxEh* STATUS; // 订单状态
    TDBComboBoxEh* BL_DEPUTE = nullptr; // 委托标识
    TDBCheckBoxEh* chk_NoSite = nullptr; // 接单网点为空
    TDBCheckBoxEh* chk_NoDriver = nullptr; // 接单司机为空
};

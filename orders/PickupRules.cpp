#include "orders/PickupRules.h"

#include "company/OrderStatus.h"
#include "company/PayType.h"
#include "module/data/HostBridge.h"
#include "orders/Destinations.h"
#include "orders/waybill/WaybillStock.h"

using namespace Qt::Literals::StringLiterals;

namespace {

bool HasNumber(const TClientDataSetEx& cds)
{
    return !NumberOf(cds).trimmed().isEmpty();
}

[[noreturn]] void RefuseCoupon(const QString& message)
{
    throw TRuleViolation{message, u"FAVOURABLE_BILL"_s};
}

} // namespace

void RequireNumber(TClientDataSetEx& cds)
{
    if (!HasNumber(cds))
        RefuseNumber(u"详细：网点揽件一定要输入运单号！"_s);
}

void RequireGoodCoupon(TClientDataSetEx& cds)
{
    const QString coupon = TextOf(cds, u"FAVOURABLE_BILL");
    if (coupon.isEmpty())
        return;
    if (TextOf(cds, u"PAY_TYPE") == company::kPaidByConsignee)
        RefuseCoupon(u"详细：优惠券不能用于到付的支付方式！"_s);
    QString complaint;
    try {
        complaint = CheckCoupon(coupon, ParcelOf(cds));
    } catch (const wire::Error& error) {
        complaint = u"详细："_s + error.Message(); // a letter among the digits, or no answer
    }
    if (!complaint.isEmpty())
        RefuseCoupon(complaint);
}

void RequireIssuedNumber(TClientDataSetEx& cds, const TClerk& clerk)
{
    const QString complaint = IssueComplaint(NumberOf(cds), clerk.site);
    if (!complaint.isEmpty())
        RefuseNumber(complaint);
}

void RequirePickedUp(TClientDataSetEx& cds, const QString& numberBefore)
{
    if (cds.State() == TDataSetState::Edit && StatusOf(cds) != company::kStatusPickedUp
        && NumberOf(cds) != numberBefore)
        throw TRuleViolation{u"详细：请修改订单状态！"_s, u"STATUS"_s};
}

void RequireNumberOfPickup(TClientDataSetEx& cds)
{
    if (StatusOf(cds) == company::kStatusPickedUp && !HasNumber(cds))
        RefuseNumber(u"详细：揽件成功操作必须有运单编号！"_s);
}

void RequireReasonForFailure(TClientDataSetEx& cds, const TClerk& clerk)
{
    RequireReasonFor(
        cds, company::kStatusPickupFailed, clerk, u"详细：选择\"揽件失败\"必须填写\"撤消原因\"！"_s);
}

void StampPickup(TClientDataSetEx& cds, const TClerk& clerk)
{
    if (StatusOf(cds) != company::kStatusAccepted) {
        if (!HasText(cds, u"REC_MAN")) {
            SetText(cds, u"REC_MAN", clerk.employeeName);
            cds.FieldByName(u"REC_DATE").SetAsDateTime(ServerDateTime());
        }
    } else if (HasText(cds, u"REC_MAN")) {
        ClearField(cds, u"REC_MAN");
        ClearField(cds, u"REC_DATE");
    }
}

TParcel ParcelOf(const TClientDataSetEx& cds)
{
    return {cds.FieldByName(u"TOTAL_WEIGHT").AsFloat(), cds.FieldByName(u"TOTAL_VOLUME").AsFloat()};
}

void CheckPickup(TClientDataSetEx& cds, TClientDataSetEx& destinations, const TEnteredNumbers& entered,
    const QString& numberBefore, const TClerk& clerk)
{
    RequireNumber(cds);
    RequireWaybillRule(NumberOf(cds));
    RequireGoodCoupon(cds);
    RequireUnusedNumber(cds, entered);
    RequireEnabledNumber(NumberOf(cds).trimmed());
    RequireIssuedNumber(cds, clerk);
    RequirePickedUp(cds, numberBefore);
    DropUnknownDestination(cds, destinations);
    RequireNumberOfPickup(cds);
    RequireReasonForFailure(cds, clerk);
    StampPickup(cds, clerk);
    StampModifier(cds);
}

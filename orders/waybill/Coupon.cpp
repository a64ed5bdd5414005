#include "orders/waybill/Coupon.h"

#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/waybill/WaybillChecks.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// Between the bounds, by weight or by volume, a coupon of at most this value may be used. The bounds
// themselves belong to no tier.
struct Tier {
    TParcel above;
    TParcel below;
    int maxValue; // yuan
};

constexpr Tier kTiers[] = {
    {{30, 0.2}, {80, 0.4}, 10},
    {{80, 0.4}, {150, 0.75}, 20},
    {{150, 0.75}, {300, 1.5}, 50},
};

bool Inside(const Tier& tier, const TParcel& parcel)
{
    return (tier.above.weight < parcel.weight && parcel.weight < tier.below.weight)
        || (tier.above.volume < parcel.volume && parcel.volume < tier.below.volume);
}

int FaceValue(const QString& printed)
{
    const QString number = printed.section(u'元', 0, 0).trimmed();
    bool isNumber = false;
    const int value = number.toInt(&isNumber);
    if (!isNumber)
        throw wire::Error(wire::ErrorKind::Data, u"'%1' 不是有效的整数"_s.arg(number));
    return value;
}

} // namespace

bool CouponNumberFits(const QString& number)
{
    return number.size() == 11 && CheckDigitFits(number, 3, "7425368");
}

QString CouponQuery(const QString& number)
{
    return u"select /*+index(t,TAB_FAVOURABLE_BILL_U)*/ "
           u"t.USE_START_DATE,t.USE_END_DATE,t.BL_USE,t.BILL_VALUE "
           "from tab_favourable_bill t where t.FAVOURABLE_BILL='"_s
        + number.trimmed() + u"'"_s;
}

QString CouponComplaint(const TCoupon& coupon, const TParcel& parcel, const wire::DateTime& now)
{
    // A coupon that is not valid yet is called expired as well.
    if (now <= coupon.validFrom || now >= coupon.validUntil)
        return u"详细：此优惠券已过期，不能使用!"_s;
    if (coupon.used)
        return u"详细：此优惠券已使用，不能使用!"_s;
    const TParcel& smallest = kTiers[0].above;
    if (parcel.weight < smallest.weight && parcel.volume < smallest.volume)
        return u"详细：此票不能使用优惠券!"_s;
    for (const Tier& tier : kTiers) {
        if (Inside(tier, parcel) && FaceValue(coupon.value) > tier.maxValue)
            return u"详细：此票只能使用不大于%1元面值的优惠券，此优惠券不能使用!"_s.arg(tier.maxValue);
    }
    return {};
}

QString CheckCoupon(const QString& number, const TParcel& parcel)
{
    if (!CouponNumberFits(number))
        return u"详细：校验码错误，请核实!"_s;
    TClientDataSetEx& comm = *dm_BasicData->comm;
    OpenQuery(comm, CouponQuery(number));
    if (comm.IsEmpty())
        return u"详细：不存在此优惠券，请核实!"_s;
    const TCoupon coupon{
        .validFrom = comm.FieldByName(u"USE_START_DATE").AsDateTime(),
        .validUntil = comm.FieldByName(u"USE_END_DATE").AsDateTime(),
        .used = comm.FieldByName(u"BL_USE").AsInteger() == 1,
        .value = comm.FieldByName(u"BILL_VALUE").AsString(),
    };
    return CouponComplaint(coupon, parcel, ServerDateTime());
}

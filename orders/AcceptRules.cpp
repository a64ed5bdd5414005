#include "orders/AcceptRules.h"

#include "company/CandidateSites.h"
#include "company/OrderStatus.h"
#include "module/data/HostBridge.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMessageLength = 100; // characters

QString WithCommas(QString text)
{
    return text.replace(u'、', u',');
}

} // namespace

void RequireReasonForRefusal(TClientDataSetEx& cds, const TClerk& clerk)
{
    RequireReasonFor(cds, company::kStatusRefused, clerk, u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s);
    if (StatusOf(cds) == company::kStatusRefused)
        ClearField(cds, u"REC_GOODS_MAN");
}

void StampAcceptance(TClientDataSetEx& cds, const TClerk& clerk)
{
    if (StatusOf(cds) == company::kStatusWaiting) {
        if (HasText(cds, u"REC_SITE")) {
            ClearField(cds, u"REC_SITE");
            ClearField(cds, u"REC_BILL_MAN");
            ClearField(cds, u"ACCEPT_DATE");
        }
        ClearField(cds, u"REC_GOODS_MAN");
        return;
    }
    if (!company::IsCandidate(TextOf(cds, u"PREPARE_SITE"), clerk.site)) {
        throw TRuleViolation{u"详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！"_s, u"STATUS"_s};
    }
    if (!HasText(cds, u"REC_SITE")) {
        SetText(cds, u"DUTY_SITE", clerk.site);
        SetText(cds, u"REC_SITE", clerk.site);
        SetText(cds, u"REC_BILL_MAN", clerk.employeeName);
        cds.FieldByName(u"ACCEPT_DATE").SetAsDateTime(ServerDateTime());
    }
}

void ResolveCourier(TClientDataSetEx& cds, TClientDataSetEx& employees, const QString& sitePhone)
{
    const QString typed = TextOf(cds, u"REC_GOODS_MAN");
    if (typed.isEmpty())
        return;
    QString name = typed;
    QString phone;
    if (employees.Locate(u"EMPLOYEE_CODE", {typed}) || employees.Locate(u"EMPLOYEE_NAME", {typed})) {
        name = TextOf(employees, u"EMPLOYEE_NAME");
        phone = TextOf(employees, u"PHONE");
    }
    SetText(cds, u"REC_GOODS_MAN", name);
    SetText(cds, u"MESSAGE", CourierMessage(name, phone, sitePhone));
}

void ClearUndoneAcceptance(TClientDataSetEx& cds, qint64 statusBefore)
{
    const wire::Value saved = cds.FieldByName(u"STATUS").OldValue();
    const qint64* savedStatus = std::get_if<qint64>(&saved);
    const bool accepted =
        statusBefore == company::kStatusAccepted || (savedStatus && *savedStatus == company::kStatusAccepted);
    if (!accepted || StatusOf(cds) != company::kStatusWaiting)
        return;
    for (const char16_t* field :
        {u"DUTY_SITE", u"REC_SITE", u"REC_BILL_MAN", u"ACCEPT_DATE", u"MESSAGE", u"REC_GOODS_MAN"}) {
        ClearField(cds, field);
    }
}

QString CourierMessage(const QString& courier, const QString& courierPhone, const QString& sitePhone)
{
    return (WithCommas(courier) + u',' + WithCommas(courierPhone) + u',' + WithCommas(sitePhone))
        .left(kMessageLength);
}

#include "dispatch/RevocationRules.h"

#include "company/OrderStatus.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/SqlText.h"
#include "orders/record/OrderStamps.h"

using namespace Qt::Literals::StringLiterals;

QString PickupReportedQuery(const QString& waybill, const QString& orderNumber)
{
    return u"select /*+index(a,TAB_ZELMOR_INSTRUCTION_I2)*/ 1 from tab_zelmor_instruction a  where A.INFO_CONTENT= 'GOT' AND a.bill_code = "_s
        + QuotedStr(waybill) + u" AND A.TX_LOGISTIC_ID = "_s + QuotedStr(orderNumber);
}

void CheckRevocation(TClientDataSetEx& cds, TClientDataSetEx& found)
{
    if (!HasText(cds, u"CANCEL_DESC"))
        throw TRuleViolation{
            u"详细：撤销订单必须选择撤销原因！"_s, u"CANCEL_DESC"_s, TMessageIcon::Information};
    OpenQuery(found, PickupReportedQuery(TextOf(cds, u"BILL_CODE"), TextOf(cds, u"TX_LOGISTIC_ID")));
    if (!found.IsEmpty())
        throw TRuleViolation{u"详细：该订单已在运输中，不能撤消！"_s, u"CANCEL_DESC"_s};
    cds.FieldByName(u"STATUS").SetAsInteger(company::kStatusPickupFailed);
    cds.FieldByName(u"BL_CANCEL").SetAsInteger(1);
    cds.FieldByName(u"CANCEL_DATE").SetAsDateTime(ServerDateTime());
    SetText(cds, u"CANCEL_SITE", GlobalValue(u"site"_s));
    SetText(cds, u"CANCEL_MAN", GlobalValue(u"employeeName"_s));
    StampModifier(cds);
}

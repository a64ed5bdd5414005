#include "orders/CorrectionRules.h"

#include "module/data/SqlText.h"
#include "orders/record/OrderStamps.h"
#include "orders/waybill/NumberRules.h"
#include "orders/waybill/WaybillChecks.h"

using namespace Qt::Literals::StringLiterals;

namespace {

void RequireNewNumber(const QString& number)
{
    if (WaybillUsed(number))
        RefuseNumber(u"此单号在洛维卡特揽件中已经存在，请修改为其他运单号！"_s);
}

void RequireNumberIssuedTo(const QString& recSite, const QString& number)
{
    if (!WaybillFound(CorrectionIssuedQuery(number, recSite)))
        RefuseNumber(u"详细：新的运单编号没有发放，修改失败！"_s);
}

} // namespace

QString CorrectionNumber(const QString& trimmed)
{
    const bool suffixed = trimmed.size() == 14 && MatchesPattern(trimmed, u"^(168|169|268|368)[0-9]{11}$"_s);
    return suffixed ? trimmed.first(12) : trimmed;
}

QString CorrectionIssuedQuery(const QString& number, const QString& recSite)
{
    const QString counted = QuotedStr(WithoutCheckDigit(number));
    return u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where  a.start_no <= "_s
        + counted + u" and a.end_no >= "_s + counted + u" and length(a.START_NO) = length("_s
        + QuotedStr(number) + u") -1"_s + u" and a.use_site in ("_s + QuotedStr(recSite) + u" )"_s;
}

void CheckCorrection(TClientDataSetEx& cds, const TEnteredNumbers& numbers)
{
    const QString typed = NumberOf(cds).trimmed();
    if (!typed.isEmpty())
        RequireWaybillRule(typed);
    const QString number = CorrectionNumber(typed);
    RequireUnusedNumber(cds, numbers);
    RequireEnabledNumber(number, u"TAB_BILL_DEL");
    RequireNewNumber(number);
    RequireNumberIssuedTo(TextOf(cds, u"REC_SITE"), number);
    StampModifier(cds);
}

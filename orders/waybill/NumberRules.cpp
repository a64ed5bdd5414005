#include "orders/waybill/NumberRules.h"

#include "framework/RowFields.h"
#include "framework/RowRules.h"
#include "orders/waybill/WaybillChecks.h"

using namespace Qt::Literals::StringLiterals;

QString NumberOf(const TClientDataSetEx& cds)
{
    return TextOf(cds, u"BILL_CODE");
}

void RefuseNumber(const QString& message)
{
    throw TRuleViolation{message, u"BILL_CODE"_s};
}

void RequireWaybillRule(const QString& number)
{
    if (!FitsWaybillRule(number))
        RefuseNumber(u"详细：单号规则错误！"_s);
}

void RequireUnusedNumber(const TClientDataSetEx& cds, const TEnteredNumbers& entered)
{
    const QString number = NumberOf(cds);
    if (entered.OtherOrderHas(cds, TextOf(cds, u"TX_LOGISTIC_ID"), number) || WaybillUsed(number))
        RefuseNumber(u"详细：该运单号已使用，请使用新的运单号！"_s);
}

void RequireEnabledNumber(const QString& number, QStringView index)
{
    if (WaybillDisabled(number, index))
        RefuseNumber(u"详细：该单号已经禁用，请使用其他单号！"_s);
}

#include "orders/waybill/WaybillChecks.h"

#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "module/data/PerlRegEx.h"
#include "module/data/ServerLink.h"
#include "module/data/SqlText.h"
#include "module/data/dm_BasicData.h"

using namespace Qt::Literals::StringLiterals;

namespace {

int DigitAt(const QString& code, qsizetype index)
{
    const QChar character = code.at(index);
    if (character < u'0' || character > u'9')
        throw wire::Error(wire::ErrorKind::Data, u"'%1' 不是有效的整数"_s.arg(character));
    return character.unicode() - u'0';
}

} // namespace

bool CheckDigitFits(const QString& code, qsizetype first, std::string_view weights)
{
    int sum = 0;
    for (size_t i = 0; i < weights.size(); ++i)
        sum += DigitAt(code, first + static_cast<qsizetype>(i)) * (weights[i] - '0');
    const int rest = sum % 11;
    const int expected = rest == 0 ? 5 : rest == 1 ? 0 : rest == 10 ? 1 : 11 - rest;
    return expected == DigitAt(code, first + static_cast<qsizetype>(weights.size()));
}

bool CheckANBillCode(const QString& code)
{
    // Only the length is counted without blanks; the digits stand where they stand.
    switch (code.trimmed().size()) {
    case 8:
        return CheckDigitFits(code, 0, "7425368");
    case 12:
        return CheckDigitFits(code, 2, "742536829");
    default:
        return true;
    }
}

QString WaybillIssuedQuery(const QString& code, const QString& siteList)
{
    const QString quoted = QuotedStr(code);
    const QString length = code.size() >= 12 ? u"11"_s : u"7"_s;
    return u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where (((a.start_no <= "_s
        + quoted + u" and a.end_no >= "_s + quoted + u") and  length(a.START_NO) = length("_s + quoted
        + u")) or  ((a.start_no <= substr("_s + quoted + u", 1, "_s + length + u") and  a.end_no >= substr("_s
        + quoted + u", 1, "_s + length + u")) and  length(a.START_NO) = length(substr("_s + quoted
        + u", 1, "_s + length + u")))) "_s + u" and a.use_site in ("_s + siteList + u" )"_s;
}

bool WaybillIssued(const QString& code, const QString& siteList)
{
    return WaybillFound(WaybillIssuedQuery(code, siteList));
}

bool CheckWaybillFormat(const QString& code, const QString& pattern)
{
    bool matched = false;
    try {
        matched = MatchesPattern(code, pattern);
    } catch (const wire::Error&) {
        return false; // a pattern that cannot be used matches nothing
    }
    if (!matched)
        ShowWarning(u"详细：运单编号\"%1\"不是本公司的单号！"_s.arg(code), u"单号错误"_s);
    return matched;
}

bool MatchesPattern(const QString& number, const QString& pattern)
{
    TPerlRegEx& regEx = SharedRegEx();
    regEx.SetRegEx(pattern);
    regEx.SetSubject(number);
    return regEx.Match();
}

bool FitsWaybillRule(const QString& number)
{
    return MatchesPattern(number, GlobalValue(u"MainBill"_s));
}

QString WithoutCheckDigit(const QString& number)
{
    return number.left(std::max<qsizetype>(number.size() - 1, 0));
}

QString WaybillUsedQuery(const QString& number)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ a.* from TAB_ZELMOR_BILL a where a.bill_code="_s
        + QuotedStr(number);
}

QString WaybillDisabledQuery(const QString& number, QStringView index)
{
    return u"select /*+index(a,"_s + index.toString() + u")*/ * from tab_bill_del a where a.bill_code="_s
        + QuotedStr(number);
}

bool WaybillUsed(const QString& number)
{
    return WaybillFound(WaybillUsedQuery(number));
}

bool WaybillDisabled(const QString& number, QStringView index)
{
    return WaybillFound(WaybillDisabledQuery(number, index));
}

bool WaybillFound(const QString& sqlText)
{
    TClientDataSetEx& comm = *dm_BasicData->comm;
    OpenQuery(comm, sqlText);
    return !comm.IsEmpty();
}

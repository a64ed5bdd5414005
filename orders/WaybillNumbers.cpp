#include "orders/WaybillNumbers.h"

#include "module/data/Common.h"
#include "module/data/HostBridge.h"
#include "module/data/PerlRegEx.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool AnyRow(const QString& sqlText)
{
    TClientDataSetEx& comm = *dm_BasicData->comm;
    OpenQuery(comm, sqlText);
    return !comm.IsEmpty();
}

} // namespace

bool FitsWaybillRule(const QString& number)
{
    TPerlRegEx& rule = SharedRegEx();
    rule.SetRegEx(GlobalValue(u"MainBill"_s));
    rule.SetSubject(number);
    return rule.Match();
}

QString BillUsedQuery(const QString& number)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ a.* from TAB_ZELMOR_BILL a where a.bill_code="_s
        + QuotedStr(number);
}

QString BillDisabledQuery(const QString& number)
{
    return u"select /*+index(a,TAB_BILL_DEL_P)*/ * from tab_bill_del a where a.bill_code="_s
        + QuotedStr(number);
}

bool BillUsed(const QString& number)
{
    return AnyRow(BillUsedQuery(number));
}

bool BillDisabled(const QString& number)
{
    return AnyRow(BillDisabledQuery(number));
}

bool TEnteredNumbers::Has(const QString& order, const QString& number) const
{
    const auto entry = numberOf_.find(order);
    return entry != numberOf_.end() && *entry == number;
}

bool TEnteredNumbers::OtherOrderHas(const QString& order, const QString& number) const
{
    return std::any_of(numberOf_.keyValueBegin(), numberOf_.keyValueEnd(),
        [&](const auto& entry) { return entry.second == number && entry.first != order; });
}

void TEnteredNumbers::Enter(const QString& order, const QString& number)
{
    numberOf_.insert(order, number);
}

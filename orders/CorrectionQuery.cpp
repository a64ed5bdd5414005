#include "orders/CorrectionQuery.h"

#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString PickedUp(QStringView index)
{
    return u"select /*+index(a,"_s + index.toString()
        + u")*/ * from tab_zelmor_bill a where nvl(a.status, 0)=3 "_s;
}

QString PickedUpBetween(const TCorrectionCriteria& criteria)
{
    const QString site = criteria.site.trimmed();
    return PickedUp(u"TAB_ZELMOR_BILL_I1") + u" and a.REC_DATE between to_date('"_s + criteria.from
        + u"', 'yyyy-mm-dd hh24:mi:ss')"_s + u" and to_date('"_s + criteria.to
        + u"', 'yyyy-mm-dd hh24:mi:ss')"_s
        + (site.isEmpty() ? QString() : u" and a.REC_SITE="_s + QuotedStr(site));
}

} // namespace

QString CorrectionQuery(const TCorrectionCriteria& criteria)
{
    const QString orders = criteria.numbers.isEmpty()
        ? PickedUpBetween(criteria)
        : PickedUp(u"TAB_ZELMOR_BILL_I") + u" and a.bill_code in"_s + criteria.numbers;
    return criteria.ownSites.isEmpty() ? orders : orders + u" and "_s + criteria.ownSites;
}

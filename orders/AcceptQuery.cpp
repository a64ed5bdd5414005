#include "orders/AcceptQuery.h"

#include "company/Headquarters.h"
#include "module/data/SqlText.h"
#include "orders/record/QueryFragments.h"

using namespace Qt::Literals::StringLiterals;

QString AcceptQuery(const TAcceptCriteria& criteria)
{
    QString sql = OrdersCreatedBetween(criteria.from, criteria.to) + u"   and a.bl_dispart=1 "_s
        + OfWarehouse(criteria.warehouse);
    if (criteria.loginSite == company::kHeadquarters) {
        sql += u" and (nvl(a.status, 0)=0 or nvl(a.status, 0)=1)"_s;
        if (!criteria.orderNumber.isEmpty())
            sql += u" and a.TX_LOGISTIC_ID="_s + QuotedStr(criteria.orderNumber);
        if (!criteria.receivingSite.isEmpty())
            sql += u" and a.rec_site="_s + QuotedStr(criteria.receivingSite.trimmed());
    } else {
        sql += u" and nvl(a.status, 0)=0 and a.PREPARE_SITE like '%;"_s + criteria.loginSite + u";%'"_s;
    }
    return sql + u" order by a.CREATE_DATE desc"_s;
}

QString FirstAcceptQuery(const TAcceptCriteria& criteria)
{
    return OrdersCreatedBetween(criteria.from, criteria.to) + u"   and a.bl_dispart=1 and a.status=0 "_s
        + u"and a.PREPARE_SITE like '%;"_s + criteria.loginSite + u";%' order by a.CREATE_DATE desc"_s;
}

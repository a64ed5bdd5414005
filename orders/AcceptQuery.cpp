#include "orders/AcceptQuery.h"

#include "module/data/Common.h"
#include "orders/OrderRecord.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString CreatedBetween(const TAcceptCriteria& criteria)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between to_date('"_s
        + criteria.from + u"','yyyy-mm-dd hh24:mi:ss') and "_s + u"to_date('"_s + criteria.to
        + u"','yyyy-mm-dd hh24:mi:ss')  "_s;
}

} // namespace

QString AcceptQuery(const TAcceptCriteria& criteria)
{
    QString sql = CreatedBetween(criteria) + u" and a.bl_dispart=1 "_s;
    if (!criteria.warehouse.trimmed().isEmpty())
        sql += u" and a.WMS_CODE= "_s + QuotedStr(criteria.warehouse);
    if (criteria.loginSite == HeadquartersSite()) {
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
    return CreatedBetween(criteria) + u" and a.bl_dispart=1 and a.status=0 "_s
        + u"and a.PREPARE_SITE like '%;"_s + criteria.loginSite + u";%' order by a.CREATE_DATE desc"_s;
}

#include "reports/BillQuery.h"

#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// The source that has a filter of its own; every other choice means "not this one".
QString FirstSource()
{
    return u"洛维卡特"_s;
}

// Texts go in as they were typed: a quote in one breaks the statement, and the server says so.
QString Equals(const QString& column, const QString& text)
{
    return text.isEmpty() ? QString() : u" and a."_s + column + u"='"_s + text + u"'"_s;
}

QString Contains(const QString& column, const QString& text)
{
    return text.isEmpty() ? QString() : u" and a."_s + column + u" like '%"_s + text + u"%'"_s;
}

QString OfferedTo(const TBillCriteria& criteria)
{
    if (criteria.candidateSite.isEmpty())
        return {};
    if (!criteria.withSubtree)
        return u" and a.PREPARE_SITE like '%;"_s + criteria.candidateSite + u";%'"_s;
    if (criteria.subtree.isEmpty())
        return {};
    return u" and ((a.PREPARE_SITE like "_s + criteria.subtree + u") or "_s
        + u"a.prov in (select distinct b.province from tab_province b where b.area_name = "_s
        + QuotedStr(criteria.areaName) + u"))"_s;
}

QString OfSource(const QString& source)
{
    if (source == FirstSource())
        return u" and a.LOGISTICPROVIDERID like '%"_s + source.trimmed() + u"%'"_s;
    return u" and a.LOGISTICPROVIDERID  <> '"_s + FirstSource() + u"' "_s;
}

} // namespace

QString BillQuery(const TBillCriteria& criteria)
{
    const QString column = criteria.byPickupTime ? u"REC_DATE"_s : u"CREATE_DATE"_s;
    const QString hint =
        criteria.byPickupTime ? u"/*+index(a,TAB_ZELMOR_BILL_I5)*/"_s : u"/*+index(a,TAB_ZELMOR_BILL_I3)*/"_s;
    QString sql = u"select "_s + hint + u" a.* from tab_zelmor_bill a where a."_s + column + u" between "_s
        + u"to_date('"_s + criteria.from + u"','yyyy-mm-dd hh24:mi:ss') and "_s + u"to_date('"_s + criteria.to
        + u"','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
    sql += Equals(u"REC_SITE"_s, criteria.receivingSite);
    sql += OfferedTo(criteria);
    // Twice, and no condition on the cancelling site: users know the query by this text.
    sql += Equals(u"SEND_SITE"_s, criteria.deliverySite);
    sql += Equals(u"SEND_SITE"_s, criteria.deliverySite);
    if (!criteria.warehouse.trimmed().isEmpty())
        sql += Equals(u"WMS_CODE"_s, criteria.warehouse);
    sql += Equals(u"Duty_Site"_s, criteria.dutySite);
    sql += Equals(u"REC_BILL_MAN"_s, criteria.acceptedBy);
    sql += Equals(u"REC_MAN"_s, criteria.pickedUpBy);
    sql += Equals(u"SEND_MAN"_s, criteria.deliveredBy);
    sql += Equals(u"CANCEL_MAN"_s, criteria.cancelledBy);
    if (criteria.cancelled)
        sql += u" and a.BL_CANCEL=1"_s;
    sql += Equals(u"prov"_s, criteria.province);
    sql += Equals(u"CANCEL_DESC"_s, criteria.cancelReason);
    if (!criteria.status.isEmpty())
        sql += u" and a.STATUS="_s + criteria.status;
    sql += Equals(u"NAME"_s, criteria.sender);
    sql += Contains(u"ADDRESS"_s, criteria.senderAddress);
    sql += Equals(u"SEND_NAME"_s, criteria.receiver);
    sql += Contains(u"SEND_ADDRESS"_s, criteria.receiverAddress);
    sql += OfSource(criteria.source);
    return sql + u" order by a."_s + column + u" desc"_s;
}

QString BillsByOrderNumber(const QString& numberList)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_P)*/a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in "_s
        + numberList + u" and a.bl_dispart=1 order by a.CREATE_DATE desc"_s;
}

QString BillsByWaybill(const QString& numberList)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I)*/a.* from tab_zelmor_bill a where a.BILL_CODE in "_s
        + numberList + u" and a.bl_dispart=1 order by a.CREATE_DATE desc"_s;
}

QString SubtreeQuery(const QString& site)
{
    return u"select /*+index(a,TAB_SITE_I3)*/ a.SITE_NAME   from tab_site a start with SITE_NAME='"_s + site
        + u"' connect by "_s + u" prior SITE_NAME=(case SITE_NAME when '"_s + site
        + u"' then '' else SUPERIOR_SITE end) "_s;
}

QString SubtreeLikeList(const QStringList& sites)
{
    if (sites.isEmpty())
        return {};
    QString patterns;
    for (const QString& site : sites)
        patterns += site + u";%' or a.PREPARE_SITE like '%;"_s;
    return u"'%;"_s + patterns + u" or a.PREPARE_SITE like "_s + sites.last() + u";%'"_s;
}

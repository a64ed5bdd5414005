#include "reports/ServiceFigures.h"

#include "module/data/SqlText.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kOrders = u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* "_s;
const QString kSiteOrders = u" from TAB_ZELMOR_BILL a "_s;

struct Figure {
    QStringView field; // lower case
    QStringView condition; // on the orders behind it
};

// Two of them do not ask what the figure counts: that of failed pickups lists the failed acceptances, that of
// parcels not signed for lists the orders without a delivery site.
constexpr std::array kFigures = std::to_array<Figure>({
    {u"accept_count", u" and a.status in (1, 3, 4, 5, 6, 7) and a.ACCEPT_DATE is not null "},
    {u"accept_fail_count", u" and a.status = 2 and a.CANCEL_SITE is not null   "},
    {u"rec_count", u" and a.status in (3, 5, 6, 7) and a.REC_DATE is not null  "},
    {u"rec_fail_count", u" and a.status = 2 and a.CANCEL_SITE is not null   "},
    {u"send_count", u" and a.status = 6 and a.send_site is not null "},
    {u"nosend_count", u" and a.send_site is null "},
    {u"outtimeaccept_count",
        u" and a.status in (1, 3, 4, 5, 6, 7) and a.ACCEPT_DATE is not null and  "
        u"ROUND(TO_NUMBER(a.ACCEPT_DATE "
        "- a.create_date) * 24 * 60) > 30 "},
    {u"outtimerec_count",
        u" and a.status in (3, 5, 6, 7) and a.REC_DATE is not null and (ROUND(TO_NUMBER(a.REC_DATE - "
        "a.ACCEPT_DATE) * 24 * 60) > 120) "},
    {u"norec_count", u" and  a.REC_DATE is null  "},
    {u"bill_count",
        u" and exists (select /*+index(b,TAB_BILL_P)*/ 1 from tab_bill b where b.bill_code = a.bill_code) "},
    {u"noaccept_count", u" and  a.ACCEPT_DATE is null  "},
    {u"nobill_count",
        u" and (not exists (select /*+index(b,TAB_BILL_P)*/ 1 from tab_bill b where b.bill_code = "
        "a.bill_code)) "},
});

// A column of the waybill that an order has.
QString OfWaybill(QStringView column)
{
    return u"(select /*+index(a,TAB_BILL_P)*/ b."_s + column.toString()
        + u"  from tab_bill b  where b.bill_code = a.bill_code)"_s;
}

QString Moment(const QString& text)
{
    return u"to_date('"_s + text + u"','yyyy-mm-dd hh24:mi:ss')"_s;
}

QString QuotedMoment(const QString& text)
{
    return u" to_date("_s + QuotedStr(text) + u", 'yyyy-mm-dd hh24:mi:ss')"_s;
}

} // namespace

TFiguresConditions FiguresConditions(const TFiguresCriteria& criteria)
{
    QString window = u"  where a.create_date between "_s + Moment(criteria.from) + u" and "_s
        + Moment(criteria.to) + u" and a.bl_dispart=1"_s;
    if (!criteria.source.isEmpty())
        window += u" and a.LOGISTICPROVIDERID like '%"_s + criteria.source.trimmed() + u"%'"_s;
    const QString sites = criteria.site.isEmpty() ? u" and "_s + criteria.sites
                                                  : u" and a.duty_site="_s + QuotedStr(criteria.site);
    return {
        .ofSites = window + sites + u" and a.bl_dispart = 1 "_s,
        .ofRegions = window + u" and a.duty_site is null "_s,
    };
}

QString RegionFiguresQuery(const TFiguresConditions& conditions)
{
    return u"select a.PROVINCE,  a.CITY,a.AREA_NAME,  a.RANGE_NAME,  sum(mustrec_count) as mustrec_count,   "
           "sum(send_count) as send_count,  (sum(mustrec_count)-sum(send_count)) as nosend_count   from "
           "(select /*+index(a,TAB_ZELMOR_BILL_I3)*/  a.prov as PROVINCE,  a.city,  (select b.AREA_NAME from "
           "tab_PROVINCE b where b.province=a.prov and rownum=1) as  AREA_NAME, county as RANGE_NAME,  1 as "
           "mustrec_count , (case when a.status = 6 and a.send_site is not null then 1 else 0 end) as "
           "send_count   from tab_zelmor_bill a "_s
        + conditions.ofRegions + u" ) a  group by a.AREA_NAME,a.PROVINCE, a.CITY, a.RANGE_NAME "_s;
}

QString SiteFiguresQuery(const TFiguresConditions& conditions)
{
    return u"select c.area_name,  a.duty_site,  c.RANGE_NAME,  c.PROVINCE,  c.city,  sum(mustrec_count) as "
           "mustrec_count,  sum(NoRec_Count) as NoRec_Count,  sum(noaccept_count) as noaccept_count,  "
           "sum(accept_count) as accept_count,  sum(accept_fail_count) as accept_fail_count,  "
           "sum(send_count) as send_count,  (sum(mustrec_count)-sum(send_count)) as nosend_count,  "
           "sum(OutTimeAccept_Count) as OutTimeAccept_Count,  sum(OutTimeRec_Count) as OutTimeRec_Count,  "
           "sum(rec_fail_count) as rec_fail_count,  sum(rec_count) as rec_count,  sum(Nobill_Count) as "
           "Nobill_Count,  sum(bill_Count) as bill_Count  from (select /*+index(a,TAB_ZELMOR_BILL_I3)*/  "
           "a.duty_site,  1 as mustrec_count, (case when a.status in (1, 3, 4, 5, 6, 7) and a.ACCEPT_DATE is "
           "not null then 1 else 0 end) as accept_count,  (case when a.status = 2 and a.CANCEL_SITE is not "
           "null then 1 else 0 end) as accept_fail_count,  (case when a.status in (3, 5, 6, 7) and "
           "a.REC_DATE is not null then 1 else 0 end) as rec_count,  (case when a.REC_DATE is null then 1 "
           "else 0 end)  as NoRec_Count,  (case when a.ACCEPT_DATE is null then 1 else 0 end)  as "
           "noaccept_count,  (case when a.status = 4 and a.CANCEL_SITE is not null then 1 else 0 end) as "
           "rec_fail_count,  (case when a.status = 6 and a.send_site is not null then 1 else 0 end) as "
           "send_count,  (case when a.status in (1, 3, 4, 5, 6, 7) and a.ACCEPT_DATE is not null and  "
           "ROUND(TO_NUMBER(a.ACCEPT_DATE - a.create_date) * 24 * 60) > 30 then 1 else 0 end) as "
           "OutTimeAccept_Count,  (case when a.status in (3, 5, 6, 7) and a.REC_DATE is not null and  "
           "(ROUND(TO_NUMBER(a.REC_DATE - a.ACCEPT_DATE) * 24 * 60) > 120) then 1 else 0 end) as "
           "OutTimeRec_Count,  (case when not exists (select /*+index(b,TAB_BILL_P)*/ 1 from tab_bill b "
           "where b.bill_code = a.bill_code) then 1 else 0 end) as Nobill_Count,  (case when exists (select "
           "/*+index(b,TAB_BILL_P)*/1 from tab_bill b where b.bill_code = a.bill_code) then 1 else 0 end) as "
           "bill_Count "_s
        + kSiteOrders + conditions.ofSites
        + u") a left join tab_site c  on a.duty_site = c.site_name  group by c.area_name, a.duty_site, "
          "c.RANGE_NAME, c.PROVINCE, c.city "_s;
}

QString OrdersOfSiteQuery(const TFiguresConditions& conditions, const QString& figure, const QString& site)
{
    const QString all = kOrders + kSiteOrders + conditions.ofSites;
    if (figure.compare(u"mustrec_count"_s, Qt::CaseInsensitive) == 0)
        return all + u" and a.duty_site="_s + QuotedStr(site) + u" order by a.TX_LOGISTIC_ID"_s;
    const auto found = std::ranges::find(kFigures, QStringView(figure.toLower()), &Figure::field);
    if (found == kFigures.end())
        return {};
    return all + found->condition.toString() + u" and a.duty_site='"_s + site
        + u"'order by a.TX_LOGISTIC_ID"_s;
}

QString OrdersOfRegionQuery(const TFiguresConditions& conditions, const QString& figure,
    const QString& province, const QString& county)
{
    const QString field = figure.toLower();
    const QString all = kOrders + u" from tab_zelmor_bill a  "_s + conditions.ofRegions + u" and a.PROV="_s
        + QuotedStr(province) + u" and a.county="_s + QuotedStr(county) + u" and a.duty_site is null "_s;
    if (field == u"mustrec_count"_s)
        return all + u" order by a.TX_LOGISTIC_ID"_s;
    if (field == u"send_count"_s)
        return all + u"and a.send_site is not null "_s;
    if (field == u"nosend_count"_s)
        return all + u"and a.send_site is null "_s;
    return {};
}

QString BackFillStatement(const QString& from, const QString& to, const QString& area)
{
    return u"update  /*+index(a,TAB_ZELMOR_BILL_I3)*/ tab_zelmor_bill a  set a.rec_site = "_s
        + OfWaybill(u"register_site") + u",  a.rec_man="_s + OfWaybill(u"REGISTER_MAN")
        + u", a.ACCEPT_DATE="_s + OfWaybill(u"UP_DATE") + u"  a.remark=a. where a.create_date between "_s
        + QuotedMoment(from) + u" and "_s + QuotedMoment(to)
        + u"  and a.bl_dispart = 1  and a.LOGISTICPROVIDERID like '%泽摩%'  and a.rec_site is null  and "
          "exists((select /*+index(a,TAB_BILL_P)*/ 1  from tab_bill b  left join tab_site c  on "
          "b.register_site = c.site_name  and c.area_name = "_s
        + QuotedStr(area) + u" where b.bill_code = a.bill_code)) "_s;
}

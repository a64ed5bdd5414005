#include "dispatch/DispatchQuery.h"

#include "company/OrderStatus.h"
#include "module/data/SqlText.h"
#include "orders/record/QueryFragments.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array kStatusesAsked = {company::kStatusCancelled, company::kStatusWaiting,
    company::kStatusAccepted, company::kStatusRefused, company::kStatusPickedUp, company::kStatusPickupFailed,
    company::kStatusDispatched, company::kStatusRejected, company::kStatusSentDown, company::kStatusUnnamed};

QString EqualTo(const QString& column, const QString& text)
{
    return text.isEmpty() ? QString() : u" and "_s + column + u'=' + QuotedStr(text);
}

QString OfStatus(int item)
{
    if (item <= 0)
        return {};
    return u" and nvl(a.status, -2)="_s + QString::number(kStatusesAsked.at(static_cast<size_t>(item) - 1));
}

QString OfEntrusted(TEntrusted entrusted)
{
    switch (entrusted) {
    case TEntrusted::Yes:
        return u" and nvl(a.bl_depute, 0) = 1"_s;
    case TEntrusted::No:
        return u" and nvl(a.bl_depute, 0) = 0"_s;
    case TEntrusted::Any:
        break;
    }
    return {};
}

QString OfTimeAndFilters(const TDispatchCriteria& criteria)
{
    QString sql = OrdersCreatedBetween(criteria.from, criteria.to) + u' '
        + EqualTo(u"rec_goods_man"_s, criteria.courier) + EqualTo(u"PAY_TYPE"_s, criteria.payment)
        + EqualTo(u"creater_site"_s, criteria.createrSite) + EqualTo(u"REC_BILL_MAN"_s, criteria.driver)
        + OfStatus(criteria.statusItem) + OfEntrusted(criteria.entrusted);
    if (criteria.withoutSite)
        sql += u" and nvl(a.REC_SITE, '*') = '*'"_s;
    if (criteria.withoutDriver)
        sql += u" and nvl(a.REC_BILL_MAN, '*') = '*'"_s;
    return sql;
}

} // namespace

QString DispatchQuery(const TDispatchCriteria& criteria)
{
    const QString orders = criteria.numbers.isEmpty()
        ? OfTimeAndFilters(criteria)
        : u"select * from tab_zelmor_bill a where a.TX_LOGISTIC_ID in "_s + criteria.numbers;
    return orders + criteria.sites + u" order by create_date"_s;
}

std::span<const int> StatusesAsked()
{
    return kStatusesAsked;
}

QString MadeAtOrOfferedTo(const TClientDataSetEx& sites, const QString& loginSite)
{
    return u" and ("_s + BuildInList(sites, u"site_name"_s, u"CREATER_SITE"_s)
        + u" or (substr(a.PREPARE_SITE, 2, length(a.PREPARE_SITE) -2)="_s + QuotedStr(loginSite) + u"))"_s;
}

QString OfferedToOneOf(const TClientDataSetEx& sites)
{
    return u" and "_s
        + BuildInList(sites, u"site_name"_s, u"prepare_site"_s)
              .replace(u"prepare_site"_s, u"substr(prepare_site,2,length(prepare_site)-2)"_s);
}

QString SitesBelowQuery(const QString& root)
{
    return u"select /*+index(a,TAB_SITE_I3)*/ site_code,SITE_NAME,SUPERIOR_SITE from tab_site a "_s
        + SiteAndBelow(root, u" connect by prior  ");
}

QString PaymentsAskedQuery()
{
    return u"select /*+index(a,)*/ a.* from TAB_PAY_MODE a  order by MODE_CODE"_s;
}

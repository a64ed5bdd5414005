#include "reports/OrderQueryCriteria.h"

#include "module/data/SqlText.h"
#include "orders/search/FilterBoxes.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using enum TCriterionBox;

constexpr QStringView kOwnSource = u"洛维卡特";

QString OfferedToSiteOrSubtree(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    const QString patterns = criteria.Text(kSubtreePatterns);
    if (criteria.Text(kWithSubtree).isEmpty())
        return OfferedToSite(criterion, criteria);
    if (criteria.Text(criterion.column).isEmpty() || patterns.isEmpty())
        return {};
    return u" and ((a.PREPARE_SITE like "_s + patterns
        + u") or a.prov in (select distinct b.province from tab_province b where b.area_name = "_s
        + QuotedStr(criteria.Text(kAreaName)) + u"))"_s;
}

QString OfSource(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return OfSourceOrOthers(kOwnSource.toString(), criteria.Text(criterion.column));
}

void OfferStatuses(TDBComboBoxEh& box)
{
    OfferSearchStatuses(box, company::StatusUse::OrderQuery);
}

void OfferSources(TDBComboBoxEh& box)
{
    box.SetItems(OrderSources(), OrderSources());
    box.SetText(kOwnSource.toString());
}

constexpr std::array kCriteria = std::to_array<TCriterion>({
    {u"REC_SITE", EqualTo, Site, u"DBLookupComboboxEh1", u"接单/揽件网点", 0, 1},
    {u"PREPARE_SITE", OfferedToSiteOrSubtree, Site, u"DBLookupComboboxEh2", u"可接单网点", 0, 0},
    {kWithSubtree, nullptr, Check, u"CheckBox3", u"中心及下属网点"},
    // Twice, and no condition on the cancelling site: users know the query by this text.
    {u"SEND_SITE", EqualTo, Site, u"DBLookupComboboxEh3", u"派件网点", 0, 2},
    {u"SEND_SITE", EqualTo},
    {u"CANCEL_SITE", nullptr, Site, u"DBLookupComboboxEh4", u"撤单网点", 0, 3},
    {u"WMS_CODE", EqualToUnlessBlank, Text, u"edt_1", u"仓库编号", 0, 5},
    {u"Duty_Site", EqualTo, Site, u"dbl1", u"责任网点", 0, 4},
    {u"REC_BILL_MAN", EqualTo, Employee, u"DBLookupComboboxEh5", u"接单员工", 1, 0},
    {u"REC_MAN", EqualTo, Employee, u"DBLookupComboboxEh6", u"揽件员工", 1, 1},
    {u"SEND_MAN", EqualTo, Employee, u"DBLookupComboboxEh7", u"派件员工", 1, 2},
    {u"CANCEL_MAN", EqualTo, Employee, u"DBLookupComboboxEh8", u"撤单员工", 1, 3},
    {u"BL_CANCEL", WhenChecked, Check, u"DBCheckBoxEh1", u"已做撤单处理"},
    {u"prov", EqualTo, Province, u"DBComboBoxEh4", u"省份", 2, 5, nullptr, false},
    {u"CANCEL_DESC", EqualTo, List, u"DBComboBoxEh3", u"撤消原因", 1, 5, OfferReasonFilter},
    {u"STATUS", WithCode, List, u"DBComboBoxEh1", u"订单状态", 1, 4, OfferStatuses},
    {u"NAME", EqualTo, Text, u"DBEditEh1", u"发货客户", 2, 0},
    {u"ADDRESS", Containing, Text, u"DBEditEh2", u"发货地址", 2, 1},
    {u"SEND_NAME", EqualTo, Text, u"DBEditEh3", u"收货客户", 2, 2},
    {u"SEND_ADDRESS", Containing, Text, u"DBEditEh4", u"收货地址", 2, 3},
    {u"LOGISTICPROVIDERID", OfSource, List, u"DBComboBoxEh2", u"项目", 2, 4, OfferSources},
});

} // namespace

std::span<const TCriterion> OrderQueryCriteria()
{
    return kCriteria;
}

QString SubtreeQuery(const QString& site)
{
    return u"select /*+index(a,TAB_SITE_I3)*/ a.SITE_NAME   from tab_site a"_s
        + SiteAndBelow(site, u" connect by  prior ") + u' ';
}

QString SubtreePatterns(const QStringList& sites)
{
    if (sites.isEmpty())
        return {};
    QString patterns;
    for (const QString& site : sites)
        patterns += site + u";%' or a.PREPARE_SITE like '%;"_s;
    return u"'%;"_s + patterns + u" or a.PREPARE_SITE like "_s + sites.last() + u";%'"_s;
}

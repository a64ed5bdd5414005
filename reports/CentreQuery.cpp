#include "reports/CentreQuery.h"

#include "orders/search/FilterBoxes.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using enum TCriterionBox;
using namespace company;

// Behind the group of orders that wait for export.
constexpr QStringView kExportKey = u"5";
constexpr std::array kExported{
    kStatusWaiting, kStatusAccepted, kStatusPickedUp, kStatusInTransit, kStatusDelivered};

QString PickedUpHere(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    if (criteria.Text(kLockedSites).isEmpty())
        return EqualTo(criterion, criteria);
    return u" and (a.REC_SITE='"_s + criteria.Text(criterion.column) + u"' or a.PREPARE_SITE like '%;"_s
        + criteria.Text(u"PREPARE_SITE") + u";%')"_s;
}

QString OfferedHere(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return criteria.Text(kLockedSites).isEmpty() ? OfferedToSite(criterion, criteria) : QString();
}

QString OfStatusGroup(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return criteria.Text(criterion.column) == kExportKey ? u" and a.STATUS in (0, 1, 3, 5, 6)"_s
                                                         : WithCode(criterion, criteria);
}

QString OfStatusMember(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    const QString status = criteria.Text(criterion.column);
    return status.isEmpty() ? QString() : u" and a.STATUS="_s + status;
}

QString OfSource(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    const QString source = criteria.Text(criterion.column);
    if (source.isEmpty())
        return {};
    if (source == u"泽摩")
        return u" and a.LOGISTICPROVIDERID like '%"_s + source.trimmed() + u"%'"_s;
    return u" and a.LOGISTICPROVIDERID ='"_s + (source == u"芮讯" ? u"芮讯下单"_s : u"洛维卡特"_s) + u'\'';
}

void OfferStatusGroups(TDBComboBoxEh& box)
{
    box.SetItems({AnyValue(), StatusName(kStatusCancelled, StatusUse::Centre),
                     StatusName(kStatusPickupFailed, StatusUse::Centre), u"等待导出"_s},
        {u"-2"_s, u"-1"_s, u"4"_s, kExportKey.toString(), QString()});
    box.setEditable(false);
    box.SetText(AnyValue());
}

void OfferStatusMembers(TDBComboBoxEh& box)
{
    QStringList names{QString()};
    QStringList codes{QString()};
    for (const int status : kExported) {
        names += StatusName(status, StatusUse::Centre);
        codes += QString::number(status);
    }
    box.SetItems(names, codes);
    box.setEditable(false);
    box.setCurrentIndex(0);
}

void OfferSources(TDBComboBoxEh& box)
{
    const QStringList sources{AnyValue(), u"洛维卡特"_s, u"泽摩"_s, u"芮讯"_s};
    box.SetItems(sources, sources);
    box.setEditable(false);
    box.SetText(AnyValue());
}

constexpr std::array kCriteria = std::to_array<TCriterion>({
    {u"REC_SITE", PickedUpHere, Site, u"DBLookupComboboxEh1", u"接单/揽件网点", 0, 1},
    {u"PREPARE_SITE", OfferedHere, Site, u"DBLookupComboboxEh2", u"可接单网点", 0, 0},
    {u"SEND_SITE", EqualTo, Site, u"DBLookupComboboxEh3", u"派件网点", 0, 2},
    {u"CANCEL_SITE", EqualTo, Site, u"DBLookupComboboxEh4", u"撤单网点", 0, 3},
    {u"REC_BILL_MAN", EqualTo, PagedEmployee, u"DBLookupComboboxEh5", u"接单员工", 1, 0},
    {u"REC_MAN", EqualTo, PagedEmployee, u"DBLookupComboboxEh6", u"揽件员工", 1, 1},
    {u"SEND_MAN", EqualTo, PagedEmployee, u"DBLookupComboboxEh7", u"派件员工", 1, 2},
    {u"CANCEL_MAN", EqualTo, PagedEmployee, u"DBLookupComboboxEh8", u"撤单员工", 1, 3},
    {u"BL_CANCEL", WhenChecked, Check, u"DBCheckBoxEh1", u"已做撤单处理"},
    {u"prov", EqualTo, Province, u"DBComboBoxEh4", u"省份", 1, 4},
    {u"CANCEL_DESC", EqualTo, List, u"DBComboBoxEh3", u"撤消原因", 1, 5, OfferReasonFilter},
    {u"STATUS", OfStatusGroup, List, u"DBComboBoxEh1", u"订单状态", 0, 4, OfferStatusGroups},
    {kStatusMember, OfStatusMember, List, u"ComboBox1", u"等待导出", 0, 5, OfferStatusMembers},
    {u"NAME", EqualTo, Text, u"DBEditEh1", u"发货客户", 2, 0},
    {u"ADDRESS", Containing, Text, u"DBEditEh2", u"发货地址", 2, 1},
    {u"SEND_NAME", EqualTo, Text, u"DBEditEh3", u"收货客户", 2, 2},
    {u"SEND_ADDRESS", Containing, Text, u"DBEditEh4", u"收货地址", 2, 3},
    {u"LOGISTICPROVIDERID", OfSource, List, u"DBComboBoxEh2", u"项目", 2, 4, OfferSources},
});

// `gap` stands before the joined columns; the three texts have never agreed on it.
QString WaybillColumns(const QString& gap)
{
    return u"a.*,"_s + gap
        + u"(select /*+index(b,TAB_BILL_P)*/ nvl(b.OLD_GOODS_PAYMENT, 0) from tab_bill b where "
          "a.bill_code = b.bill_code and a.tx_logistic_id = b.tx_logistic_id) as Online_price1, "
          "nvl((select /*+index(b,TAB_BILL_P)*/ 1 from tab_bill b where a.bill_code = b.bill_code  and "
          "a.tx_logistic_id = b.tx_logistic_id), 0) as BL_order_status1"_s;
}

QString OfNumbers(const QString& index, const QString& gap, const QString& column, const QString& numberList,
    const QString& offeredTo)
{
    const QString candidate =
        offeredTo.isEmpty() ? QString() : u" and a.PREPARE_SITE like '%;"_s + offeredTo + u";%'"_s;
    return u"select /*+index(a,"_s + index + u")*/"_s + WaybillColumns(gap)
        + u" from tab_zelmor_bill a  where a."_s + column + u" in "_s + numberList + candidate
        + u"  and a.bl_dispart=1 order by a.REC_DATE desc"_s;
}

} // namespace

std::span<const TCriterion> CentreQueryCriteria()
{
    return kCriteria;
}

QString CentreQueryColumns()
{
    return u' ' + WaybillColumns(u"  "_s);
}

QString CentreOrdersByNumber(const QString& numberList, const QString& offeredTo)
{
    return OfNumbers(u"TAB_ZELMOR_BILL_P"_s, u"  "_s, u"TX_LOGISTIC_ID"_s, numberList, offeredTo);
}

QString CentreOrdersByWaybill(const QString& numberList, const QString& offeredTo)
{
    return OfNumbers(u"TAB_ZELMOR_BILL_I"_s, u" "_s, u"BILL_CODE"_s, numberList, offeredTo);
}

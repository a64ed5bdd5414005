#include "dispatch/RevocationCriteria.h"

#include "orders/search/FilterBoxes.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using enum TCriterionBox;

constexpr QStringView kOwnSource = u"泽摩";

QString OfSource(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return OfSourceOrOthers(kOwnSource.toString(), criteria.Text(criterion.column));
}

void OfferStatuses(TDBComboBoxEh& box)
{
    OfferSearchStatuses(box, company::StatusUse::Centre);
}

void OfferSources(TDBComboBoxEh& box)
{
    const QStringList sources{u"洛维卡特"_s, kOwnSource.toString(), u"运泊通"_s};
    box.SetItems(sources, sources);
    box.SetText(kOwnSource.toString());
}

constexpr std::array kCriteria = std::to_array<TCriterion>({
    {u"REC_SITE", EqualTo, Site, u"DBLookupComboboxEh1", u"接单/揽件网点", 0, 1},
    {u"PREPARE_SITE", OfferedToSite, Site, u"DBLookupComboboxEh2", u"可接单网点", 0, 0},
    {u"SEND_SITE", EqualTo, Site, u"DBLookupComboboxEh3", u"派件网点", 0, 2},
    {u"CANCEL_SITE", EqualTo, Site, u"DBLookupComboboxEh4", u"撤单网点", 0, 3},
    {u"REC_BILL_MAN", EqualTo, Employee, u"DBLookupComboboxEh5", u"接单员工", 1, 0},
    {u"REC_MAN", EqualTo, Employee, u"DBLookupComboboxEh6", u"揽件员工", 1, 1},
    {u"SEND_MAN", EqualTo, Employee, u"DBLookupComboboxEh7", u"派件员工", 1, 2},
    {u"CANCEL_MAN", EqualTo, Employee, u"DBLookupComboboxEh8", u"撤单员工", 1, 3},
    {u"BL_CANCEL", WhenChecked, Check, u"DBCheckBoxEh1", u"已做撤单处理"},
    {u"prov", EqualTo, Province, u"DBComboBoxEh4", u"省份", 0, 4},
    {u"CANCEL_DESC", EqualTo, List, u"DBComboBoxEh3", u"撤消原因", 1, 5, OfferReasonFilter},
    {u"STATUS", WithCode, List, u"DBComboBoxEh1", u"订单状态", 1, 4, OfferStatuses},
    {u"NAME", EqualTo, Text, u"DBEditEh1", u"发货客户", 2, 0},
    {u"ADDRESS", Containing, Text, u"DBEditEh2", u"发货地址", 2, 1},
    {u"SEND_NAME", EqualTo, Text, u"DBEditEh3", u"收货客户", 2, 2},
    {u"SEND_ADDRESS", Containing, Text, u"DBEditEh4", u"收货地址", 2, 3},
    {u"LOGISTICPROVIDERID", OfSource, List, u"DBComboBoxEh2", u"项目", 2, 4, OfferSources},
});

} // namespace

std::span<const TCriterion> RevocationCriteria()
{
    return kCriteria;
}

#include "orders/search/FilterBoxes.h"

#include "company/CancelReasons.h"
#include "framework/CriteriaWords.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// Behind "全部" in a box whose other keys are status codes.
constexpr int kAnyStatus = -2;

} // namespace

QString AnyValue()
{
    return kAnything.toString();
}

QString FilterText(const TDBComboBoxEh& box)
{
    const QString text = box.Text();
    return text == AnyValue() ? QString() : text;
}

QString FilterKey(const TDBComboBoxEh& box)
{
    return FilterText(box).isEmpty() ? QString() : box.Value();
}

void OfferStatusFilter(TDBComboBoxEh& box, company::StatusUse use, std::initializer_list<int> statuses)
{
    QStringList names{AnyValue()};
    QStringList codes{QString::number(kAnyStatus)};
    for (const int status : statuses) {
        names += company::StatusName(status, use);
        codes += QString::number(status);
    }
    box.SetItems(names, codes);
    box.setEditable(false);
    box.SetText(AnyValue());
}

void OfferSearchStatuses(TDBComboBoxEh& box, company::StatusUse use)
{
    using namespace company;
    OfferStatusFilter(box, use,
        {kStatusCancelled, kStatusWaiting, kStatusAccepted, kStatusRefused, kStatusPickedUp,
            kStatusPickupFailed, kStatusInTransit, kStatusDelivered, kStatusDeliveryFailed});
}

void OfferReasonFilter(TDBComboBoxEh& box)
{
    const QStringList reasons = QStringList{AnyValue()} + company::CancelReasons();
    box.SetItems(reasons, reasons);
    box.SetText(AnyValue());
}

void OfferProvinceFilter(TDBComboBoxEh& box, const QStringList& provinces)
{
    const QStringList names = QStringList{AnyValue()} + provinces;
    box.SetItems(names, names);
    box.SetText(AnyValue());
}

QStringList OrderSources()
{
    return {u"洛维卡特"_s, u"泽摩"_s, u"运泊通"_s};
}

QString OrderProvincesQuery()
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/ distinct a.prov  from tab_zelmor_bill a"_s;
}

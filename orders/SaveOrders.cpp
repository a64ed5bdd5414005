#include "orders/SaveOrders.h"

#include "framework/frm_ErrorList.h"
#include "orders/OrderRecord.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<TColumnEh> FailureColumns()
{
    static constexpr OrderColumnUse kUses[] = {{"TX_LOGISTIC_ID"}, {"STATUS"}, {"NAME"}, {"MOBILE"},
        {"ADDRESS"}, {"BILL_CODE"}, {"PREPARE_SITE"}, {"REC_SITE"}};
    std::vector<TColumnEh> columns = OrderColumns(kUses);
    OfferStatuses(columns[1],
        {kStatusCancelled, kStatusWaiting, kStatusAccepted, kStatusRefused, kStatusPickedUp,
            kStatusPickupFailed});
    columns.insert(columns.begin() + 1,
        {.fieldName = u"ERROR_MESSAGE"_s, .title = u"失败原因"_s, .width = 400, .readOnly = true});
    return columns;
}

void ShowFailures(TClientDataSetEx& orders, TClientDataSetEx& rejectedRows, const QString& caption,
    const QString& failureText)
{
    rejectedRows.CopyDelta(orders, true);
    rejectedRows.SetFilter(u"TX_LOGISTIC_ID is not null"_s);
    rejectedRows.SetFiltered(true);
    Tfrm_ErrorList::Execute(caption, failureText, rejectedRows, FailureColumns());
    rejectedRows.SetFiltered(false);
    rejectedRows.SetFilter({});
    rejectedRows.Close();
}

} // namespace

TSaveOutcome SaveOrders(TClientDataSetEx& orders, TClientDataSetEx& rejectedRows, const QString& caption,
    const QString& failureText)
{
    const TSaveOutcome outcome =
        SaveChanges(orders, caption, [&] { ShowFailures(orders, rejectedRows, caption, failureText); });
    if (outcome == TSaveOutcome::Saved || outcome == TSaveOutcome::Rejected) {
        const BusyCursor busy;
        orders.Refresh();
    }
    return outcome;
}

#include "orders/RefusedOrders.h"

#include "framework/frm_ErrorList.h"
#include "orders/OrderRecord.h"

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

} // namespace

void ListRefusedOrders(
    TClientDataSetEx& orders, TClientDataSetEx& refused, const QString& caption, const QString& text)
{
    refused.CopyDelta(orders, true);
    refused.SetFilter(u"TX_LOGISTIC_ID is not null"_s);
    refused.SetFiltered(true);
    Tfrm_ErrorList::Execute(caption, text, refused, FailureColumns());
    refused.SetFiltered(false);
    refused.SetFilter({});
    refused.Close();
}

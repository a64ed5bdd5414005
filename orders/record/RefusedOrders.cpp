#include "orders/record/RefusedOrders.h"

#include "framework/frm_ErrorList.h"
#include "orders/record/OrderColumns.h"

using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<TColumnEh> FailureColumns()
{
    static constexpr OrderColumnUse kUses[] = {{u"TX_LOGISTIC_ID"}, {u"STATUS"}, {u"NAME"}, {u"MOBILE"},
        {u"ADDRESS"}, {u"BILL_CODE"}, {u"PREPARE_SITE"}, {u"REC_SITE"}};
    std::vector<TColumnEh> columns = OrderColumns(kUses);
    OfferStatuses(columns, company::StatusUse::SiteScreens, {});
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

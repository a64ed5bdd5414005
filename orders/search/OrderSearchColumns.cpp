#include "orders/search/OrderSearchColumns.h"

#include <algorithm>

namespace {

// What every search shows.
constexpr OrderColumnUse kColumns[] = {
    {u"TX_LOGISTIC_ID"},
    {u"LOGISTICPROVIDERID"},
    {u"TRADE_NO"},
    {u"BILL_CODE"},
    {u"FLAG", false},
    {u"CREATE_DATE"},
    {u"STATUS"},
    {u"PREPARE_SITE"},
    {u"REC_SITE"},
    {u"REC_BILL_MAN"},
    {u"REC_GOODS_MAN"},
    {u"REC_MAN"},
    {u"ACCEPT_DATE"},
    {u"REC_DATE"},
    {u"SEND_SITE"},
    {u"SEND_MAN"},
    {u"SEND_DATE"},
    {u"BL_CANCEL"},
    {u"CANCEL_SITE"},
    {u"CANCEL_MAN"},
    {u"CANCEL_DATE"},
    {u"CANCEL_DESC"},
    {u"BL_DISPART", false},
    {u"NAME"},
    {u"PROV"},
    {u"CITY"},
    {u"COUNTY"},
    {u"ADDRESS"},
    {u"POST_CODE"},
    {u"PHONE"},
    {u"MOBILE"},
    {u"SEND_START_TIME"},
    {u"SEND_END_TIME"},
    {u"ITEM_NAME"},
    {.field = u"PIECE", .summed = true},
    {u"SPECIAL"},
    {u"REMARK"},
    {u"INSURANCE_VALUE", false},
    {u"PACKAGE_OR_NOT", false},
    {u"SEND_NAME"},
    {u"SEND_PROV"},
    {u"SEND_CITY"},
    {u"SEND_COUNTY"},
    {u"SEND_ADDRESS"},
    {u"SEND_POST_CODE"},
    {u"SEND_PHONE"},
    {u"SEND_MOBILE"},
    {.field = u"ITEMS_VALUE", .summed = true},
};

} // namespace

std::vector<TColumnEh> OrderSearchColumns(std::span<const TSearchColumn> own, company::StatusUse statuses)
{
    std::vector<OrderColumnUse> uses(std::begin(kColumns), std::end(kColumns));
    for (const TSearchColumn& column : own) {
        std::erase_if(uses, [&](const OrderColumnUse& use) { return use.field == column.use.field; });
        const auto place = std::ranges::find(uses, column.after, &OrderColumnUse::field);
        uses.insert(place == uses.end() ? place : place + 1, column.use);
    }
    std::vector<TColumnEh> columns = OrderColumns(uses);
    OfferStatuses(columns, statuses, {});
    return columns;
}

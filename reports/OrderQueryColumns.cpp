#include "reports/OrderQueryColumns.h"

#include "orders/search/OrderSearchColumns.h"

std::vector<TColumnEh> OrderQueryColumns()
{
    static constexpr TSearchColumn kOwn[] = {
        {.use = {.field = u"TOTAL_WEIGHT", .summed = true}, .after = u"BILL_CODE"},
        {.use = {.field = u"DUTY_SITE"}},
        {.use = {.field = u"WMSADDRESS"}},
        {.use = {.field = u"WMS_CODE"}},
    };
    return OrderSearchColumns(kOwn, company::StatusUse::OrderQuery);
}

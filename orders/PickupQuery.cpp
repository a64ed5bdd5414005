#include "orders/PickupQuery.h"

#include "orders/record/QueryFragments.h"

using namespace Qt::Literals::StringLiterals;

QString PickupQuery(const TPickupCriteria& criteria)
{
    return OrdersCreatedBetween(criteria.from, criteria.to) + u"   and a.bl_dispart=1 and a.status=1 "_s
        + u"and a.REC_SITE='"_s + criteria.loginSite + u"'"_s + OfWarehouse(criteria.warehouse)
        + u" order by a.CREATE_DATE desc"_s;
}

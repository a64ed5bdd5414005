#include "dispatch/DistributionQuery.h"

#include "orders/record/QueryFragments.h"

using namespace Qt::Literals::StringLiterals;

QString DistributionQuery(const TDistributionCriteria& criteria)
{
    const auto where = [](const QString& column, const QString& text) {
        return text.isEmpty() ? QString() : u" and "_s + column + u"='"_s + text + u'\'';
    };
    return OrdersCreatedBetween(criteria.from, criteria.to)
        + u" and a.bl_dispart=1 and a.status=0 and a.prepare_site is null"_s
        + where(u"COUNTY"_s, criteria.county) + where(u"PROV"_s, criteria.province)
        + where(u"CITY"_s, criteria.city) + u" order by a.create_date desc"_s;
}

#include "orders/Destinations.h"

#include "orders/record/OrderStamps.h"

using namespace Qt::Literals::StringLiterals;

QString DestinationSitesQuery()
{
    return u"select /*+index(a,)*/ a.site_name, a.site_code, a.superior_site  from tab_site a "
           "where nvl(a.bl_not_input, 0) <> 1  and a.TYPE_KIND not in ('财务中心', "
           "'一级财务中心','二级财务中心', "
           "'一级分拨中心', '二级分拨中心')"_s;
}

void DropUnknownDestination(TClientDataSetEx& cds, TClientDataSetEx& destinations)
{
    const QString destination = TextOf(cds, u"DESTINATION");
    if (!destination.isEmpty() && !destinations.Locate(u"SITE_NAME", {destination}))
        ClearField(cds, u"DESTINATION");
}

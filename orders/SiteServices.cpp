#include "orders/SiteServices.h"

#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

QString AllSiteServicesQuery()
{
    return u"select * from tab_zelmor_site"_s;
}

QString SiteServicesQuery(const QString& site)
{
    return u"select a.* from tab_zelmor_site a where exists(select /*+index(b,TAB_SITE_I3)*/1 from tab_site "
           u"b "
           "where b.site_name=a.site_name"_s
        + SiteAndBelow(site) + u")"_s;
}

QString ServiceCountiesQuery()
{
    return u"select a.*,a.COUNTY_NAME||'.'||a.CITY_NAME||'.'||a.PROVINCE as aid from tab_county a"_s;
}

#pragma once

#include <QString>

// The counties that sites serve, a row of tab_zelmor_site each.

// Of every site.
QString AllSiteServicesQuery();
// Of the site and those below it.
QString SiteServicesQuery(const QString& site);
// All counties of the country, for the choice of one.
QString ServiceCountiesQuery();

// The user type whose accounts open counties for marketplace orders.
inline constexpr QStringView kOpeningUserType = u"2";

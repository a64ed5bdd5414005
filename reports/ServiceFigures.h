#pragma once

#include <QString>

// How well the orders of a time window were served: figures of each responsible site, and of the regions of
// orders that have none; the orders behind a figure; the back-fill of accepting sites.

struct TFiguresCriteria {
    QString from; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to;
    QString source = {}; // empty: any
    QString site = {}; // empty: all of `sites`
    QString sites = {}; // a ready-made condition on the responsible site
};

// Which orders are counted; drill-downs ask by the conditions of the figures they start from.
struct TFiguresConditions {
    QString ofSites; // orders with a responsible site
    QString ofRegions; // orders without one
};

// The responsible site of the rows that stand for regions.
inline constexpr QStringView kNoSite = u"空";

TFiguresConditions FiguresConditions(const TFiguresCriteria& criteria);
QString RegionFiguresQuery(const TFiguresConditions& conditions);
QString SiteFiguresQuery(const TFiguresConditions& conditions);
// The orders behind a figure, named by its field in any case; empty where no orders stand behind the column.
QString OrdersOfSiteQuery(const TFiguresConditions& conditions, const QString& figure, const QString& site);
QString OrdersOfRegionQuery(const TFiguresConditions& conditions, const QString& figure,
    const QString& province, const QString& county);

// Gives orders that have a waybill and no accepting site the site, the employee and the time of the waybill.
// The server refuses the text as it stands, and that is what users know.
QString BackFillStatement(const QString& from, const QString& to, const QString& area);

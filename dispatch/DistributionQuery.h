#pragma once

#include <QString>

// What the distribution desk's filter controls say; an empty text filters nothing.
struct TDistributionCriteria {
    QString from; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to;
    QString county; // of the shipper
    QString province;
    QString city;
};

// The new orders that are marked for distribution and offered to no site yet, newest first.
QString DistributionQuery(const TDistributionCriteria& criteria);

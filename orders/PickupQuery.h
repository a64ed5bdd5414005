#pragma once

#include <QString>

// What the pickup screen's filter controls say.
struct TPickupCriteria {
    QString loginSite;
    QString from; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to;
    QString warehouse; // as typed; blank: any
};

// The orders that the site accepted and has still to collect, newest first.
QString PickupQuery(const TPickupCriteria& criteria);

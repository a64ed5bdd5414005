#pragma once

#include <QString>

// What the correction screen's filter controls say.
struct TCorrectionCriteria {
    QString from{}; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to{};
    QString site{}; // that picked up, as typed; blank: any
    QString numbers{}; // a ready-made list of waybill numbers, in place of all of these
    QString ownSites{}; // condition on the site that picked up; empty: the login site sees them all
};

// The orders that were picked up.
QString CorrectionQuery(const TCorrectionCriteria& criteria);

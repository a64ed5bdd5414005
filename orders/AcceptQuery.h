#pragma once

#include <QString>

// What the acceptance screen's filter controls say.
struct TAcceptCriteria {
    QString loginSite;
    QString from; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to;
    QString warehouse; // as typed; blank: any
    QString orderNumber; // headquarters only; empty: any
    QString receivingSite; // headquarters only; empty: any
};

// The orders that the site may accept (headquarters: all that wait or are accepted), newest first.
QString AcceptQuery(const TAcceptCriteria& criteria);
// What the screen opens with: the waiting orders offered to the site in the range.
QString FirstAcceptQuery(const TAcceptCriteria& criteria);

#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

#include <span>

// The orders that are dispatched to sites and drivers: what the screens' filter says, and the query made of
// it.

enum class TEntrusted { Any, Yes, No };

// An empty text asks nothing.
struct TDispatchCriteria {
    QString numbers{}; // ready-made list of quoted numbers; nothing below but `sites` is asked then
    QString from{}; // "yyyy-mm-dd hh:mm:ss", as shown
    QString to{};
    QString courier{};
    QString payment{};
    QString createrSite{};
    QString driver{};
    int statusItem = 0; // position in the list of statuses, 0: of any
    TEntrusted entrusted = TEntrusted::Any;
    bool withoutSite = false;
    bool withoutDriver = false;
    QString sites{}; // the condition on the sites, made by one of the functions below
};

// Oldest first.
QString DispatchQuery(const TDispatchCriteria& criteria);

// The statuses of a filter's items, from its second on. The last one has no name, and no filter offers it.
std::span<const int> StatusesAsked();

// Made at one of the sites, or offered to the login site alone.
QString MadeAtOrOfferedTo(const TClientDataSetEx& sites, const QString& loginSite);
// Offered to one of the sites alone.
QString OfferedToOneOf(const TClientDataSetEx& sites);

QString SitesBelowQuery(const QString& root);
QString PaymentsAskedQuery();

#pragma once

#include "orders/search/OrderSearch.h"

#include <QStringList>

// What the order query asks by.

// Names of what is no column of the order.
inline constexpr QStringView kWithSubtree = u"SUBTREE"; // the candidate site's whole subtree as well
inline constexpr QStringView kSubtreePatterns = u"SUBTREE_PATTERNS"; // of the sites found; empty: none
inline constexpr QStringView kAreaName = u"AREA_NAME"; // of the login site

std::span<const TCriterion> OrderQueryCriteria();

// The site and those below it, the site first.
QString SubtreeQuery(const QString& site);
// The patterns, joined by "or", that stand behind "a.PREPARE_SITE like"; empty without sites. The last
// pattern swallows the words of its neighbour and matches nothing; the query that holds it is valid.
QString SubtreePatterns(const QStringList& sites);

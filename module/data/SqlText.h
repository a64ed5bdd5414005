#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

// What the screens' queries are spliced from.

// In single quotes, every single quote inside doubled.
QString QuotedStr(const QString& text);

// A condition "column in (…)" over the key field of every row in view, in lists of at most `chunkSize` values
// joined by "or". The dataset's position stays.
QString BuildInList(
    const TClientDataSetEx& dataSet, const QString& keyField, const QString& column, int chunkSize = 999);

// A walk over tab_site from the site down: " start with … connect by …". The case expression takes the
// start's own superior out of it. `connect` is spelled as the query has always had it.
QString SiteAndBelow(const QString& site, QStringView connect = u" connect by prior ");

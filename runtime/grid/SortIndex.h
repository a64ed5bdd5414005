#pragma once

#include <QString>

// The dataset's order by the marks in a grid's titles.
inline const QString kSortIndex = QStringLiteral("SortIndexEh");

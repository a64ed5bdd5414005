#pragma once

#include "runtime/Export.h"

#include <QString>
#include <QStringList>

#include <vector>

// A cell of the titles: a group over its columns, or a column's own title, which reaches down to the rows.
struct TTitleCell {
    int first; // columns first…last
    int last;
    int level;
    int levels; // lines it spans
    QString text;
    bool leaf;
};

// The cells over columns side by side. Neighbouring columns whose titles begin alike share the cells of those
// lines; a group of the first `frozen` columns ends where the others begin.
RUNTIME_EXPORT std::vector<TTitleCell> TitleCells(const QStringList& titles, int frozen);
// How many lines the titles take.
RUNTIME_EXPORT int TitleLines(const QStringList& titles);

#include "runtime/grid/TitleCells.h"

#include <algorithm>

int TitleLines(const QStringList& titles)
{
    qsizetype lines = 1;
    for (const QString& title : titles)
        lines = std::max(lines, title.count(u'|') + 1);
    return static_cast<int>(lines);
}

std::vector<TTitleCell> TitleCells(const QStringList& titles, int frozen)
{
    std::vector<QStringList> parts;
    for (const QString& title : titles)
        parts.push_back(title.split(u'|'));
    const int lines = TitleLines(titles);
    const auto together = [&](size_t a, size_t b, qsizetype level) {
        return (int(a) < frozen) == (int(b) < frozen) && parts[a].size() > level + 1
            && parts[b].size() > level + 1 && parts[a].first(level + 1) == parts[b].first(level + 1);
    };
    std::vector<TTitleCell> cells;
    for (size_t i = 0; i < parts.size(); ++i) {
        const qsizetype own = parts[i].size();
        for (qsizetype level = 0; level + 1 < own; ++level) {
            if (i > 0 && together(i - 1, i, level))
                continue; // the cell began with a column before
            size_t end = i;
            while (end + 1 < parts.size() && together(i, end + 1, level))
                ++end;
            cells.push_back({int(i), int(end), int(level), 1, parts[i][level], false});
        }
        cells.push_back({int(i), int(i), int(own) - 1, lines - int(own) + 1, parts[i].back(), true});
    }
    return cells;
}

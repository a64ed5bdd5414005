#pragma once

#include <QString>

#include <optional>

struct TDateRangeFault {
    QString text;
    QString caption;
};

// What is wrong with a date range of at most `maxDays` days, if anything.
std::optional<TDateRangeFault> FindDateRangeFault(const QString& from, const QString& to, int maxDays);
// True when the range is rejected; tells the user why when `showMessages`.
bool CheckDateRange(const QString& from, const QString& to, int maxDays, bool showMessages);

// The server's date with " 00:00:00" and " 23:59:59": what date filters are preset to.
QString StartOfToday();
QString EndOfToday();

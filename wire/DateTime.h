#pragma once

#include "wire/Export.h"

#include <QString>

#include <compare>
#include <optional>

namespace wire {

// A date and time to the second, as the database holds it: a wall clock without a zone.
struct WIRE_EXPORT DateTime {
    qint64 seconds = 0; // since 1970-01-01 00:00:00

    auto operator<=>(const DateTime&) const = default;

    // Raises nothing; the caller passes a valid calendar date.
    static DateTime FromParts(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
    // Reads "yyyy-mm-dd" or "yyyy-mm-dd hh:mm[:ss]"; fields need no leading zeros; anything else, or a date
    // that the calendar lacks, gives nullopt.
    static std::optional<DateTime> Parse(QStringView text);
    // This machine's clock.
    static DateTime Now();
    // Days since 1899-12-30, the fraction being the time of day: the form in which the host publishes its
    // server's clock. Rounded to the second.
    static DateTime FromSerial(double days);
    double ToSerial() const;

    // "yyyy-mm-dd hh:mm:ss"
    QString ToText() const;
    // Pattern of yyyy, yy, mm, dd, hh (24 hours), nn (minutes), ss; everything else is copied.
    QString Format(QStringView pattern) const;
    DateTime AddDays(double days) const;
};

} // namespace wire

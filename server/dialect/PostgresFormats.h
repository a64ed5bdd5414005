#pragma once

#include "server/dialect/DateFormats.h"
#include "server/dialect/NumberFormats.h"

// Formats of dates and numbers as PostgreSQL's own functions and ours understand them.
namespace dialect {

// How zelmor.ora_to_date reads a text: a regular expression, and of what each of its groups is.
struct PostgresDateReader {
    QString pattern;
    QString fields; // a letter a group: Y, y, r year; m d H h n s; p half day
};
PostgresDateReader PostgresReaderOf(const DateMask& mask);

// For to_char, and for zelmor.ora_date_text where it has parts that to_char does not know.
struct PostgresDateFormat {
    QString format;
    bool own = false; // has such parts
};
PostgresDateFormat PostgresFormatOf(const DateMask& mask);

QString PostgresFormatOf(const NumberMask& mask);
// date_trunc's name.
const char* PostgresUnitOf(DateUnit unit);

} // namespace dialect

#pragma once

#include "runtime/Export.h"
#include "wire/DateTime.h"

enum class TDateTimeKind { DateTime, Date, Time };

// Reads a date-time as people type it: "2026-11-1", "2026/11/1 8:00", "2026年11月1日", "20261101",
// "20261101 083000", "20261101083000"; a time as "8:00", "8:00:30", "0800" or "080030" (on 1899-12-30). Wide
// digits and marks count as the narrow ones. nullopt for anything else.
RUNTIME_EXPORT std::optional<wire::DateTime> ReadDateTime(TDateTimeKind kind, const QString& text);

// As boxes of that kind show it.
RUNTIME_EXPORT QString DateTimeText(TDateTimeKind kind, wire::DateTime value);

// "yyyy-mm-dd hh:mm:ss", or the part of it that the kind has, for telling people.
RUNTIME_EXPORT QString DateTimeForm(TDateTimeKind kind);

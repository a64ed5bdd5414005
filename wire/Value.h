#pragma once

#include "wire/DateTime.h"

#include <QString>

#include <variant>

namespace wire {

// Numbers are part of the protocol.
enum class ColumnType : quint8 { Text = 1, Integer = 2, Number = 3, DateTime = 4 };

// One cell. Null is the empty alternative; empty text is null too, as in the company's database, so make text
// values with `TextValue`. For cells one at a time (edits, change logs, look-ups); bulk rows live in columns.
using Value = std::variant<std::monostate, QString, qint64, double, DateTime>;

inline bool IsNull(const Value& value)
{
    return value.index() == 0;
}

inline Value TextValue(const QString& text)
{
    return text.isEmpty() ? Value{} : Value{text};
}

// The value as plain text: null is empty, numbers in the shortest form that reads back equal, date-times as
// "yyyy-mm-dd hh:mm:ss".
WIRE_EXPORT QString ToText(const Value& value);
// Reads text as a value of the type; empty text is null. Raises Error(Data) naming the text where it is not
// one.
WIRE_EXPORT Value FromText(ColumnType type, const QString& text);
// The value converted to the type of its column (integer to number, text to number and so on); raises
// Error(Data) where that is impossible.
WIRE_EXPORT Value Convert(const Value& value, ColumnType type);
// Equality as the database sees unchanged values: null equals null, integers and numbers compare by value.
WIRE_EXPORT bool SameValue(const Value& a, const Value& b);

} // namespace wire

#pragma once

// Small tables for dataset tests.

#include "runtime/data/ClientDataSet.h"
#include "tests/support/FakeServer.h"

#include <gtest/gtest.h>

#include <initializer_list>

inline std::ostream& operator<<(std::ostream& out, const QString& text)
{
    return out << text.toStdString();
}

namespace wire {
inline std::ostream& operator<<(std::ostream& out, const Value& value)
{
    return out << (IsNull(value) ? "null" : ToText(value).toStdString());
}
} // namespace wire

inline wire::ColumnInfo Column(
    const char16_t* name, wire::ColumnType type, bool key = false, bool guard = false, bool stored = true)
{
    wire::ColumnInfo info;
    info.name = QString::fromUtf16(name);
    info.type = type;
    info.key = key;
    info.guard = guard;
    info.stored = stored;
    return info;
}

// The table of most tests: an order with a number, a guard, a text, an amount, a time, and a joined column.
inline std::vector<wire::ColumnInfo> OrderColumns()
{
    return {
        Column(u"ID", wire::ColumnType::Text, true),
        Column(u"STATUS", wire::ColumnType::Integer, false, true),
        Column(u"SITE", wire::ColumnType::Text),
        Column(u"AMOUNT", wire::ColumnType::Number),
        Column(u"CREATE_DATE", wire::ColumnType::DateTime),
        Column(u"SITE_PHONE", wire::ColumnType::Text, false, false, false),
    };
}

using Row = std::vector<wire::Value>;

inline wire::Value T(const char16_t* text)
{
    return wire::TextValue(QString::fromUtf16(text));
}
inline wire::Value I(qint64 value)
{
    return value;
}
inline wire::Value N(double value)
{
    return value;
}
inline wire::Value D(int year, int month, int day)
{
    return wire::DateTime::FromParts(year, month, day);
}
inline const wire::Value Null;

inline wire::RowSet ThreeOrders()
{
    return MakeRows(OrderColumns(),
        {
            {T(u"D1"), I(0), T(u"上海"), N(1.5), D(2024, 1, 1), T(u"021")},
            {T(u"D2"), I(1), T(u"北京"), Null, D(2024, 1, 2), Null},
            {T(u"D3"), Null, Null, N(-2), Null, T(u"020")},
        });
}

inline QStringList ColumnTexts(const TClientDataSetEx& set, QStringView field)
{
    QStringList texts;
    for (int row = 0; row < set.RecordCount(); ++row)
        texts.append(set.ViewText(row, set.FieldIndex(field)));
    return texts;
}

inline QString Joined(const TClientDataSetEx& set, QStringView field)
{
    return ColumnTexts(set, field).join(u' ');
}

// The kind of error that the call raises; nothing when it raises none.
template <typename Call> std::optional<wire::ErrorKind> RaisedBy(Call&& call)
{
    try {
        call();
    } catch (const wire::Error& error) {
        return error.Kind();
    }
    return std::nullopt;
}

#pragma once

#include "wire/ColumnData.h"
#include "wire/Value.h"

// One column's values as storage reads them, one after the other.
inline wire::CellBlock CellsOf(wire::ColumnType type, const std::vector<wire::Value>& values)
{
    wire::CellBlock cells(type);
    for (const wire::Value& value : values) {
        if (wire::IsNull(value)) {
            cells.AddNull();
        } else if (const auto* text = std::get_if<QString>(&value)) {
            const QByteArray utf8 = text->toUtf8();
            cells.AddText(utf8.constData(), utf8.size());
        } else if (const auto* integer = std::get_if<qint64>(&value)) {
            cells.AddInteger(*integer);
        } else if (const auto* number = std::get_if<double>(&value)) {
            cells.AddNumber(*number);
        } else {
            cells.AddInteger(std::get<wire::DateTime>(value).seconds);
        }
    }
    return cells;
}

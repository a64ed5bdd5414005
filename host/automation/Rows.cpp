#include "host/automation/Rows.h"

#include "runtime/data/ClientDataSet.h"

namespace automation {

QJSValue ToScript(const wire::Value& value)
{
    if (wire::IsNull(value))
        return QJSValue(QJSValue::NullValue);
    if (const qint64* integer = std::get_if<qint64>(&value))
        return QJSValue(static_cast<double>(*integer));
    if (const double* number = std::get_if<double>(&value))
        return QJSValue(*number);
    return QJSValue(wire::ToText(value));
}

QJSValue ToScript(QJSEngine& engine, const wire::RowSet& rows)
{
    QJSValue array = engine.newArray(static_cast<uint>(rows.RowCount()));
    for (qsizetype row = 0; row < rows.RowCount(); ++row) {
        QJSValue object = engine.newObject();
        for (size_t column = 0; column < rows.infos.size(); ++column)
            object.setProperty(
                rows.infos[column].name.toUpper(), ToScript(rows.columns[column].ValueAt(row)));
        array.setProperty(static_cast<quint32>(row), object);
    }
    return array;
}

QJSValue ToScript(QJSEngine& engine, const TClientDataSetEx& rows)
{
    QJSValue array = engine.newArray(static_cast<uint>(rows.RecordCount()));
    for (int row = 0; row < rows.RecordCount(); ++row) {
        QJSValue object = engine.newObject();
        for (int field = 0; field < rows.FieldCount(); ++field)
            object.setProperty(rows.FieldInfo(field).name.toUpper(), ToScript(rows.ViewValue(row, field)));
        array.setProperty(static_cast<quint32>(row), object);
    }
    return array;
}

wire::Value FromScript(const QJSValue& value)
{
    if (value.isNull() || value.isUndefined())
        return {};
    if (value.isNumber()) {
        const double number = value.toNumber();
        const auto whole = static_cast<qint64>(number);
        if (static_cast<double>(whole) == number)
            return whole;
        return number;
    }
    return wire::TextValue(value.toString());
}

} // namespace automation

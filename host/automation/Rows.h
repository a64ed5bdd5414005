#pragma once

#include "wire/Column.h"

#include <QJSEngine>
#include <QJSValue>

#include <exception>

class TClientDataSetEx;

// Rows and cells as a script sees them, and failures as a script gets them.
namespace automation {

// null, a number, or a text; date-times as "yyyy-mm-dd hh:mm:ss".
QJSValue ToScript(const wire::Value& value);
// An array of objects whose properties are the columns, in upper case.
QJSValue ToScript(QJSEngine& engine, const wire::RowSet& rows);
QJSValue ToScript(QJSEngine& engine, const TClientDataSetEx& rows);
wire::Value FromScript(const QJSValue& value);

// What every call from a script runs through: a failure becomes an error of the script, at its line.
template <typename TAction> auto Call(const QObject* object, TAction action) -> decltype(action())
{
    try {
        return action();
    } catch (const std::exception& error) {
        if (QJSEngine* engine = qjsEngine(object))
            engine->throwError(QString::fromUtf8(error.what()));
    }
    return decltype(action())();
}

} // namespace automation

#include "host/automation/TestObject.h"

#include <QFile>
#include <QJSEngine>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

// The value as a script would write it, so that "1" and 1 can be told apart.
QString Written(QJSEngine& engine, const QJSValue& value)
{
    const QJSValue json = engine.globalObject().property(u"JSON"_s).property(u"stringify"_s).call({value});
    return json.isString() ? json.toString() : value.toString();
}

} // namespace

TTestObject::TTestObject(const QString& folder)
    : folder_(folder)
{
}

void TTestObject::print(const QJSValue& a, const QJSValue& b, const QJSValue& c, const QJSValue& d,
    const QJSValue& e, const QJSValue& f)
{
    QStringList parts;
    for (const QJSValue* part : {&a, &b, &c, &d, &e, &f}) {
        if (!part->isUndefined())
            parts.append(part->isObject() ? Written(*qjsEngine(this), *part) : part->toString());
    }
    std::printf("%s\n", qUtf8Printable(parts.join(u' ')));
    std::fflush(stdout);
}

void TTestObject::assertThat(const QJSValue& condition, const QString& message)
{
    if (!condition.toBool())
        qjsEngine(this)->throwError(
            u"assertion failed"_s + (message.isEmpty() ? message : u": "_s + message));
}

void TTestObject::assertEqual(const QJSValue& actual, const QJSValue& expected, const QString& message)
{
    QJSEngine* engine = qjsEngine(this);
    if (actual.strictlyEquals(expected))
        return;
    const QString found = Written(*engine, actual);
    const QString wanted = Written(*engine, expected);
    if (actual.isObject() && expected.isObject() && found == wanted)
        return;
    engine->throwError(u"assertion failed: "_s + (message.isEmpty() ? message : message + u": "_s)
        + u"found "_s + found + u", expected "_s + wanted);
}

QJSValue TTestObject::include(const QString& fileName)
{
    QJSEngine* engine = qjsEngine(this);
    QFile file(folder_.absoluteFilePath(fileName));
    if (!file.open(QIODevice::ReadOnly)) {
        engine->throwError(u"cannot read "_s + file.fileName() + u": "_s + file.errorString());
        return {};
    }
    const QJSValue result = engine->evaluate(QString::fromUtf8(file.readAll()), fileName);
    if (result.isError())
        engine->throwError(result);
    return result;
}

} // namespace automation

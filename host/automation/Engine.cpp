#include "host/automation/Automation.h"
#include "host/automation/HostObject.h"
#include "host/automation/TestObject.h"

#include <QFile>
#include <QFileInfo>
#include <QJSEngine>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kScriptFailed = 1;
constexpr int kScriptUnreadable = 2;

// File, line and message of what ended the script, then the calls that led there.
void Report(const QJSValue& error, const QString& script)
{
    QString file = error.property(u"fileName"_s).toString();
    if (file.startsWith(u"file:"_s))
        file.remove(0, 5);
    const QString line = error.property(u"lineNumber"_s).toString();
    std::fprintf(stderr, "%s:%s: %s\n", qUtf8Printable(file.isEmpty() ? script : file), qUtf8Printable(line),
        qUtf8Printable(error.toString()));
    const QString stack = error.property(u"stack"_s).toString();
    if (!stack.isEmpty())
        std::fprintf(stderr, "%s\n", qUtf8Printable(stack));
}

} // namespace

extern "C" Q_DECL_EXPORT int zelmor_automation_run(
    TAutomationHost* host, const QString* script, const QString* screenshots)
{
    QFile file(*script);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "zelmor-host: cannot read the script %s: %s\n", qUtf8Printable(*script),
            qUtf8Printable(file.errorString()));
        return kScriptUnreadable;
    }
    const QString program = QString::fromUtf8(file.readAll());
    const QString name = QFileInfo(*script).fileName();

    QJSEngine engine;
    automation::THostObject hostObject(*host, *screenshots);
    automation::TTestObject testObject(QFileInfo(*script).absolutePath());
    QJSEngine::setObjectOwnership(&hostObject, QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(&testObject, QJSEngine::CppOwnership);
    QJSValue global = engine.globalObject();
    global.setProperty(u"host"_s, engine.newQObject(&hostObject));
    const QJSValue test = engine.newQObject(&testObject);
    global.setProperty(u"print"_s, test.property(u"print"_s));
    global.setProperty(u"assert"_s, test.property(u"assertThat"_s));
    global.setProperty(u"assertEqual"_s, test.property(u"assertEqual"_s));
    global.setProperty(u"include"_s, test.property(u"include"_s));
    global.setProperty(u"fullPath"_s, test.property(u"fullPath"_s));

    const QJSValue result = engine.evaluate(program, name);
    if (!result.isError())
        return 0;
    Report(result, name);
    return kScriptFailed;
}

#pragma once

#include <QDir>
#include <QJSValue>
#include <QObject>

namespace automation {

// The functions that a script calls without an object.
class TTestObject : public QObject {
    Q_OBJECT
public:
    // `folder` is where included files are looked for.
    explicit TTestObject(const QString& folder);

    Q_INVOKABLE void print(const QJSValue& a = {}, const QJSValue& b = {}, const QJSValue& c = {},
        const QJSValue& d = {}, const QJSValue& e = {}, const QJSValue& f = {});
    Q_INVOKABLE void assertThat(const QJSValue& condition, const QString& message = {});
    // Arrays and objects are equal when their contents are.
    Q_INVOKABLE void assertEqual(
        const QJSValue& actual, const QJSValue& expected, const QString& message = {});
    // Runs another file; its functions and `var` variables stay.
    Q_INVOKABLE QJSValue include(const QString& fileName);
    // The full path of a file that lies beside the script.
    Q_INVOKABLE QString fullPath(const QString& fileName) const { return folder_.absoluteFilePath(fileName); }

private:
    QDir folder_;
};

} // namespace automation

#pragma once

#include "host/automation/Automation.h"
#include "runtime/ui/Application.h"

#include <QJSValue>
#include <QPointer>

namespace automation {

// `host` of a script.
class THostObject : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString serverTime READ ServerTime)
public:
    THostObject(TAutomationHost& host, const QString& screenshots);
    ~THostObject() override;

    QString ServerTime() const;

    // Through the login window; a user who is logged in leaves first. Fails with the window's message.
    Q_INVOKABLE void login(const QString& code, const QString& password);
    // Further users of the same server, beside the one at the windows.
    Q_INVOKABLE QObject* otherSession(const QString& code, const QString& password);

    Q_INVOKABLE void exec(const QString& formName);
    Q_INVOKABLE QStringList screens();
    Q_INVOKABLE QObject* screen(const QString& name);
    // A control of the frame or the login window: toolbar, search box, status bar.
    Q_INVOKABLE QObject* control(const QString& name);
    // Of the frame: "Ctrl+S", "F5".
    Q_INVOKABLE void key(const QString& name);
    Q_INVOKABLE bool closeAll();
    // Whether a login brings back the windows that the user had open last; off at first.
    Q_INVOKABLE void reopenScreens(bool on);

    // Replies for the coming boxes and pickers, in their order: "ok", "cancel", "yes", "no", a text, or an
    // array of names.
    Q_INVOKABLE void answer(const QJSValue& a, const QJSValue& b = {}, const QJSValue& c = {},
        const QJSValue& d = {}, const QJSValue& e = {}, const QJSValue& f = {});
    // From now on boxes and dialogs come to the screen, and the function is called with each as a screen
    // object; it presses their buttons itself, or returns the text of the one to press. null: as before.
    Q_INVOKABLE void onDialog(const QJSValue& handler);
    Q_INVOKABLE QJSValue messages();
    Q_INVOKABLE void clearMessages();
    Q_INVOKABLE QJSValue sql();
    Q_INVOKABLE void clearSql();
    Q_INVOKABLE QJSValue serverSql(const QString& text);

    // The frame at this size, in pixels at the present scale.
    Q_INVOKABLE void resize(int width, int height);
    // Relative paths are below the folder for pictures.
    Q_INVOKABLE QString screenshot(const QString& path);
    Q_INVOKABLE void wait(int milliseconds);

private:
    QWidget* Frame() const;
    void WatchDialogs();

    TAutomationHost& host_;
    QString screenshots_;
    QJSValue dialogHandler_;
    bool watching_ = false;
    QPointer<QWidget> handledDialog_;
};

} // namespace automation

#include "host/automation/HostObject.h"

#include "host/automation/ControlObject.h"
#include "host/automation/Input.h"
#include "host/automation/Labels.h"
#include "host/automation/Pictures.h"
#include "host/automation/Rows.h"
#include "host/automation/ScreenObject.h"
#include "host/automation/SessionObject.h"
#include "runtime/ui/ActionKeys.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>

#include <algorithm>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

// A new demo database may have to be made first.
constexpr int kLoginMilliseconds = 600'000;
constexpr int kDialogPollMilliseconds = 20;

[[noreturn]] void Fail(const QString& message)
{
    throw std::runtime_error(message.toStdString());
}

void TypeInto(QWidget* window, const QString& name, const QString& text)
{
    auto* edit = window->findChild<QLineEdit*>(name);
    Focus(edit);
    PressKey(edit, u"Ctrl+A"_s);
    PressKey(edit, u"Delete"_s);
    TypeText(text);
}

QString IconName(TMessageIcon icon)
{
    switch (icon) {
    case TMessageIcon::Information:
        return u"information"_s;
    case TMessageIcon::Warning:
        return u"warning"_s;
    case TMessageIcon::Question:
        return u"question"_s;
    case TMessageIcon::Error:
        return u"error"_s;
    case TMessageIcon::None:
        break;
    }
    return u"none"_s;
}

// Buttons are named by what they say, without the mark of their key.
QAbstractButton* ButtonSaying(const QWidget* dialog, const QString& text)
{
    const auto buttons = dialog->findChildren<QAbstractButton*>();
    for (QAbstractButton* button : buttons) {
        if (PlainText(button->text()) == text || button->objectName() == text)
            return button;
    }
    return nullptr;
}

void Choose(QMenu& menu, const QString& text)
{
    const auto actions = menu.actions();
    const auto found = std::ranges::find_if(
        actions, [&](const QAction* action) { return PlainActionText(action->text()) == text; });
    if (found == actions.end())
        Fail(u"the menu has no "_s + text);
    Click(&menu, menu.actionGeometry(*found).center());
}

} // namespace

THostObject::THostObject(TAutomationHost& host, const QString& screenshots)
    : host_(host)
    , screenshots_(screenshots)
{
    ::Application->Unattended = true;
}

THostObject::~THostObject()
{
    if (::Application)
        ::Application->Unattended = false;
}

QWidget* THostObject::Frame() const
{
    QWidget* frame = host_.LoggedInForm();
    if (!frame)
        Fail(u"nobody is logged in"_s);
    return frame;
}

QString THostObject::ServerTime() const
{
    return Call(this, [this] {
        return wire::DateTime::FromSerial(Frame()->property("ServerDateTime").toDouble()).ToText();
    });
}

void THostObject::login(const QString& code, const QString& password)
{
    Call(this, [&] {
        QWidget* window = host_.OpenLoginWindow();
        if (!window)
            Fail(u"an open window refused to close"_s);
        const auto* button = window->findChild<QAbstractButton*>(u"LoginButton"_s);
        const auto* state = window->findChild<QLabel*>(u"StateLabel"_s);
        const auto* problem = window->findChild<QLabel*>(u"ErrorLabel"_s);
        QElapsedTimer since;
        since.start();
        // The database may still be opening, or may have to be made.
        while (!button->isEnabled() && since.elapsed() < kLoginMilliseconds) {
            if (window->property("databaseFailed").toBool())
                Fail(state->text());
            Wait(10);
        }
        TypeInto(window, u"AccountEdit"_s, code);
        TypeInto(window, u"PasswordEdit"_s, password);
        PressKey(window, u"Enter"_s);
        while (!host_.LoggedInForm() && since.elapsed() < kLoginMilliseconds) {
            if (button->isEnabled() && !problem->text().isEmpty())
                Fail(problem->text());
            Wait(5);
        }
        Settle();
        if (!host_.LoggedInForm())
            Fail(u"the login took too long"_s);
    });
}

QObject* THostObject::otherSession(const QString& code, const QString& password)
{
    return Call(this, [&]() -> QObject* { return new TSessionObject(host_.NewTransport(), code, password); });
}

void THostObject::exec(const QString& formName)
{
    Call(this, [&] {
        host_.ExecScreen(formName);
        Settle();
    });
}

QStringList THostObject::screens()
{
    QStringList names;
    for (const TForm* form : ::Screen->Forms()) {
        if (form->IsShown())
            names.append(form->objectName());
    }
    return names;
}

QObject* THostObject::screen(const QString& name)
{
    return Call(this, [&]() -> QObject* {
        for (TForm* form : ::Screen->Forms()) {
            if (form->IsShown() && (form->objectName() == name || form->Caption() == name))
                return new TScreenObject(form);
        }
        Fail(u"no window "_s + name + u" is open"_s);
    });
}

QObject* THostObject::control(const QString& name)
{
    return Call(this, [&]() -> QObject* {
        QWidget* window = host_.LoggedInForm() ? host_.LoggedInForm() : host_.OpenLoginWindow();
        QObject* found = window->findChild<QWidget*>(name);
        if (!found)
            found = window->findChild<QAction*>(name);
        if (!found)
            Fail(u"the frame has no control "_s + name);
        return new TControlObject(found);
    });
}

void THostObject::key(const QString& name)
{
    Call(this, [&] { PressKey(Frame(), name); });
}

bool THostObject::closeAll()
{
    return Call(this, [this] {
        const bool closed = host_.CloseScreens();
        Settle();
        return closed;
    });
}

void THostObject::reopenScreens(bool on)
{
    host_.SetReopening(on);
}

void THostObject::answer(const QJSValue& a, const QJSValue& b, const QJSValue& c, const QJSValue& d,
    const QJSValue& e, const QJSValue& f)
{
    for (const QJSValue* reply : {&a, &b, &c, &d, &e, &f}) {
        if (reply->isUndefined())
            continue;
        ::Application->QueueAnswer(
            reply->isArray() ? reply->toVariant().toStringList() : QStringList{reply->toString()});
    }
}

void THostObject::onDialog(const QJSValue& handler)
{
    dialogHandler_ = handler;
    const bool watch = handler.isCallable();
    ::Application->Unattended = !watch;
    if (watch && !watching_)
        WatchDialogs();
}

void THostObject::WatchDialogs()
{
    watching_ = dialogHandler_.isCallable();
    if (!watching_)
        return;
    // Armed before the work: pressing a button here may open the next dialog.
    QTimer::singleShot(kDialogPollMilliseconds, this, &THostObject::WatchDialogs);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QWidget* dialog = menu ? menu : QApplication::activeModalWidget();
    if (!dialog || dialog == handledDialog_ || !dialog->isVisible())
        return;
    // Each dialog is handed over once; what the function does may open the next one.
    handledDialog_ = dialog;
    const QPointer<QWidget> open = dialog;
    const QJSValue reply = dialogHandler_.call({qjsEngine(this)->newQObject(new TScreenObject(dialog))});
    if (open && open->isVisible() && reply.isString()) {
        if (menu)
            Choose(*menu, reply.toString());
        else if (QAbstractButton* button = ButtonSaying(open, reply.toString()))
            Click(button);
    }
    // A dialog that nobody answers would hold the script for ever.
    if (open && open->isVisible() && (menu || !QApplication::activePopupWidget()))
        open->close();
    if (reply.isError())
        qjsEngine(this)->throwError(reply);
}

QJSValue THostObject::messages()
{
    QJSEngine* engine = qjsEngine(this);
    const std::vector<TShownMessage>& shown = ::Application->ShownMessages();
    QJSValue array = engine->newArray(static_cast<uint>(shown.size()));
    for (size_t index = 0; index < shown.size(); ++index) {
        QJSValue message = engine->newObject();
        message.setProperty(u"text"_s, shown[index].text);
        message.setProperty(u"caption"_s, shown[index].caption);
        message.setProperty(u"icon"_s, IconName(shown[index].icon));
        array.setProperty(static_cast<quint32>(index), message);
    }
    return array;
}

void THostObject::clearMessages()
{
    ::Application->ClearShownMessages();
}

QJSValue THostObject::sql()
{
    QJSEngine* engine = qjsEngine(this);
    const std::vector<TTraceEntry>& entries = host_.SqlEntries();
    QJSValue array = engine->newArray(static_cast<uint>(entries.size()));
    for (size_t index = 0; index < entries.size(); ++index) {
        QJSValue entry = engine->newObject();
        entry.setProperty(u"kind"_s, entries[index].kind);
        entry.setProperty(u"text"_s, entries[index].text);
        entry.setProperty(u"rows"_s, static_cast<double>(entries[index].rows));
        entry.setProperty(u"microseconds"_s, static_cast<double>(entries[index].microseconds));
        entry.setProperty(u"error"_s, entries[index].error);
        array.setProperty(static_cast<quint32>(index), entry);
    }
    return array;
}

void THostObject::clearSql()
{
    host_.ClearSqlEntries();
}

QJSValue THostObject::serverSql(const QString& text)
{
    return Call(this, [&] { return ToScript(*qjsEngine(this), host_.ServerRows(text)); });
}

void THostObject::resize(int width, int height)
{
    Call(this, [&] {
        Frame()->resize(width, height);
        Wait(50);
        return true;
    });
}

QString THostObject::screenshot(const QString& path)
{
    return Call(this, [&] {
        QWidget* window = host_.LoggedInForm() ? host_.LoggedInForm() : host_.OpenLoginWindow();
        const QString full =
            QDir(screenshots_).absoluteFilePath(QFileInfo(path).suffix().isEmpty() ? path + u".png"_s : path);
        SavePicture(window, full);
        return full;
    });
}

void THostObject::wait(int milliseconds)
{
    Wait(milliseconds);
}

} // namespace automation

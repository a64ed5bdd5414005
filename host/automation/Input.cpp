#include "host/automation/Input.h"

#include "wire/Error.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QEventLoop>
#include <QInputMethodEvent>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

[[noreturn]] void Fail(const QString& message)
{
    throw std::runtime_error(message.toStdString());
}

void RequireUsable(const QWidget* widget)
{
    if (!widget->isVisible())
        Fail(widget->objectName() + u" is not visible"_s);
    if (!widget->isEnabled())
        Fail(widget->objectName() + u" is not enabled"_s);
}

} // namespace

void Settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
    Settle();
}

void Click(QWidget* widget, QPoint place, Qt::KeyboardModifiers modifiers)
{
    RequireUsable(widget);
    if (QWidget* window = widget->window(); !window->isActiveWindow() && !QApplication::activePopupWidget())
        window->activateWindow();
    QTest::mouseClick(widget, Qt::LeftButton, modifiers, place.x() < 0 ? widget->rect().center() : place);
    Settle();
}

void DoubleClick(QWidget* widget, QPoint place)
{
    RequireUsable(widget);
    // As a mouse does it: the second press of the pair is the double click.
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, place);
    QTest::mouseDClick(widget, Qt::LeftButton, Qt::NoModifier, place);
    Settle();
}

void Drag(QWidget* widget, QPoint from, QPoint to)
{
    RequireUsable(widget);
    QTest::mouseMove(widget, from);
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, from);
    // A drag begins with a movement that is told from a trembling hand.
    QTest::mouseMove(widget, from + (to - from) / 2);
    QTest::mouseMove(widget, to);
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, to);
    Settle();
}

void PressKey(QWidget* widget, const QString& name)
{
    QString portable = name;
    if (portable.endsWith(u"Enter"_s, Qt::CaseInsensitive))
        portable = portable.chopped(5) + u"Return"_s;
    const QKeySequence keys = QKeySequence::fromString(portable, QKeySequence::PortableText);
    if (keys.isEmpty() || keys[0].key() == Qt::Key_unknown)
        Fail(u"there is no key "_s + name);
    if (name.size() == 1 && name != u"+"_s) {
        TypeText(name);
        return;
    }
    QWidget* target = KeyboardTarget(widget);
    if (keys[0].key() == Qt::Key_Menu) { // a window system makes this of the key
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, target->mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(target, &event);
    } else {
        QTest::keyClick(target, keys[0].key(), keys[0].keyboardModifiers());
    }
    Settle();
}

void TypeText(const QString& text)
{
    for (const QChar character : text) {
        QWidget* target = KeyboardTarget(nullptr);
        if (!target)
            Fail(u"no control has the keyboard"_s);
        if (character.unicode() >= 0x20 && character.unicode() < 0x7f) {
            QTest::keyClick(target, static_cast<char>(character.unicode()));
        } else if (character == u'\n') {
            QTest::keyClick(target, Qt::Key_Return);
        } else {
            QInputMethodEvent event;
            event.setCommitString(QString(character));
            QCoreApplication::sendEvent(target, &event);
        }
    }
    Settle();
}

void Focus(QWidget* widget)
{
    RequireUsable(widget);
    widget->window()->activateWindow();
    widget->setFocus(Qt::MouseFocusReason);
    Settle();
}

QWidget* KeyboardTarget(QWidget* fallback)
{
    if (QWidget* popup = QApplication::activePopupWidget())
        return popup->focusWidget() ? popup->focusWidget() : popup;
    if (QWidget* focused = QApplication::focusWidget())
        return focused;
    return fallback;
}

} // namespace automation

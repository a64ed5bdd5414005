#pragma once

#include <QPoint>
#include <QString>

class QWidget;

// Input as a person makes it: by mouse and keyboard, to what is on the screen. Each call returns when what it
// set off has run its course. Raises std::runtime_error (UTF-8 text) where a person could not do it.
namespace automation {

// Lets everything that is waiting happen: events, repaints, deletions.
void Settle();
// Runs the event loop for that long, in milliseconds.
void Wait(int milliseconds);

// In the middle of the widget where no place is given.
void Click(QWidget* widget, QPoint place = {-1, -1}, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void DoubleClick(QWidget* widget, QPoint place);
void Drag(QWidget* widget, QPoint from, QPoint to);
// A key by its name with its modifiers: "Enter", "F5", "Ctrl+S", "Shift+Tab", "a".
void PressKey(QWidget* widget, const QString& name);
// Types the text into the widget that has the keyboard; what no key has, an input method enters.
void TypeText(const QString& text);
// Moves the keyboard to the widget.
void Focus(QWidget* widget);
// Where keys go now: a list that dropped down, or the control that has the focus.
QWidget* KeyboardTarget(QWidget* fallback);

} // namespace automation

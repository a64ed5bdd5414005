#pragma once

#include "framework/frm_Basic.h"
#include "module/data/MessageBoxes.h"
#include "runtime/ui/Application.h"

#include <QAbstractButton>
#include <QAction>
#include <QTabWidget>
#include <QTimer>

// Binds what a user or a timer does to a screen's handler. A silent abort ends the handler quietly; any other
// failure is shown as the screens show failures, under the screen's caption.

// Controls outlive the class of their handlers, and lose the focus or their page as they go: nothing runs
// then.
template <typename TScreenClass, typename Handler> void RunHandler(TScreenClass* screen, Handler&& handler)
{
    QObject* object = screen;
    if (!qobject_cast<TScreenClass*>(object))
        return;
    Guarded(std::forward<Handler>(handler),
        [screen](const QString& message) { ShowFailure(message, screen->Caption()); });
}

template <typename TScreenClass>
void OnClick(QAbstractButton* button, TScreenClass* screen, void (TScreenClass::*handler)())
{
    QObject::connect(button, &QAbstractButton::clicked, screen,
        [screen, handler] { RunHandler(screen, [screen, handler] { (screen->*handler)(); }); });
}

template <typename TScreenClass>
void OnTriggered(QAction* action, TScreenClass* screen, void (TScreenClass::*handler)())
{
    QObject::connect(action, &QAction::triggered, screen,
        [screen, handler] { RunHandler(screen, [screen, handler] { (screen->*handler)(); }); });
}

template <typename TScreenClass>
void OnTimer(QTimer* timer, TScreenClass* screen, void (TScreenClass::*handler)())
{
    QObject::connect(timer, &QTimer::timeout, screen,
        [screen, handler] { RunHandler(screen, [screen, handler] { (screen->*handler)(); }); });
}

// For a page switch that queries: a page that could not be filled says why, as a click does.
template <typename TScreenClass>
void OnPageShown(QTabWidget* pages, TScreenClass* screen, void (TScreenClass::*handler)())
{
    QObject::connect(pages, &QTabWidget::currentChanged, screen,
        [screen, handler] { RunHandler(screen, [screen, handler] { (screen->*handler)(); }); });
}

// What the user should know and need not answer: a line in the host's status bar, where it has one.
void ShowNotice(const QString& text);

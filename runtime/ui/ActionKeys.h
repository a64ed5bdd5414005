#pragma once

#include "runtime/Export.h"

#include <QString>

class QAbstractButton;

// Something that a key does, as menus and the page of keys say it.
struct TActionKey {
    QString text; // without the mark of its letter
    QString keys; // portable text, "Ctrl+Shift+C"
};

// The frame's keys for what the screen in front offers.
inline constexpr const char16_t* kQueryKey = u"F5";
inline constexpr const char16_t* kSaveKey = u"Ctrl+S";
inline constexpr const char16_t* kExportKey = u"Ctrl+E";

// A menu's or button's text without the mark of its letter: "复制(&C)" and "复制" alike, without "…".
RUNTIME_EXPORT QString PlainActionText(const QString& text);

// Presses the button for a key or a menu: as when it is clicked, what was typed into a field is written
// before, and the user goes on where they were. Nothing where the button is disabled.
RUNTIME_EXPORT void PressButton(QAbstractButton& button);

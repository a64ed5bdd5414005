#pragma once

#include <QString>

// What the screens ask; "提示" is the caption where a screen names no other.

enum class TDefaultAnswer { Yes, No };

bool AskYesNo(const QString& text, const QString& caption = QStringLiteral("提示"),
    TDefaultAnswer preset = TDefaultAnswer::Yes);
bool AskOkCancel(const QString& text, const QString& caption = QStringLiteral("提示"),
    TDefaultAnswer preset = TDefaultAnswer::Yes);
// What the user types into an input box that opens empty; empty when cancelled, too.
QString AskReason(const QString& caption, const QString& prompt);

#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

// What the screens ask; "提示" is the caption where a screen names no other.

enum class TDefaultAnswer { Yes, No };

bool AskYesNo(const QString& text, const QString& caption = QStringLiteral("提示"),
    TDefaultAnswer preset = TDefaultAnswer::Yes);
bool AskOkCancel(const QString& text, const QString& caption = QStringLiteral("提示"),
    TDefaultAnswer preset = TDefaultAnswer::Yes);
// What the user types into an input box that opens empty; empty when cancelled, too.
QString AskReason(const QString& caption, const QString& prompt);
// Before a query takes the place of unsaved edits: No, which is preset, ends the handler (EAbort).
void AskToDropEdits(const TClientDataSetEx& rows, const QString& caption);

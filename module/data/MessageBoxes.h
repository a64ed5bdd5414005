#pragma once

#include <QString>

// Message boxes as the screens show them; texts are complete, "详细：" included.
void ShowWarning(const QString& text, const QString& caption);
void ShowInformation(const QString& text, const QString& caption);
void ShowError(const QString& text, const QString& caption);
// "详细：" and the reason, as a warning.
void ShowFailure(const QString& reason, const QString& caption);
// A rule violation: the warning, then the silent abort.
[[noreturn]] void Refuse(const QString& text, const QString& caption);

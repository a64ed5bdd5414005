#pragma once

#include "runtime/ui/Application.h"

#include <QString>

#include <functional>

// Rules of a row: before it is edited, before it is posted, or when one of its columns is left. A rule works
// on the dataset's current row and throws where the row may not go on as it is.

// What the user is told, and the column that offends (empty: none in particular).
struct TRuleViolation {
    QString message;
    QString field{};
    TMessageIcon icon = TMessageIcon::Warning;
};

// Runs the rules. A violation is shown with its icon under the caption, then its column is handed to `focus`;
// so is, with the reason, a rule that could not be checked. False in both cases.
bool RulesHold(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus = {});
// The same for a before-edit or before-post handler: a violation refuses it (EAbort).
void RunRules(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus = {});

#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

#include <functional>

// What the before-post rules of the order screens share. A rule works on the dataset's current row, which is
// being edited, and throws where the row may not be posted as it is.

// Who posts: the login site and the login employee's name, as a screen took them when it was created.
struct TClerk {
    QString site;
    QString employeeName;
};

// A row that may not be posted: what the user is told, and the column that offends (empty: none in
// particular).
struct TRuleViolation {
    QString message;
    QString field;
};

// Runs the rules of a before-post handler. A violation is shown as a warning under the caption, its column is
// handed to `focus`, and the post is aborted silently; so it is, with the reason shown, when a rule could not
// be checked.
void RunRules(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus = {});

// Sets the field only when its value differs, so that rows put back to what they were leave the change log.
void SetText(TClientDataSetEx& cds, const char16_t* field, const QString& text);
void ClearField(TClientDataSetEx& cds, const char16_t* field);
bool HasText(const TClientDataSetEx& cds, const char16_t* field);
QString TextOf(const TClientDataSetEx& cds, const char16_t* field);
qint64 StatusOf(const TClientDataSetEx& cds);

// Marks the order cancelled by the clerk at the server's time, unless it is marked already.
void StampCancellation(TClientDataSetEx& cds, const TClerk& clerk);
// Takes reason and mark away again.
void ClearCancellation(TClientDataSetEx& cds);
// The reason belongs to one status: with it the reason is required (else `missingReason` is the violation)
// and the cancellation stamped; with any other a reason left over is cleared.
void RequireReasonFor(TClientDataSetEx& cds, int status, const TClerk& clerk, const QString& missingReason);
// Who changed the row last: the host's employee and site. The last step of every before-post handler.
void StampModifier(TClientDataSetEx& cds);

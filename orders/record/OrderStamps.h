#pragma once

#include "framework/RowFields.h"
#include "framework/RowRules.h"

// What the before-post rules of the order screens stamp on the row in edit.

// Who posts: the login site and the login employee's name, as a screen took them when it was created.
struct TClerk {
    QString site;
    QString employeeName;
};

TClerk LoginClerk();

qint64 StatusOf(const TClientDataSetEx& cds);

// Marks the order cancelled by the clerk at the server's time, unless it is marked already.
void StampCancellation(TClientDataSetEx& cds, const TClerk& clerk);
// Takes reason and mark away again.
void ClearCancellation(TClientDataSetEx& cds);
// The reason belongs to one status: with it the reason is required (else `missingReason` is the violation)
// and the cancellation stamped; with any other a reason left over is cleared.
void RequireReasonFor(TClientDataSetEx& cds, int status, const TClerk& clerk, const QString& missingReason);
// Whom the host names as the one who works at this moment.
struct TModifier {
    QString employeeName;
    QString employeeCode;
    QString site;
};
TModifier PresentModifier();

// Who changed the row last: the host's employee and site. The last step of every before-post handler.
void StampModifier(TClientDataSetEx& cds);
// The same where many rows are posted at one moment.
void StampModifier(TClientDataSetEx& cds, const TModifier& modifier);
// The same from the site that the screen took when it was created.
void StampModifier(TClientDataSetEx& cds, const QString& site);

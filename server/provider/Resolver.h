#pragma once

#include "server/provider/AuditFields.h"
#include "server/provider/Policy.h"
#include "server/storage/Connection.h"

namespace server {

// Rows that the account may not write, of one change log.
struct ForbiddenRows {
    QString table;
    int count = 0;
    QString first; // its key
};

// What became of a change log, and the bytes that it left in the audit.
struct Applied {
    wire::ApplyOutcome outcome;
    qint64 audited = 0;
};

// Applies a change log to the table that its command text selects from, in the caller's transaction, with its
// audit entries. A row is changed only where it still is as its sender read it: same key, same old values of
// what is changed and of the guard columns; and only where the account may write it. maxErrors: -1 every row
// on its own; N >= 0: more than N refusals undo all. Raises wire::Error where the log as a whole cannot be
// applied.
Applied ApplyChanges(storage::Connection& connection, const wire::ChangeLog& log, int maxErrors,
    const Caller& caller, const Permissions& permissions, ForbiddenRows& forbidden);

} // namespace server

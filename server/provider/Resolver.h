#pragma once

#include "server/provider/AuditFields.h"
#include "server/storage/Storage.h"

namespace server {

// Applies a change log to the table that its command text selects from, in the caller's transaction, with its
// audit entries. A row is changed only where it still is as its sender read it: same key, same old values of
// what is changed and of the guard columns. maxErrors: -1 every row on its own; N >= 0: more than N refusals
// undo all. Raises wire::Error where the log as a whole cannot be applied.
wire::ApplyOutcome ApplyChanges(
    storage::Connection& connection, const wire::ChangeLog& log, int maxErrors, const Caller& caller);

} // namespace server

#pragma once

#include "server/storage/Pool.h"
#include "wire/Messages.h"

#include <chrono>
#include <optional>

// What became of change logs, kept in the database by their names, so that one that is sent again (its answer
// was lost, perhaps to another server over the same database) is answered and not applied.
namespace server {

// Of everything that a change log asks for: two logs with the same digest are taken for the same.
quint64 DigestOf(const wire::ChangeLog& log, int maxErrors);

// Raised where the log has been applied before, with what became of it then.
struct AppliedBefore {
    wire::ApplyOutcome outcome;
};

// Call inside the transaction that applies the log, before anything is done in it: raises AppliedBefore, or
// wire::Error where another account (Policy) or another log (Data) used the name, at once or out of the next
// call that reaches the database.
void RequireNew(
    storage::OwnStatements& statements, const wire::ApplyName& name, const QString& account, quint64 digest);
// Raises wire::Error (Limit) where no reply can hold the outcome: to be known while all can be undone.
void RequireSendable(const wire::ApplyOutcome& outcome);
// By the commit. Where the same log is being applied elsewhere this raises storage::TryAgain (Conflict), or
// the commit does: its outcome is there to be found once this transaction has been undone. Gives the bytes.
qint64 RememberOutcome(storage::OwnStatements& statements, const wire::ApplyName& name,
    const QString& account, quint64 digest, const wire::ApplyOutcome& outcome);

// Forgets outcomes that nobody will ask for any more: a connection that still repeats a save does so within
// minutes. What looks a week old is deleted by the next call that comes half an hour of running time later:
// the wall clock may have leapt, and what was written a minute ago may look old to it.
class OutcomeTidier {
public:
    using Clock = std::chrono::steady_clock;

    // From one thread at a time. Raises wire::Error.
    void Tidy(storage::ConnectionPool& pool, Clock::time_point now, qint64 unixNow);

private:
    std::optional<qint64> old_; // what was written before that may go, from `from_` on
    Clock::time_point from_;
};

} // namespace server

#pragma once

#include "server/storage/Storage.h"
#include "wire/Messages.h"

#include <optional>

// What became of change logs, kept in the database by their names, so that one that is sent again (its answer
// was lost, perhaps to another server over the same database) is answered and not applied.
namespace server {

// The remembered outcome. Raises wire::Error (Policy) where another account used the name. Call inside the
// transaction that would apply the log.
std::optional<wire::ApplyOutcome> FindOutcome(
    storage::Connection& connection, const wire::ApplyName& name, const QString& account);
// Raises storage::TryAgain (Conflict) where the same log is being applied elsewhere: its outcome is there to
// be found once this transaction has been undone.
void RememberOutcome(storage::Connection& connection, const wire::ApplyName& name, const QString& account,
    const wire::ApplyOutcome& outcome);
// Forgets what nobody will ask for any more: a connection that still repeats a save does so within minutes.
void PruneOutcomes(storage::Connection& connection);

} // namespace server

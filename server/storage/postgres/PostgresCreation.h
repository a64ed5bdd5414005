#pragma once

#include "server/storage/Backend.h"
#include "server/storage/postgres/Libpq.h"

namespace storage::postgres {

// Makes the connection's schema ready to serve: an empty one is given tables and functions, and demo data
// where the options ask for it, in one transaction; one of ours is brought up to date. Where several servers
// start at once, one of them does it. Raises wire::Error (Storage): the schema belongs to something else, or
// to a newer program.
void EnsureSchema(Link& link, const OpenOptions& options);

} // namespace storage::postgres

#pragma once

#include "server/storage/Backend.h"

namespace storage {

// The company's tables in a PostgreSQL database (15 or newer): `uri` as libpq takes it, several hosts
// included. An empty one is made and filled first. Opening raises wire::Error (Storage), TryAgain where the
// database cannot be reached.
Opener PostgresAt(const QString& uri);

} // namespace storage

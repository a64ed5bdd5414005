#pragma once

#include "server/Server.h"
#include "server/storage/Storage.h"

namespace storage {

// The company's tables in a PostgreSQL database (15 or newer): `uri` as libpq takes it, several hosts
// included. An empty one is filled as the options say, and clients are answered once it is. Raises
// wire::Error (Storage), TryAgain where the database cannot be reached.
std::unique_ptr<Backend> OpenPostgres(const QString& uri, const server::Options& options, wire::DateTime now);

} // namespace storage

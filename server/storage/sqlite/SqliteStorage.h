#pragma once

#include "server/storage/Storage.h"

#include <QString>

namespace server {
struct Options;
}

namespace storage {

// The embedded database in the folder `options.dataDir`; made, and filled, when it is not there. Raises
// wire::Error (Storage).
std::unique_ptr<Backend> OpenSqlite(const server::Options& options, wire::DateTime now);

} // namespace storage

#pragma once

#include "server/Server.h"

namespace storage {

// Makes sure that the folder holds a complete database and gives the path of its file. A new one is built
// under another name and takes its own only when it is whole, so that one whose making was cut short is never
// used. Raises wire::Error (Storage).
QString EnsureDatabase(const server::Options& options, wire::DateTime now);

} // namespace storage

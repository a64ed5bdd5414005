#pragma once

#include "server/storage/Backend.h"

namespace storage {

// The embedded database in a folder; made, and filled, when it is not there. Opening raises wire::Error
// (Storage).
Opener SqliteIn(const QString& folder);

} // namespace storage

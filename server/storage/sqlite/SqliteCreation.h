#pragma once

#include "server/storage/Backend.h"

namespace storage::sqlite {

// Makes sure that the folder holds a complete database and gives the path of its file. A new one is built
// under another name and takes its own only when it is whole, so that one whose making was cut short is never
// used. Raises wire::Error (Storage).
QString EnsureDatabase(const QString& folder, const OpenOptions& options);

} // namespace storage::sqlite

#pragma once

#include "server/storage/Backend.h"

namespace storage::sqlite {

// Makes sure that the folder holds a complete database and gives the path of its file. A new one is built
// under another name and takes its own only when it is whole, so that one whose making was cut short is never
// used. Raises wire::Error (Storage).
QString EnsureDatabase(const QString& folder, const OpenOptions& options);

// An empty file that nobody but its owner may read; what SQLite puts beside it is like it. Raises wire::Error
// (Storage) where it cannot be made.
void MakeForOwnerAlone(const QString& path);

} // namespace storage::sqlite

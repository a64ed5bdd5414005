#pragma once

#include <QString>

namespace storage {

// Copies the database of a folder into a file, as it stands at one moment, while others read and write it.
// The file is checked and on the disk before it takes its name; one that is there already is replaced. Gives
// its size in bytes. Raises wire::Error (Storage).
qint64 BackUpDatabase(const QString& dataDir, const QString& file);

} // namespace storage

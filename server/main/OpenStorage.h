#pragma once

#include "server/provider/Options.h"

namespace server {

class Settings;

// The options that `data`, `storage`, `connections` and `demo` stand for, with the way to open the database
// that they name. Raises UsageError where they name none, or one that this program was built without.
Options StorageOptions(const Settings& settings);

// Whether a storage's text holds a password.
bool HasPassword(const QString& storage);

} // namespace server

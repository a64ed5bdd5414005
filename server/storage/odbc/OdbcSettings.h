#pragma once

#include <QString>

namespace storage::odbc {

// A connection string taken apart.
struct Settings {
    QString database; // as Qt's driver wants it, with user and password
    QString schema; // ZELMOR_SCHEMA; empty: the user's own
    QString password; // to be kept out of whatever is said
    QString place; // for administrators: data source or server, and user
};

// Raises wire::Error (Usage, Storage): malformed, or the password file cannot be read.
Settings ReadSettings(const QString& connection);

} // namespace storage::odbc

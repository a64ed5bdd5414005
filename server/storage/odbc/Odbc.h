#pragma once

#include "server/storage/Backend.h"

namespace storage {

// A database that belongs to the company, through ODBC. Needs a QCoreApplication, whose plugins it
// uses.
//
// `connection` is what ODBC takes, "DSN=…;UID=…;PWD=…" or "DRIVER={…};…", with two settings of our own, which
// the driver never sees:
//     ZELMOR_SCHEMA         whose tables they are, where it is not the user's own schema
//     ZELMOR_PASSWORD_FILE  a file whose first line is the password, so that it stands in no process list
// The company's tables must be there; the server's own are made where they are missing. Demo data are
// refused. Opening raises wire::Error (Storage, Usage) with a message that says what to do.
Opener OdbcThrough(const QString& connection);

} // namespace storage

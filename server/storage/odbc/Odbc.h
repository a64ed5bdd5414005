#pragma once

#include "server/Server.h"
#include "server/storage/Storage.h"

#include <memory>

namespace storage {

// Opens a database that belongs to the company, through ODBC. Needs a QCoreApplication, whose plugins it
// uses.
//
// `connection` is what ODBC takes, "DSN=…;UID=…;PWD=…" or "DRIVER={…};…", with two settings of our own, which
// the driver never sees:
//     ZELMOR_SCHEMA         whose tables they are, where it is not the user's own schema
//     ZELMOR_PASSWORD_FILE  a file whose first line is the password, so that it stands in no process list
// The company's tables must be there; the server's own are made where they are missing. `options.demo` is
// refused. Raises wire::Error (Storage, Usage) with a message that says what to do.
std::unique_ptr<Backend> OpenOdbc(
    const QString& connection, const server::Options& options, wire::DateTime now);

} // namespace storage

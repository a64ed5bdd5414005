#pragma once

#include <sqlite3.h>

namespace dialect {

// What a function's error carries as its result code, with the message for the user in sqlite3_errmsg: a
// value that cannot be converted, a division by zero, a scalar subquery of two rows, a loop in a tree. To be
// handed on as wire::ErrorKind::Data.
constexpr int kDataErrorCode = SQLITE_MISMATCH;

// Gives a connection the functions that translated statements call. Needed on every connection that runs one.
// Returns SQLite's result code.
int RegisterFunctions(sqlite3* database);

} // namespace dialect

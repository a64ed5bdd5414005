#pragma once

#include <sqlite3.h>

#include <functional>

namespace dialect {

// What a function's error carries as its result code, with the message for the user in sqlite3_errmsg: a
// value that cannot be converted, a division by zero, a scalar subquery of two rows, a loop in a tree. To be
// handed on as wire::ErrorKind::Data.
constexpr int kDataErrorCode = SQLITE_MISMATCH;

// What the functions of one connection ask, every megabyte or so of text that they work on, whether to end
// the statement as interrupted. SQLite itself asks between its instructions only, and one call may take long.
struct FunctionWatch {
    std::function<bool()> shouldStop;
    size_t bytes = 0; // worked on since it was asked
};

// Gives a connection the functions that translated statements call. Needed on every connection that runs one.
// Returns SQLite's result code.
// `watch` outlives the connection.
int RegisterFunctions(sqlite3* database, FunctionWatch* watch = nullptr);

} // namespace dialect

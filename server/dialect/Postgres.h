#pragma once

#include "wire/Error.h"

#include <optional>
#include <string>
#include <string_view>

// What a PostgreSQL database (15 or newer) needs beside its tables for statements translated with
// Target::Postgres, and what its errors mean.
namespace dialect {

// The functions that translated statements call, in the schema `zelmor`, as one text of several statements
// that replaces whatever older ones are there; to be run in one transaction, by one program at a time.
// `orafce`: the extension is installed in the database; its functions serve where theirs is the same meaning.
std::string PostgresFunctionsText(bool orafce);

// The schema's comment says which functions the database has:
//   select obj_description(to_regnamespace('zelmor'), 'pg_namespace')
// True when `comment` (empty: none) shows that PostgresFunctionsText must be run. Functions newer than this
// program's stay: they serve older programs too.
bool PostgresFunctionsAreOutdated(std::string_view comment, bool orafce);

// What an error of a translated statement says about its text or the data that it met: ErrorKind::Data or
// Syntax with the message for the user. Nothing when it says something about the database itself (connection,
// disk, locks, a statement that was stopped), which is for the caller to know.
std::optional<wire::Error> ErrorOfSqlState(std::string_view sqlState, const QString& message);

} // namespace dialect

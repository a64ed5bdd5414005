#pragma once

#include "company/Tables.h"
#include "server/storage/odbc/OdbcDatabase.h"

namespace storage::odbc {

// How the tables that the server keeps for itself are made: one statement each, without a semicolon.
QStringList CreateStatements(Product product, const company::Table& table);
// All of them with their first row, as a script for the administrator of an Oracle database.
QString OracleScript();

// Makes what is missing of the server's own tables and checks their version. Raises wire::Error (Storage).
void EnsureOwnTables(Database& database);

} // namespace storage::odbc

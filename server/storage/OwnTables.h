#pragma once

#include "company/Tables.h"

#include <vector>

// The tables that the server keeps for itself; clients reach none of them. Kept in types that every database
// has: what is bytes is kept as text.
namespace storage {

// Of these tables and of everything else that a new database is made with.
inline constexpr int kSchemaVersion = 2;

const company::Table& MetaTable(); // NAME, VALUE
const company::Table& AccountTable();
const company::Table& AuditTable();
const company::Table& OutcomeTable(); // what became of change logs, by their names
const std::vector<company::Table>& OwnTables();

// Rows of MetaTable that a finished database has; `demo` is its size, empty without demo data.
std::vector<std::vector<wire::Value>> MetaRows(const QString& demo);

} // namespace storage

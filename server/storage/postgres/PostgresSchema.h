#pragma once

#include "company/Tables.h"
#include "server/storage/postgres/Libpq.h"

// The tables as PostgreSQL makes them.
namespace storage::postgres {

// Numbers the rows of the company's tables in the order in which they were stored; trees are walked in it.
inline constexpr auto kRowColumn = "zelmor_row";

// In lower case and in double quotes.
std::string NameOf(const QString& name);
// Names one after the other, as a list.
std::string NamesOf(const std::vector<QString>& names);

// The key is one whole number, which the database gives to rows that come without.
bool HasNumberedKey(const company::Table& table);

enum class RowOrder { Kept, Unknown };
// Without its keys and indexes, which are made faster over all rows at once.
std::string CreateTableText(const company::Table& table, RowOrder order);
std::vector<std::string> CreateIndexTexts(const company::Table& table);

} // namespace storage::postgres

#pragma once

#include "server/dialect/Dialect.h"

// What clients may do: read the company's tables, write those that are open to them, and nothing else. All
// raise wire::Error (Policy).
namespace server {

void RequireReadable(const std::vector<QString>& tables);
void RequireWritable(const QString& table);
// One select over readable tables; one update of a writable one.
void RequireQuery(const dialect::Translation& translation);
void RequireUpdate(const dialect::Translation& translation);

} // namespace server

#pragma once

#include "server/dialect/Dialect.h"
#include "server/storage/Sqlite.h"

#include <QHash>

namespace storage {

// The tables of a database as it declares them itself: column types, widths, primary keys, indexes. Read
// once; never changes afterwards, so it may be shared between threads.
class DatabaseCatalog final : public dialect::Catalog {
public:
    explicit DatabaseCatalog(Database& database);
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    QHash<QString, dialect::CatalogTable> tables_; // by upper-case name
};

// Columns whose old values travel with every change of their row and must still stand when it is stored: who
// has the order, and how far it has come.
bool IsGuardColumn(QStringView name);

} // namespace storage

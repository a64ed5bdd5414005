#pragma once

#include "server/dialect/Dialect.h"
#include "server/storage/sqlite/Sqlite.h"

#include <QHash>

namespace storage::sqlite {

// The tables of a database as it declares them itself: column types, widths, primary keys, indexes. Read
// once; never changes afterwards, so it may be shared between threads.
class SqliteCatalog final : public dialect::Catalog {
public:
    explicit SqliteCatalog(Database& database);
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    QHash<QString, dialect::CatalogTable> tables_; // by upper-case name
};

} // namespace storage::sqlite

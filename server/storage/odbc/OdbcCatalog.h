#pragma once

#include "server/dialect/Dialect.h"
#include "server/storage/odbc/OdbcDatabase.h"

#include <QHash>

namespace storage::odbc {

// The company's tables and the server's own, as the database itself describes them. Names are those of our
// schema, whatever case the database keeps them in. Never changes once it is read.
class OdbcCatalog final : public dialect::Catalog {
public:
    // Tables that are not there, or not open to the server's user, are left out and named in the log. Raises
    // wire::Error.
    explicit OdbcCatalog(Database& database);
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    QHash<QString, dialect::CatalogTable> tables_; // by upper-case name
};

} // namespace storage::odbc

#pragma once

#include "company/Tables.h"
#include "server/dialect/Dialect.h"
#include "server/storage/odbc/OdbcDatabase.h"

#include <QHash>

namespace storage::odbc {

// The company's tables and the server's own, as the database itself describes them. Names are those of our
// schema, whatever case the database keeps them in.
class OdbcCatalog final : public dialect::Catalog {
public:
    // Tables that are not there, or not open to the server's user, are left out and named in the log. Raises
    // wire::Error (Storage) where that is all of them.
    void Read(Database& database, const std::vector<company::Table>& tables);
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    QHash<QString, dialect::CatalogTable> tables_; // by upper-case name
};

} // namespace storage::odbc

#pragma once

#include "server/dialect/Dialect.h"
#include "server/storage/postgres/Libpq.h"

#include <QHash>

namespace storage::postgres {

// The tables of the connection's own schema, as clients know them. Columns of types that clients do not know
// are left out, and so is what cannot be named in lower case.
class PostgresCatalog final : public dialect::Catalog {
public:
    explicit PostgresCatalog(Link& link);

    const dialect::CatalogTable* Find(QStringView tableName) const override;
    // The name of the constraint, as errors give it; empty where there is none.
    std::string PrimaryKeyOf(const dialect::CatalogTable& table) const;

private:
    void ReadColumns(Link& link);
    void ReadIndexes(Link& link);

    QHash<QString, dialect::CatalogTable> tables_; // by name in upper case
    QHash<QString, std::string> primaryKeys_; // by the table's name
};

} // namespace storage::postgres

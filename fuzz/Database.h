#pragma once

#include "fuzz/WritableTables.h"
#include "server/storage/sqlite/SqliteCatalog.h"

#include <QTemporaryDir>

#include <set>

namespace fuzz {

struct AuditEntry {
    QString table;
    QString action;
    QString key;
    std::set<QString> columns; // of its fields; none where they are no JSON
};

// A company's database, made as a server makes it, in memory where the system has such files; and a look at
// it from the side.
class Database {
public:
    Database();

    QString Folder() const { return folder_.path(); }
    storage::sqlite::Database& Base() { return *base_; }
    std::shared_ptr<const dialect::Catalog> Catalog() const { return catalog_; }

    void Insert(const company::Table& table, const std::vector<std::vector<wire::Value>>& rows);
    // The tables of Pristine() as they stand, without an order.
    std::vector<TableState> Tables();
    // In the order in which they were written.
    std::vector<AuditEntry> Audit();
    // Puts back what change logs have done.
    void Restore();

private:
    QTemporaryDir folder_;
    std::unique_ptr<storage::sqlite::Database> base_;
    std::shared_ptr<const dialect::Catalog> catalog_;
};

} // namespace fuzz

#pragma once

#include "server/provider/AuditFields.h"
#include "server/storage/Connection.h"

#include <optional>

namespace server {

class Permissions;

// A column of a change log that its table has.
struct TargetColumn {
    const dialect::CatalogColumn* stored;
    int key = -1; // position in the primary key
    bool guard = false;
    size_t position = 0; // in the change log
};

// The table of a change log, and how the log's columns stand to the table's.
class RowTarget {
public:
    using Columns = std::vector<const TargetColumn*>;

    // Raises wire::Error: Policy where the account may not write the table, Data where rows cannot be found
    // again.
    RowTarget(storage::Connection& connection, const wire::ChangeLog& log, const Permissions& permissions);

    const dialect::CatalogTable& Table() const noexcept { return *table_; }
    // nullptr for a column that the table lacks; raises wire::Error (Data) for one that the log lacks.
    const TargetColumn* Column(quint16 position) const;
    // By name, in either case; nullptr where log or table lacks it.
    const TargetColumn* Find(QStringView name) const;
    const Columns& Keys() const noexcept { return keys_; }
    // As reasons name it: in the clerks' language, or where there is nothing in it by its own name.
    QString CaptionOf(const TargetColumn& column) const;
    // The key is one whole number, which the database gives to rows that come without.
    bool KeyIsNumbered() const noexcept;

    // A stored row is read as the log's columns, then who changed it last: site and name.
    storage::WriteTarget ForWriting(const Caller& caller) const;
    // Who changed it last, of a row read so; leaves the values of the log's columns.
    QString TakeLastModifier(storage::Row& row) const;

private:
    const dialect::CatalogTable* table_ = nullptr;
    std::vector<std::optional<TargetColumn>> columns_; // parallel to the log's
    Columns keys_;
};

} // namespace server

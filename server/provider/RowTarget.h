#pragma once

#include "server/storage/Connection.h"

#include <optional>
#include <span>

namespace server {

// A column of a change log that its table has.
struct TargetColumn {
    QString name;
    QString caption; // as reasons name it
    std::string quotedName;
    std::string jsonName;
    wire::ColumnType type = wire::ColumnType::Text;
    int width = 0; // text: most characters, 0 when unknown
    int key = -1; // position in the primary key
    bool guard = false;
    size_t position = 0; // in the change log
};

// The table of a change log and the SQL that touches its rows one at a time.
class RowTarget {
public:
    using Columns = std::vector<const TargetColumn*>;

    // Raises wire::Error: Policy where clients may not write the table, Data where rows cannot be found
    // again.
    RowTarget(storage::Connection& connection, const wire::ChangeLog& log);

    const dialect::CatalogTable& Table() const noexcept { return *table_; }
    // nullptr for a column that the table lacks; raises wire::Error (Data) for one that the log lacks.
    const TargetColumn* Column(quint16 position) const;
    const Columns& Keys() const noexcept { return keys_; }
    // The key is one whole number, which the database gives to rows that come without.
    bool KeyIsNumbered() const noexcept;

    // Parameters: what is set, the key, what must still stand.
    std::string UpdateText(const Columns& sets, const Columns& checks) const;
    std::string InsertText(const Columns& sets) const;
    std::string DeleteText(const Columns& checks) const;

    // The row's values, parallel to the log's columns (null where the table lacks one); nullopt when it is
    // gone.
    std::optional<std::vector<wire::Value>> Present(std::span<const wire::Value> key);
    // Who changed the row last, where the table says so: site and name.
    QString LastModifier(std::span<const wire::Value> key);

private:
    std::string WhereKey(const Columns& checks) const;

    storage::Database& database_;
    const dialect::CatalogTable* table_ = nullptr;
    std::vector<std::optional<TargetColumn>> columns_; // parallel to the log's
    Columns keys_;
    std::optional<storage::Statement> present_;
};

} // namespace server

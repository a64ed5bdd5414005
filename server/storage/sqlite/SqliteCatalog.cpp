#include "server/storage/sqlite/SqliteCatalog.h"

#include "company/Tables.h"

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage::sqlite {
namespace {

struct DeclaredType {
    wire::ColumnType type;
    int width = 0;
};

// TEXT, TEXT(n), INTEGER, NUMBER, DATE; anything else (bytes) is not for queries.
std::optional<DeclaredType> ReadType(const QString& declared)
{
    if (declared == u"INTEGER"_s)
        return DeclaredType{wire::ColumnType::Integer};
    if (declared == u"NUMBER"_s)
        return DeclaredType{wire::ColumnType::Number};
    if (declared == u"DATE"_s)
        return DeclaredType{wire::ColumnType::DateTime};
    if (declared == u"TEXT"_s)
        return DeclaredType{wire::ColumnType::Text};
    if (declared.startsWith(u"TEXT("_s))
        return DeclaredType{wire::ColumnType::Text, declared.sliced(5).chopped(1).toInt()};
    return std::nullopt;
}

} // namespace

SqliteCatalog::SqliteCatalog(Database& database)
{
    Statement names =
        database.Prepare("select name from sqlite_schema where type = 'table' and name not like 'sqlite_%'");
    Statement columns =
        database.Prepare("select name, upper(type), pk from pragma_table_info(?1) order by cid");
    Statement indexes = database.Prepare("select name, origin from pragma_index_list(?1)");
    Statement indexColumns = database.Prepare("select name from pragma_index_info(?1) order by seqno");
    while (names.Step()) {
        dialect::CatalogTable table;
        table.name = names.Text(0);
        const company::Table* definition = company::FindTable(table.name);
        columns.Bind(1, table.name);
        while (columns.Step()) {
            const auto type = ReadType(columns.Text(1));
            if (!type)
                continue;
            const QString name = columns.Text(0);
            const company::Column* known = definition != nullptr ? definition->Find(name) : nullptr;
            table.columns.push_back(
                {name, type->type, type->width, columns.Integer(2) > 0, known != nullptr && known->guarded});
        }
        columns.Reset();
        // A primary key's own index has no name in this database; the schema knows the one that hints use.
        indexes.Bind(1, table.name);
        while (indexes.Step()) {
            const QString name = indexes.Text(0);
            const bool primary = indexes.Text(1) == u"pk"_s;
            table.indexes.push_back(primary && definition != nullptr ? definition->primaryKeyName : name);
            std::vector<QString>& columnNames = table.indexColumns.emplace_back();
            indexColumns.Bind(1, name);
            while (indexColumns.Step())
                columnNames.push_back(indexColumns.Text(0));
            indexColumns.Reset();
        }
        indexes.Reset();
        // A key of one whole number is the table's own order and has no index at all.
        if (definition != nullptr
            && std::ranges::find(table.indexes, definition->primaryKeyName) == table.indexes.end()) {
            table.indexes.push_back(definition->primaryKeyName);
            table.indexColumns.push_back(definition->primaryKey);
        }
        tables_.insert(table.name.toUpper(), table);
    }
}

const dialect::CatalogTable* SqliteCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.constFind(tableName.toString().toUpper());
    return found == tables_.constEnd() ? nullptr : &*found;
}

} // namespace storage::sqlite

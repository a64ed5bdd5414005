#include "server/storage/DatabaseCatalog.h"

#include "demo/Schema.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

struct DeclaredType {
    wire::ColumnType type;
    int width = 0;
};

// TEXT(n), INTEGER, NUMBER, DATE; anything else (bytes) is not for queries.
std::optional<DeclaredType> ReadType(const QString& declared)
{
    if (declared == u"INTEGER"_s)
        return DeclaredType{wire::ColumnType::Integer};
    if (declared == u"NUMBER"_s)
        return DeclaredType{wire::ColumnType::Number};
    if (declared == u"DATE"_s)
        return DeclaredType{wire::ColumnType::DateTime};
    if (declared.startsWith(u"TEXT"_s))
        return DeclaredType{wire::ColumnType::Text, declared.mid(5).chopped(1).toInt()};
    return std::nullopt;
}

} // namespace

DatabaseCatalog::DatabaseCatalog(Database& database)
{
    Statement names =
        database.Prepare("select name from sqlite_schema where type = 'table' and name not like 'sqlite_%'");
    Statement columns =
        database.Prepare("select name, upper(type), pk from pragma_table_info(?1) order by cid");
    Statement indexes = database.Prepare("select name from pragma_index_list(?1) where origin = 'c'");
    while (names.Step()) {
        dialect::CatalogTable table;
        table.name = names.Text(0);
        columns.Bind(1, table.name);
        while (columns.Step()) {
            if (const auto type = ReadType(columns.Text(1)))
                table.columns.push_back({columns.Text(0), type->type, type->width, columns.Integer(2) > 0});
        }
        columns.Reset();
        // A primary key's own index has no name in this database; the schema knows the one that hints use.
        if (const demo::TableDef* definition = demo::FindTable(table.name))
            table.indexes.push_back(definition->primaryKeyName);
        indexes.Bind(1, table.name);
        while (indexes.Step())
            table.indexes.push_back(indexes.Text(0));
        indexes.Reset();
        tables_.insert(table.name.toUpper(), std::move(table));
    }
}

const dialect::CatalogTable* DatabaseCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.constFind(tableName.toString().toUpper());
    return found == tables_.constEnd() ? nullptr : &*found;
}

bool IsGuardColumn(QStringView name)
{
    return name.compare(u"STATUS", Qt::CaseInsensitive) == 0
        || name.compare(u"REC_SITE", Qt::CaseInsensitive) == 0
        || name.compare(u"PREPARE_SITE", Qt::CaseInsensitive) == 0;
}

} // namespace storage

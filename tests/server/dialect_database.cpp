#include "tests/server/dialect_database.h"

#include <algorithm>
#include <array>

SchemaCatalog::SchemaCatalog(const QString& rowColumn)
{
    for (const demo::TableDef& definition : demo::Schema()) {
        dialect::CatalogTable table;
        table.name = definition.name;
        for (const demo::ColumnDef& column : definition.columns) {
            const bool key =
                std::ranges::find(definition.primaryKey, column.name) != definition.primaryKey.end();
            table.columns.push_back({column.name, column.type, column.width, key});
        }
        table.indexes.push_back(definition.primaryKeyName);
        table.indexColumns.push_back(definition.primaryKey);
        for (const demo::IndexDef& index : definition.indexes) {
            table.indexes.push_back(index.name);
            table.indexColumns.push_back(index.columns);
        }
        table.rowColumn = rowColumn;
        tables_.emplace(definition.name.toUpper(), std::move(table));
    }
}

const dialect::CatalogTable* SchemaCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.find(tableName.toString().toUpper());
    return found == tables_.end() ? nullptr : &found->second;
}

DialectDatabase::DialectDatabase(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target)
    : translator_(std::move(catalog), target)
{
}

DialectDatabase& DialectDatabase::Of(Kind kind)
{
    static std::array<std::unique_ptr<DialectDatabase>, 3> databases;
    std::unique_ptr<DialectDatabase>& database = databases[static_cast<size_t>(kind)];
    if (!database)
        database = kind == Kind::Sqlite ? MakeSqlite() : MakePostgres(kind == Kind::PostgresWithOrafce);
    return *database;
}

std::string DialectDatabase::NameOf(const ::testing::TestParamInfo<Kind>& kind)
{
    constexpr std::array kNames{"Sqlite", "Postgres", "PostgresWithOrafce"};
    return kNames[static_cast<size_t>(kind.param)];
}

QString DialectDatabase::Cell(const QString& sql)
{
    const wire::RowSet rows = Query(sql);
    return rows.RowCount() == 0 ? QStringLiteral("(no row)") : wire::ToText(rows.columns.front().ValueAt(0));
}

const wire::Value& DialectDatabase::Bound(const dialect::Translated& translated, size_t parameter) const
{
    const dialect::Parameter& which = translated.translation->parameters[parameter];
    return which.source == dialect::Parameter::Source::Now
        ? now_
        : translated.literals[static_cast<size_t>(which.literal)];
}

#include "tests/server/dialect_database.h"

#include "server/provider/ApplicationServer.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/postgres/PostgresStorage.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/RowKeeper.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

// What the server takes for a fault of the data is here one of the translation, unless the dialect itself
// says so.
template <typename Work> auto WithoutExcuse(Work&& work)
{
    try {
        return work();
    } catch (const wire::Error& error) {
        const bool refused = error.Message().startsWith(server::texts::DatabaseError().chopped(1));
        if (error.Kind() == wire::ErrorKind::Syntax || refused)
            throw wire::Error(wire::ErrorKind::Storage, error.Message());
        throw;
    }
}

} // namespace

SchemaCatalog::SchemaCatalog()
{
    for (const company::Table& definition : company::Tables()) {
        dialect::CatalogTable table;
        table.name = definition.name;
        for (const company::Column& column : definition.columns) {
            const bool key =
                std::ranges::find(definition.primaryKey, column.name) != definition.primaryKey.end();
            table.columns.push_back({column.name, column.type, column.width, key, column.guarded});
        }
        table.indexes.push_back(definition.primaryKeyName);
        table.indexColumns.push_back(definition.primaryKey);
        for (const company::Index& index : definition.indexes) {
            table.indexes.push_back(index.name);
            table.indexColumns.push_back(index.columns);
        }
        tables_.emplace(definition.name.toUpper(), std::move(table));
    }
}

const dialect::CatalogTable* SchemaCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.find(tableName.toString().toUpper());
    return found == tables_.end() ? nullptr : &found->second;
}

DialectDatabase::DialectDatabase(Kind kind)
{
    if (kind != Kind::Sqlite)
        postgres_.emplace(kind == Kind::PostgresWithOrafce ? PostgresDatabase::Orafce::With
                                                           : PostgresDatabase::Orafce::Without);
    backend_ = (postgres_ ? storage::PostgresAt(postgres_->Uri()) : storage::SqliteIn(folder_.path()))({});
    connection_ = backend_->Connect();
}

DialectDatabase& DialectDatabase::Of(Kind kind)
{
    static std::array<std::unique_ptr<DialectDatabase>, 3> databases;
    std::unique_ptr<DialectDatabase>& database = databases[static_cast<size_t>(kind)];
    if (!database)
        database = std::make_unique<DialectDatabase>(kind);
    return *database;
}

std::string DialectDatabase::NameOf(const ::testing::TestParamInfo<Kind>& kind)
{
    constexpr std::array kNames{"Sqlite", "Postgres", "PostgresWithOrafce"};
    return kNames[static_cast<size_t>(kind.param)];
}

void DialectDatabase::Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now)
{
    now_ = now;
    connection_->Begin();
    for (const company::Table& table : company::Tables()) {
        const std::string name = table.name.toStdString();
        connection_->Change(postgres_ ? "truncate " + name + " restart identity" : "delete from " + name, {});
    }
    for (const conformance::TableRows& table : tables) {
        for (const std::vector<wire::Value>& row : table.rows)
            connection_->Insert(*table.table, row);
    }
    connection_->Commit();
}

wire::RowSet DialectDatabase::Query(const QString& sql)
{
    const dialect::Translated translated = connection_->Translate(sql);
    RowKeeper rows;
    rows.Columns(translated.translation->columns);
    WithoutExcuse([&] { return connection_->Query(translated, now_, {1'000'000, 0}, rows); });
    return std::move(rows.rows);
}

qint64 DialectDatabase::Execute(const QString& sql)
{
    const dialect::Translated translated = connection_->Translate(sql);
    return WithoutExcuse([&] { return connection_->Execute(translated, now_); });
}

QString DialectDatabase::Plan(const QString& sql)
{
    using enum wire::ColumnType;
    const dialect::Translated translated = connection_->Translate(sql);
    storage::Row parameters;
    for (const dialect::Parameter& parameter : translated.translation->parameters)
        parameters.push_back(parameter.source == dialect::Parameter::Source::Now
                ? wire::Value(now_)
                : translated.literals[static_cast<size_t>(parameter.literal)]);
    connection_->Begin();
    std::vector<wire::ColumnType> types{Integer, Integer, Integer, Text};
    std::string explain = "explain query plan ";
    if (postgres_) {
        // Of tables so small that every plan is as good: those with indexes are preferred.
        for (const char* setting : {"seqscan", "bitmapscan", "hashjoin", "mergejoin"})
            connection_->Change("set local enable_" + std::string(setting) + " = off", {});
        types = {Text};
        explain = "explain (costs off) ";
    }
    QString steps;
    for (const storage::Row& row :
        connection_->Select(explain + translated.translation->sql, parameters, types))
        steps += wire::ToText(row.back()) + u'\n';
    connection_->Rollback();
    return steps;
}

QString DialectDatabase::Cell(const QString& sql)
{
    const wire::RowSet rows = Query(sql);
    return rows.RowCount() == 0 ? QStringLiteral("(no row)") : wire::ToText(rows.columns.front().ValueAt(0));
}

std::optional<QStringList> DialectDatabase::SortedRows(const QString& sql)
{
    QStringList rows;
    try {
        const wire::RowSet result = Query(sql);
        for (qsizetype row = 0; row < result.RowCount(); ++row) {
            QStringList cells;
            for (const wire::Column& column : result.columns)
                cells += wire::ToText(column.ValueAt(row));
            rows += cells.join(u'|');
        }
    } catch (const wire::Error& error) {
        if (error.Kind() == wire::ErrorKind::Data)
            return std::nullopt;
        throw;
    }
    rows.sort();
    return rows;
}

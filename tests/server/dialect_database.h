#pragma once

#include "server/dialect/Dialect.h"
#include "tests/server/conformance/Suite.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

// The tables of the schema as the dialect sees them.
class SchemaCatalog final : public dialect::Catalog {
public:
    explicit SchemaCatalog(const QString& rowColumn = {});
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    std::map<QString, dialect::CatalogTable> tables_; // by upper-case name
};

// Translated statements on a database of their own, without a server around them.
class DialectDatabase : public conformance::Backend {
public:
    enum class Kind { Sqlite, Postgres, PostgresWithOrafce };

    // One of each kind in a program; what a test leaves there, the next finds. Raises wire::Error where there
    // is no PostgreSQL.
    static DialectDatabase& Of(Kind kind);

    static auto AllKinds()
    {
        return ::testing::Values(Kind::Sqlite, Kind::Postgres, Kind::PostgresWithOrafce);
    }
    static std::string NameOf(const ::testing::TestParamInfo<Kind>& kind);

    // The steps of the plan for the text, one a line.
    virtual QString Plan(const QString& sql) = 0;
    // The first cell of the first row.
    QString Cell(const QString& sql);

protected:
    DialectDatabase(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target);
    const wire::Value& Bound(const dialect::Translated& translated, size_t parameter) const;

    dialect::Translator translator_;
    wire::Value now_ = conformance::Now();
};

std::unique_ptr<DialectDatabase> MakeSqlite();
std::unique_ptr<DialectDatabase> MakePostgres(bool orafce);

#pragma once

#include "server/storage/Backend.h"
#include "tests/server/conformance/Suite.h"
#include "tests/support/PostgresDatabase.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>
#include <memory>

// The tables of the schema as the dialect sees them.
class SchemaCatalog final : public dialect::Catalog {
public:
    SchemaCatalog();
    const dialect::CatalogTable* Find(QStringView tableName) const override;

private:
    std::map<QString, dialect::CatalogTable> tables_; // by upper-case name
};

// Translated statements on a database of their own, in the server's storage without a server around it.
class DialectDatabase final : public conformance::Backend {
public:
    enum class Kind { Sqlite, Postgres, PostgresWithOrafce };

    // One of each kind in a program; what a test leaves there, the next finds. Raises wire::Error where there
    // is no PostgreSQL.
    static DialectDatabase& Of(Kind kind);
    explicit DialectDatabase(Kind kind);

    static auto AllKinds()
    {
        return ::testing::Values(Kind::Sqlite, Kind::Postgres, Kind::PostgresWithOrafce);
    }
    static std::string NameOf(const ::testing::TestParamInfo<Kind>& kind);

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override;
    // wire::Error (Storage) where the database does not take what the text has been translated to.
    wire::RowSet Query(const QString& sql) override;
    qint64 Execute(const QString& sql) override;
    // The steps of the plan for the text, one a line.
    QString Plan(const QString& sql);
    // Rows in no order, cells as text; nothing where the data forbid an answer. When that is noticed depends
    // on the order in which a database looks at conditions.
    std::optional<QStringList> SortedRows(const QString& sql);
    // The first cell of the first row.
    QString Cell(const QString& sql);

private:
    QTemporaryDir folder_;
    std::optional<PostgresDatabase> postgres_;
    std::unique_ptr<storage::Backend> backend_;
    std::unique_ptr<storage::Connection> connection_;
    wire::DateTime now_ = conformance::Now();
};

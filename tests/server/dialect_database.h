#pragma once

#include "server/dialect/Dialect.h"
#include "tests/server/conformance/Suite.h"

#include <sqlite3.h>

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

// Translated statements on a database in memory, without a server around them.
class DialectDatabase final : public conformance::Backend {
public:
    DialectDatabase();

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override;
    wire::RowSet Query(const QString& sql) override;
    qint64 Execute(const QString& sql) override;

    dialect::Translator& Translator() { return translator_; }
    sqlite3* Handle() const { return database_.get(); }
    // The first cell of the first row.
    QString Cell(const QString& sql);
    // The steps of SQLite's plan for the text, one a line.
    QString Plan(const QString& sql);

private:
    struct Closer {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using StatementPtr = std::unique_ptr<sqlite3_stmt, Finalizer>;

    StatementPtr Prepare(const std::string& sql);
    StatementPtr Prepare(const dialect::Translated& translated, const std::string& before = {});
    bool Step(const StatementPtr& statement);
    [[noreturn]] void Raise(int code) const;

    dialect::Translator translator_;
    std::unique_ptr<sqlite3, Closer> database_;
    wire::DateTime now_ = conformance::Now();
};

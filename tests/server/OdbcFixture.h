#pragma once

#include "server/storage/odbc/Odbc.h"
#include "server/storage/odbc/OdbcDatabase.h"
#include "server/storage/odbc/OdbcOwnTables.h"
#include "tests/server/ServerFixture.h"
#include "tests/support/PostgresDatabase.h"

#include <QCoreApplication>

namespace server::testing {

using storage::odbc::Product;

// A database as a company may have it, with its tables, reached by nothing but ODBC.
class OdbcCompany final : public OtherDatabase {
public:
    enum class Types { Plain, Oracles }; // those that orafce makes like Oracle's
    explicit OdbcCompany(Product product, Types types = Types::Plain)
    {
        // Drivers convert texts by the program's locale, which Qt settles with its application.
        static int count = 1;
        static char* names[] = {const_cast<char*>("test"), nullptr};
        if (QCoreApplication::instance() == nullptr)
            static QCoreApplication application(count, names);

        if (product == Product::Sqlite) {
            connection_ = u"DRIVER={SQLite3};SyncPragma=OFF;Database="_s + folder_.filePath(u"company.db"_s);
        } else {
            const bool orafce = types == Types::Oracles;
            postgres_.emplace(orafce ? PostgresDatabase::Orafce::With : PostgresDatabase::Orafce::Without);
            connection_ = u"DRIVER={PostgreSQL Unicode};Servername=%1;Database=%2;UID=zelmor"_s.arg(
                postgres_->Uri().section(u"host="_s, 1), postgres_->Name());
            if (orafce) {
                postgres_->Run(u"create schema company"_s);
                postgres_->Run(u"alter database %1 set search_path = oracle, pg_catalog, public"_s.arg(
                    postgres_->Name()));
                connection_ += u";ZELMOR_SCHEMA=company"_s;
            }
        }
        Over([&](storage::odbc::Database& database) {
            for (const company::Table& table : company::Tables()) {
                for (QString statement : storage::odbc::CreateStatements(product, table)) {
                    if (types == Types::Oracles)
                        statement.replace(u"timestamp(0)"_s, u"date"_s)
                            .replace(u"double precision"_s, u"numeric"_s);
                    database.Execute(statement);
                }
            }
        });
    }

    const QString& Connection() const { return connection_; }
    void Configure(Options& options) const override { options.open = storage::OdbcThrough(connection_); }
    void Run(const QString& sql) const override
    {
        Over([&](storage::odbc::Database& database) {
            // SQLite's driver takes one statement at a time.
            for (const QString& statement : sql.split(u"; "_s))
                database.Execute(statement);
        });
    }
    std::vector<std::optional<QString>> Texts(const QString& sql) const override
    {
        std::vector<std::optional<QString>> texts;
        Over([&](storage::odbc::Database& database) {
            storage::odbc::Statement statement = database.Prepare(sql);
            statement.Run();
            statement.ReadAs(std::array{wire::ColumnType::Text});
            while (statement.Next()) {
                const wire::Value value = statement.Value(0);
                texts.push_back(wire::IsNull(value) ? std::nullopt : std::optional(wire::ToText(value)));
            }
        });
        return texts;
    }
    QString Time(const QString& seconds) const override
    {
        return postgres_ ? u"timestamp '1970-01-01' + (%1) * interval '1 second'"_s.arg(seconds)
                         : u"datetime(%1, 'unixepoch')"_s.arg(seconds);
    }

    template <typename Work> void Over(Work&& work) const
    {
        storage::odbc::Database database(storage::odbc::ReadSettings(connection_), 60);
        work(database);
    }

private:
    std::optional<PostgresDatabase> postgres_;
    QTemporaryDir folder_;
    QString connection_;
};

} // namespace server::testing

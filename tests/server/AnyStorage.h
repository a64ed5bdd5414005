#pragma once

#include "server/storage/postgres/PostgresStorage.h"
#include "tests/server/OdbcFixture.h"
#include "tests/support/PostgresDatabase.h"

// What holds for the server whichever database stands behind it: TEST_P, instantiated for each.
namespace server::testing {

// The latter two only where a test says so, with ZELMOR_FOR_ODBC_TOO.
enum class StorageKind { Sqlite, Postgres, OdbcToSqlite, OdbcToPostgres };

inline void PrintTo(StorageKind kind, std::ostream* out)
{
    constexpr std::array kNames{"Sqlite", "Postgres", "OdbcToSqlite", "OdbcToPostgres"};
    *out << kNames.at(static_cast<size_t>(kind));
}

class OtherPostgres final : public OtherDatabase {
public:
    explicit OtherPostgres(PostgresDatabase::Orafce orafce = PostgresDatabase::Orafce::Without)
        : database_(orafce)
    {
    }
    void Configure(Options& options) const override { options.open = storage::PostgresAt(database_.Uri()); }
    void Run(const QString& sql) const override { database_.Run(sql); }
    std::vector<std::optional<QString>> Texts(const QString& sql) const override
    {
        return database_.Texts(sql);
    }
    QString Time(const QString& seconds) const override
    {
        return u"timestamp '1970-01-01' + (%1) * interval '1 second'"_s.arg(seconds);
    }

private:
    PostgresDatabase database_;
};

class AnyStorageTest : public ServerTest, public ::testing::WithParamInterface<StorageKind> {
protected:
    AnyStorageTest()
        : ServerTest(MakeDatabase())
    {
    }

private:
    static std::unique_ptr<OtherDatabase> MakeDatabase()
    {
        switch (GetParam()) {
        case StorageKind::Sqlite:
            break;
        case StorageKind::Postgres:
            return std::make_unique<OtherPostgres>();
        case StorageKind::OdbcToSqlite:
            return std::make_unique<OdbcCompany>(Product::Sqlite);
        case StorageKind::OdbcToPostgres:
            return std::make_unique<OdbcCompany>(Product::Postgres);
        }
        return nullptr;
    }
};

inline std::string NameOf(const ::testing::TestParamInfo<StorageKind>& info)
{
    return ::testing::PrintToString(info.param);
}

#define ZELMOR_FOR_EACH_STORAGE(suite)                                                                       \
    INSTANTIATE_TEST_SUITE_P(                                                                                \
        Each, suite, ::testing::Values(StorageKind::Sqlite, StorageKind::Postgres), NameOf)
#define ZELMOR_FOR_ODBC_TOO(suite)                                                                           \
    INSTANTIATE_TEST_SUITE_P(                                                                                \
        Odbc, suite, ::testing::Values(StorageKind::OdbcToSqlite, StorageKind::OdbcToPostgres), NameOf)

} // namespace server::testing

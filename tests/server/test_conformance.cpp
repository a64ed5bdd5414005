#include "tests/server/AnyStorage.h"
#include "tests/server/ServerBackend.h"
#include "tests/server/dialect_database.h"

namespace server::testing {
namespace {

class ServerConformance : public ::testing::TestWithParam<DialectDatabase::Kind> { };

// Every text of every screen gives the rows worked out by hand.
TEST_P(ServerConformance, EveryTextGivesItsRows)
{
    const auto tables = conformance::ReadTables();
    const auto cases = conformance::ReadCases();
    ASSERT_GT(cases.size(), 100U);
    ServerBackend backend([]() -> std::unique_ptr<OtherDatabase> {
        using Kind = DialectDatabase::Kind;
        if (GetParam() == Kind::Sqlite)
            return nullptr;
        return std::make_unique<OtherPostgres>(GetParam() == Kind::PostgresWithOrafce
                ? PostgresDatabase::Orafce::With
                : PostgresDatabase::Orafce::Without);
    });
    backend.Load(tables, conformance::Now());
    for (const conformance::Case& each : cases) {
        const QString fault = conformance::Check(each, backend);
        EXPECT_TRUE(fault.isEmpty()) << each.file.toStdString() << ":" << each.line << ": "
                                     << each.name.toStdString() << "\n"
                                     << fault.toStdString();
        if (each.changed)
            backend.Load(tables, conformance::Now());
    }
}

INSTANTIATE_TEST_SUITE_P(Databases, ServerConformance, DialectDatabase::AllKinds(), DialectDatabase::NameOf);

} // namespace
} // namespace server::testing

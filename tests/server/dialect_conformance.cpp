#include "tests/server/dialect_database.h"

#include <gtest/gtest.h>

namespace {

class DialectConformance : public ::testing::TestWithParam<DialectDatabase::Kind> { };

// Every text of every screen gives the rows worked out by hand.
TEST_P(DialectConformance, EveryTextGivesItsRows)
{
    const auto tables = conformance::ReadTables();
    const auto cases = conformance::ReadCases();
    ASSERT_GT(cases.size(), 100U);
    DialectDatabase& database = DialectDatabase::Of(GetParam());
    database.Load(tables, conformance::Now());
    for (const conformance::Case& each : cases) {
        const QString fault = conformance::Check(each, database);
        EXPECT_TRUE(fault.isEmpty()) << each.file.toStdString() << ":" << each.line << ": "
                                     << each.name.toStdString() << "\n"
                                     << fault.toStdString();
        if (each.changed)
            database.Load(tables, conformance::Now());
    }
}

INSTANTIATE_TEST_SUITE_P(Databases, DialectConformance, DialectDatabase::AllKinds(), DialectDatabase::NameOf);

} // namespace

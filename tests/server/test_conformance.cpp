#include "tests/server/AnyStorage.h"
#include "tests/server/dialect_database.h"

namespace server::testing {
namespace {

// The whole server as a client meets it: session, policy, storage.
class ServerBackend final : public conformance::Backend {
public:
    using Kind = DialectDatabase::Kind;
    explicit ServerBackend(Kind kind)
        : kind_(kind)
    {
    }

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override
    {
        client_.reset();
        server_.reset();
        folder_ = std::make_unique<QTemporaryDir>();
        if (kind_ != Kind::Sqlite)
            other_ = std::make_unique<OtherPostgres>(kind_ == Kind::PostgresWithOrafce
                    ? PostgresDatabase::Orafce::With
                    : PostgresDatabase::Orafce::Without);
        Options options;
        options.open = storage::SqliteIn(folder_->path());
        options.now = now;
        if (other_)
            other_->Configure(options);
        server_ = std::make_unique<ApplicationServer>(options);
        const std::unique_ptr<storage::Backend> backend = options.open({});
        const std::unique_ptr<storage::Connection> connection = backend->Connect();
        connection->Begin();
        for (const conformance::TableRows& table : tables) {
            for (const std::vector<wire::Value>& row : table.rows)
                connection->Insert(*table.table, row);
        }
        connection->Commit();
        server_->AddAccount({u"clerk"_s, u"secret"_s, u"E01"_s, {}, u"111"_s, Role::Headquarters});
        client_ = std::make_unique<Client>(*server_, u"clerk"_s, u"secret"_s);
    }
    wire::RowSet Query(const QString& sql) override { return client_->Query(sql); }
    qint64 Execute(const QString& sql) override { return client_->Execute(sql); }

private:
    Kind kind_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<OtherDatabase> other_;
    std::unique_ptr<ApplicationServer> server_;
    std::unique_ptr<Client> client_;
};

class ServerConformance : public ::testing::TestWithParam<DialectDatabase::Kind> { };

// Every text of every screen gives the rows worked out by hand.
TEST_P(ServerConformance, EveryTextGivesItsRows)
{
    const auto tables = conformance::ReadTables();
    const auto cases = conformance::ReadCases();
    ASSERT_GT(cases.size(), 100U);
    ServerBackend backend(GetParam());
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

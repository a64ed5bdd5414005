#include "tests/server/ServerFixture.h"
#include "tests/server/conformance/Suite.h"

namespace server::testing {
namespace {

// The whole server as a client meets it: session, policy, storage.
class ServerBackend final : public conformance::Backend {
public:
    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override
    {
        client_.reset();
        server_.reset();
        folder_ = std::make_unique<QTemporaryDir>();
        Options options;
        options.dataDir = folder_->path();
        options.now = now;
        server_ = std::make_unique<ApplicationServer>(options);
        storage::Database database(folder_->filePath(u"zelmor.db"_s), storage::OpenMode::Serve);
        database.Execute("begin");
        for (const conformance::TableRows& table : tables)
            Insert(database, table);
        database.Execute("commit");
        server_->AddAccount({u"clerk"_s, u"secret"_s, u"E01"_s, {}});
        client_ = std::make_unique<Client>(*server_, u"clerk"_s, u"secret"_s);
    }
    wire::RowSet Query(const QString& sql) override { return client_->Query(sql); }
    qint64 Execute(const QString& sql) override { return client_->Execute(sql); }

private:
    static void Insert(storage::Database& database, const conformance::TableRows& table)
    {
        std::string places;
        for (size_t i = 0; i < table.table->columns.size(); ++i)
            places += places.empty() ? "?" : ",?";
        storage::Statement insert =
            database.Prepare("insert into " + storage::Quoted(table.table->name) + " values(" + places + ")");
        for (const std::vector<wire::Value>& row : table.rows) {
            for (size_t i = 0; i < row.size(); ++i)
                insert.Bind(static_cast<int>(i) + 1, row[i]);
            insert.Execute();
        }
    }

    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<ApplicationServer> server_;
    std::unique_ptr<Client> client_;
};

TEST(ServerConformance, EveryTextGivesItsRows)
{
    const auto tables = conformance::ReadTables();
    const auto cases = conformance::ReadCases();
    ASSERT_FALSE(cases.empty());
    ServerBackend backend;
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

} // namespace
} // namespace server::testing

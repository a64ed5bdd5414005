#pragma once

#include "tests/server/ServerFixture.h"
#include "tests/server/conformance/Suite.h"

namespace server::testing {

// The whole server as a client meets it: session, policy, storage.
class ServerBackend final : public conformance::Backend {
public:
    // A new database, or none for the embedded one.
    using Maker = std::function<std::unique_ptr<OtherDatabase>()>;
    explicit ServerBackend(Maker maker)
        : maker_(std::move(maker))
    {
    }

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override
    {
        client_.reset();
        server_.reset();
        folder_ = std::make_unique<QTemporaryDir>();
        other_ = maker_();
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
    Maker maker_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<OtherDatabase> other_;
    std::unique_ptr<ApplicationServer> server_;
    std::unique_ptr<Client> client_;
};

} // namespace server::testing

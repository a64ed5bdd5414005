#include "server/provider/ApplicationServer.h"

#include "server/provider/ClientSession.h"
#include "server/provider/DemoData.h"
#include "server/refusal/UserTexts.h"

#include <QDateTime>
#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

// Rows that go to a client over the network at a time: long enough for the dictionaries to pay, short enough
// for it to decode the one while the next is read.
constexpr qsizetype kNetworkRows = 8 * wire::CellBlock::kRows;

// The way to the server from within its process: columns are moved, nothing is serialised.
class LocalTransport final : public wire::Transport {
public:
    explicit LocalTransport(ServerParts& server)
        : server_(server)
    {
    }

    void Connect() override
    {
        if (!session_)
            session_ = std::make_unique<ClientSession>(server_, u"local"_s, 0);
    }
    void Disconnect() noexcept override { session_.reset(); }
    bool IsConnected() const noexcept override { return session_ != nullptr; }

    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (!session_)
            throw wire::Error(wire::ErrorKind::Connection, texts::NotConnected());
        bool cancelled = false;
        if (KeepWaiting)
            session_->OnWait = [&] { return !(cancelled = cancelled || !KeepWaiting()); };
        const auto over = qScopeGuard([this] { session_->OnWait = nullptr; });
        try {
            return session_->Handle(request, sink);
        } catch (const wire::Error&) {
            if (cancelled)
                throw wire::Error(wire::ErrorKind::Cancelled, texts::Cancelled());
            throw;
        }
    }

private:
    ServerParts& server_;
    std::unique_ptr<ClientSession> session_;
};

class RowCollector final : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos& infos) override
    {
        for (const wire::ColumnInfo& info : *infos)
            rows.columns.emplace_back(info.type);
        rows.infos = *infos;
    }
    void Rows(std::vector<wire::Column> block) override
    {
        for (size_t i = 0; i < block.size(); ++i)
            rows.columns[i].AppendColumn(std::move(block[i]));
    }

    wire::RowSet rows;
};

} // namespace

class ApplicationServer::Private : public ServerParts {
    using ServerParts::ServerParts;
};

ApplicationServer::ApplicationServer(const Options& options)
    : d_(std::make_unique<Private>(options))
{
}

ApplicationServer::~ApplicationServer() = default;

std::unique_ptr<Session> ApplicationServer::NewSession(const QString& peer)
{
    return std::make_unique<ClientSession>(*d_, peer, kNetworkRows);
}

std::unique_ptr<wire::Transport> ApplicationServer::NewTransport()
{
    return std::make_unique<LocalTransport>(*d_);
}

wire::DateTime ApplicationServer::Now() const
{
    return d_->clock.Now();
}

QString ApplicationServer::StorageDescription() const
{
    return d_->pool.Base().Description();
}

storage::PoolState ApplicationServer::Pool()
{
    return d_->pool.State();
}

void ApplicationServer::Tidy()
{
    d_->outcomes.Tidy(d_->pool, std::chrono::steady_clock::now(), QDateTime::currentSecsSinceEpoch());
}

void ApplicationServer::AddAccount(const NewAccount& account)
{
    d_->accounts.Add(account, d_->clock.Now());
}

void ApplicationServer::SetPassword(const QString& account, const QString& password)
{
    d_->accounts.SetPassword(account, password);
}

void ApplicationServer::SetRole(const QString& account, std::optional<Role> role)
{
    d_->accounts.SetRole(account, role);
}

void ApplicationServer::RemoveAccount(const QString& account)
{
    d_->accounts.Remove(account);
}

std::vector<Account> ApplicationServer::Accounts()
{
    return d_->accounts.List();
}

std::vector<DemoAccount> ApplicationServer::DemoAccounts()
{
    return DemoAccountsIn(d_->pool);
}

wire::RowSet ApplicationServer::QueryAsAdministrator(const QString& sqlText)
{
    const auto connection = d_->pool.Lend();
    const dialect::Translated translated = connection->Translate(sqlText);
    if (translated.translation->kind != dialect::StatementKind::Select)
        throw wire::Error(wire::ErrorKind::Policy, texts::QueryExpected(), sqlText);
    RowCollector collector;
    collector.Columns(translated.translation->columns);
    connection->Query(translated, d_->clock.Now(), {d_->options.maxRows, 0}, collector);
    return std::move(collector.rows);
}

} // namespace server

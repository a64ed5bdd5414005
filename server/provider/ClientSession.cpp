#include "server/provider/ClientSession.h"

#include "server/provider/Outcomes.h"
#include "server/provider/Policy.h"
#include "server/provider/Resolver.h"
#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <chrono>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using storage::ConnectionPool;

namespace server {
namespace {

constexpr std::chrono::milliseconds kAskInterval(50);

} // namespace

// Ends what runs on a connection when its client is gone or its time is over.
class ClientSession::Watch final : public storage::StopSignal {
public:
    Watch(ClientSession& session, storage::Connection& connection)
        : session_(session)
        , connection_(connection)
        , thread_(std::this_thread::get_id())
        , begin_(std::chrono::steady_clock::now())
        , end_(begin_ + std::chrono::seconds(session.server_.options.maxSeconds))
        , nextAsk_(begin_ + kAskInterval)
    {
        connection_.SetStop(this);
    }
    ~Watch() override { connection_.SetStop(nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    bool ShouldStop() noexcept override
    {
        const auto now = std::chrono::steady_clock::now();
        timeOver_ = now > end_;
        // A database may ask from a thread of its own.
        if (session_.OnWait && now >= nextAsk_ && std::this_thread::get_id() == thread_) {
            if (!session_.OnWait())
                session_.interrupted_ = true;
            nextAsk_ = std::chrono::steady_clock::now() + kAskInterval;
        }
        return timeOver_ || session_.interrupted_;
    }
    bool TimeIsOver() const noexcept { return timeOver_; }

private:
    ClientSession& session_;
    storage::Connection& connection_;
    const std::thread::id thread_;
    const std::chrono::steady_clock::time_point begin_;
    const std::chrono::steady_clock::time_point end_;
    std::chrono::steady_clock::time_point nextAsk_;
    std::atomic<bool> timeOver_{false};
};

// What has reached the client cannot be read anew.
class ClientSession::WatchedSink final : public wire::ReplySink {
public:
    explicit WatchedSink(wire::ReplySink& sink)
        : sink_(sink)
    {
    }
    bool HasRows() const noexcept { return hasRows_; }

    void Columns(const wire::ColumnInfos& infos) override
    {
        if (!std::exchange(hasColumns_, true))
            sink_.Columns(infos);
    }
    void Rows(std::vector<wire::Column> block) override
    {
        hasRows_ = true;
        sink_.Rows(std::move(block));
    }
    void Cells(const std::vector<wire::CellBlock>& block) override
    {
        hasRows_ = true;
        sink_.Cells(block);
    }

private:
    wire::ReplySink& sink_;
    bool hasColumns_ = false;
    bool hasRows_ = false;
};

ClientSession::ClientSession(ServerParts& server, const QString& peer, qsizetype rowsPerReply)
    : server_(server)
    , peer_(peer)
    , rowsPerReply_(rowsPerReply)
{
}

wire::Reply ClientSession::Handle(const wire::Request& request, wire::ReplySink& sink)
{
    interrupted_ = false;
    wire::Reply reply;
    if (!loggedIn_ && request.kind != wire::RequestKind::Login)
        throw wire::Error(wire::ErrorKind::Login, texts::LoginFirst());
    if (loggedIn_ && request.kind != wire::RequestKind::Login)
        RefreshPermissions();
    switch (request.kind) {
    case wire::RequestKind::Login:
        Login(request, reply);
        break;
    case wire::RequestKind::Query:
        Query(request, sink, reply);
        break;
    case wire::RequestKind::Execute:
        Execute(request, reply);
        break;
    case wire::RequestKind::ApplyUpdates:
        ApplyUpdates(request, reply);
        break;
    case wire::RequestKind::Clock:
        break;
    default:
        throw wire::Error(wire::ErrorKind::Protocol, texts::UnknownRequest());
    }
    reply.serverTime = server_.clock.Now();
    return reply;
}

void ClientSession::Login(const wire::Request& request, wire::Reply& reply)
{
    loggedIn_ = false;
    const Account account = server_.accounts.Login(request.account, request.password, peer_);
    Permit(account);
    identity_ = account;
    loggedIn_ = true;
    reply.identity = identity_;
}

void ClientSession::Permit(const Account& account)
{
    const auto tree = server_.sites.Current();
    permissions_ =
        Permissions(account.role.value_or(tree->RoleAt(account.site)), account.userType, tree, account.site);
    permittedAt_ = std::chrono::steady_clock::now();
}

void ClientSession::RefreshPermissions()
{
    const auto age = std::chrono::steady_clock::now() - permittedAt_;
    if (age < std::chrono::seconds(server_.options.permissionSeconds))
        return;
    std::optional<Account> account;
    try {
        account = server_.accounts.Find(identity_.account);
        if (account)
            Permit(*account);
    } catch (const storage::TryAgain&) {
        return; // with the next request; this one goes on with what was known
    }
    if (!account) {
        loggedIn_ = false;
        throw wire::Error(wire::ErrorKind::Login, texts::AccountGone());
    }
}

void ClientSession::Query(const wire::Request& request, wire::ReplySink& sink, wire::Reply& reply)
{
    WatchedSink watched(sink);
    for (int attempt = 1;; ++attempt) {
        try {
            const ConnectionPool::Lease connection = server_.pool.Lend(identity_.account);
            Watched(*connection, request.text, [&] {
                const dialect::Translated translated = connection->Translate(request.text);
                Permissions::RequireQuery(*translated.translation);
                watched.Columns(translated.translation->columns);
                reply.rowCount = connection->Query(
                    translated, server_.clock.Now(), {server_.options.maxRows, rowsPerReply_}, watched);
            });
            return;
        } catch (const storage::TryAgain&) {
            storage::PauseOrRethrow(attempt, !watched.HasRows());
        }
    }
}

void ClientSession::RequireRoomToSave()
{
    server_.saves.Require(identity_.account, std::chrono::steady_clock::now());
    server_.pool.Base().RequireRoom();
}

void ClientSession::Execute(const wire::Request& request, wire::Reply& reply)
{
    qint64 stored = 0;
    RequireRoomToSave();
    storage::InTransaction(
        server_.pool, false,
        [&](storage::Connection& connection) {
            Watched(connection, request.text, [&] {
                const dialect::Translated translated = connection.Translate(request.text);
                permissions_.RequireUpdate(*translated.translation);
                const Caller caller = CallerNow();
                reply.rowCount = connection.Execute(translated, caller.now);
                AuditFields fields;
                fields.Add(u"SQL", request.text);
                fields.Add(u"ROWS", reply.rowCount);
                const std::string_view text = fields.Finish();
                stored = static_cast<qint64>(text.size());
                connection.Insert(storage::AuditTable(),
                    storage::Row{{}, caller.now, identity_.account, wire::TextValue(identity_.employeeName),
                        wire::TextValue(peer_), translated.translation->targetTable, u"statement"_s, {},
                        QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))});
            });
        },
        identity_.account);
    server_.saves.Add(identity_.account, stored, std::chrono::steady_clock::now());
}

void ClientSession::ApplyUpdates(const wire::Request& request, wire::Reply& reply)
{
    ForbiddenRows forbidden;
    const quint64 digest = DigestOf(request.changes, request.maxErrors);
    qint64 stored = 0;
    try {
        storage::InTransaction(
            server_.pool, true,
            [&](storage::Connection& connection) {
                Watched(connection, request.changes.commandText, [&] {
                    RequireNew(connection, request.name, identity_.account, digest);
                    Applied applied;
                    try {
                        RequireRoomToSave();
                        applied = ApplyChanges(connection, request.changes, request.maxErrors, CallerNow(),
                            permissions_, forbidden);
                    } catch (const wire::Error&) {
                        connection.FinishSelect(); // what is refused now may have been applied before
                        throw;
                    }
                    RequireSendable(applied.outcome);
                    stored = applied.audited
                        + RememberOutcome(
                            connection, request.name, identity_.account, digest, applied.outcome);
                    reply.outcome = std::move(applied.outcome);
                });
            },
            identity_.account);
        server_.saves.Add(identity_.account, stored, std::chrono::steady_clock::now());
    } catch (AppliedBefore& before) {
        reply.outcome = std::move(before.outcome);
        forbidden = {}; // told the first time
    }
    if (forbidden.count > 0 && server_.options.onRefusedRows)
        server_.options.onRefusedRows({identity_, peer_, forbidden.table, forbidden.count, forbidden.first});
}

// A failure tells the client its own text, and that its time was over where that is why.
template <typename Work>
void ClientSession::Watched(storage::Connection& connection, const QString& sqlText, Work&& work)
{
    const Watch watch(*this, connection);
    try {
        work();
    } catch (const storage::TryAgain&) {
        throw;
    } catch (const wire::Error& error) {
        if (watch.TimeIsOver())
            throw RefusedError(RefusalReason::StatementTime, error.Kind(),
                texts::TimeOver(server_.options.maxSeconds), sqlText);
        if (const auto reason = RefusalOf(error))
            throw RefusedError(*reason, error.Kind(), error.Message(), sqlText);
        throw wire::Error(error.Kind(), error.Message(), sqlText);
    }
}

} // namespace server

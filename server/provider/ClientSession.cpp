#include "server/provider/ClientSession.h"

#include "server/Texts.h"
#include "server/provider/Outcomes.h"
#include "server/provider/Policy.h"
#include "server/provider/Resolver.h"
#include "server/storage/Creation.h"

namespace server {

using storage::ConnectionPool;
using storage::PreparedStatement;
using storage::WriteTransaction;

Core::Core(const Options& given)
    : options(given)
    , clock(given.now)
    , pool(storage::EnsureDatabase(given, clock.Now()))
    , accounts(pool)
{
    WriteTransaction transaction(pool);
    PruneOutcomes(transaction->Base());
    transaction.Commit();
}

// Ends what runs on a connection when its client is gone or its time is over.
class ClientSession::Watch {
public:
    Watch(ClientSession& session, storage::Database& database)
        : session_(session)
        , database_(database)
        , end_(std::chrono::steady_clock::now() + std::chrono::seconds(session.core_.options.maxSeconds))
    {
        constexpr int kInstructions = 5000;
        sqlite3_progress_handler(
            database_.Handle(), kInstructions, [](void* self) { return static_cast<Watch*>(self)->Check(); },
            this);
    }
    ~Watch() { sqlite3_progress_handler(database_.Handle(), 0, nullptr, nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    bool TimeIsOver() const noexcept { return timeOver_; }

private:
    int Check() noexcept
    {
        timeOver_ = std::chrono::steady_clock::now() > end_;
        return timeOver_ || session_.interrupted_ ? 1 : 0;
    }

    ClientSession& session_;
    storage::Database& database_;
    std::chrono::steady_clock::time_point end_;
    std::atomic<bool> timeOver_{false};
};

ClientSession::ClientSession(Core& core, const QString& peer, qsizetype rowsPerReply)
    : core_(core)
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
    reply.serverTime = core_.clock.Now();
    return reply;
}

void ClientSession::Login(const wire::Request& request, wire::Reply& reply)
{
    loggedIn_ = false;
    identity_ = core_.accounts.Login(request.account, request.password, peer_);
    loggedIn_ = true;
    reply.identity = identity_;
}

void ClientSession::Query(const wire::Request& request, wire::ReplySink& sink, wire::Reply& reply)
{
    const ConnectionPool::Lease connection = core_.pool.Lend();
    const Watch watch(*this, connection->Base());
    try {
        const dialect::Translated translated = connection->Translate(request.text);
        PreparedStatement& prepared = connection->Prepare(translated, RequireQuery);
        prepared.Bind(translated.literals, core_.clock.Now());
        sink.Columns(translated.translation->columns);
        reply.rowCount = storage::ReadRows(
            prepared.statement, prepared.scratch, {core_.options.maxRows, rowsPerReply_}, sink);
    } catch (const wire::Error& error) {
        Rethrow(error, watch, request.text);
    }
}

void ClientSession::Execute(const wire::Request& request, wire::Reply& reply)
{
    WriteTransaction transaction(core_.pool);
    const Watch watch(*this, transaction->Base());
    try {
        const dialect::Translated translated = transaction->Translate(request.text);
        PreparedStatement& prepared = transaction->Prepare(translated, RequireUpdate);
        const Caller caller = CallerNow();
        prepared.Bind(translated.literals, caller.now);
        prepared.statement.Execute();
        reply.rowCount = transaction->Base().Changes();
        AuditFields fields;
        fields.Add("SQL", request.text);
        fields.Add("ROWS", reply.rowCount);
        AuditTrail(transaction->Base(), caller, translated.translation->targetTable)
            .Write("statement", {}, fields.Finish());
        transaction.Commit();
    } catch (const wire::Error& error) {
        Rethrow(error, watch, request.text);
    }
}

void ClientSession::ApplyUpdates(const wire::Request& request, wire::Reply& reply)
{
    WriteTransaction transaction(core_.pool);
    storage::Database& database = transaction->Base();
    const Watch watch(*this, database);
    try {
        if (auto remembered = FindOutcome(database, request.name, identity_.account)) {
            reply.outcome = std::move(*remembered);
            return;
        }
        reply.outcome = ApplyChanges(*transaction, request.changes, request.maxErrors, CallerNow());
        RememberOutcome(database, request.name, identity_.account, reply.outcome);
        transaction.Commit();
    } catch (const wire::Error& error) {
        Rethrow(error, watch, request.changes.commandText);
    }
}

void ClientSession::Rethrow(const wire::Error& error, const Watch& watch, const QString& sqlText) const
{
    const int seconds = core_.options.maxSeconds;
    throw wire::Error(error.Kind(), watch.TimeIsOver() ? texts::TimeOver(seconds) : error.Message(), sqlText);
}

} // namespace server

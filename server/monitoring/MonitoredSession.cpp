#include "server/monitoring/MonitoredSession.h"

#include "server/monitoring/StatementShape.h"

namespace server::monitoring {
namespace {

using Clock = std::chrono::steady_clock;
using wire::RequestKind;

// Without the values: which statement it was.
QString ShapeOf(const wire::Request& request)
{
    return StatementShape(
        request.kind == RequestKind::ApplyUpdates ? request.changes.commandText : request.text);
}

qint64 Milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

// The messages of these may quote what the client sent.
bool QuotesValues(const wire::Error& error)
{
    return error.Kind() == wire::ErrorKind::Data || error.Kind() == wire::ErrorKind::Syntax;
}

// Passes a reply on, and remembers that the client could not be told it.
class ClientSink final : public wire::ReplySink {
public:
    explicit ClientSink(wire::ReplySink& sink)
        : sink_(sink)
    {
    }
    bool HasFailed() const noexcept { return busy_; }

    void Columns(const wire::ColumnInfos& infos) override
    {
        busy_ = true;
        sink_.Columns(infos);
        busy_ = false;
    }
    void Rows(std::vector<wire::Column> block) override
    {
        busy_ = true;
        sink_.Rows(std::move(block));
        busy_ = false;
    }
    void Cells(const std::vector<wire::CellBlock>& block) override
    {
        busy_ = true;
        sink_.Cells(block);
        busy_ = false;
    }

private:
    wire::ReplySink& sink_;
    bool busy_ = false;
};

} // namespace

MonitoredSession::MonitoredSession(
    std::unique_ptr<Session> session, const QString& peer, MonitorPtr monitor, std::chrono::milliseconds slow)
    : session_(std::move(session))
    , peer_(peer)
    , monitor_(std::move(monitor))
    , slow_(slow)
{
    monitor_->metrics.connections.Add();
    monitor_->metrics.sessions.Add(1);
}

MonitoredSession::~MonitoredSession()
{
    LoggedIn(false);
    monitor_->metrics.sessions.Add(-1);
}

wire::Reply MonitoredSession::Handle(const wire::Request& request, wire::ReplySink& sink)
{
    const Clock::time_point start = Clock::now();
    interrupted_ = false;
    ClientSink client(sink);
    try {
        wire::Reply reply = session_->Handle(request, client);
        Succeeded(request, reply, Clock::now() - start);
        return reply;
    } catch (const wire::Error& error) {
        if (client.HasFailed() || interrupted_)
            Abandoned(request, error, Clock::now() - start);
        else
            NotDone(request, error, Clock::now() - start);
        throw;
    } catch (const std::exception& error) {
        monitor_->metrics.Request(request.kind, Outcome::Failed, Clock::now() - start);
        monitor_->log.Error(
            "request_failed", {{"peer", peer_}, {"kind", NameOf(request.kind)}, {"message", error.what()}});
        throw;
    }
}

void MonitoredSession::Succeeded(
    const wire::Request& request, const wire::Reply& reply, std::chrono::nanoseconds time)
{
    Metrics& metrics = monitor_->metrics;
    Log& log = monitor_->log;
    metrics.Request(request.kind, Outcome::Ok, time);
    const QString& account = Identity().account;
    qint64 rows = reply.rowCount;
    switch (request.kind) {
    case RequestKind::Login:
        LoggedIn(true);
        metrics.loginsAccepted.Add();
        log.Info("login", {{"account", account}, {"peer", peer_}, {"site", Identity().site}});
        break;
    case RequestKind::Query:
        metrics.rowsRead.Add(static_cast<quint64>(rows));
        break;
    case RequestKind::Execute:
        metrics.rowsWritten.Add(static_cast<quint64>(rows));
        break;
    case RequestKind::ApplyUpdates: {
        rows = static_cast<qint64>(reply.outcome.rows.size());
        const int refused = reply.outcome.Rejected();
        metrics.rowsRefused.Add(static_cast<quint64>(refused));
        metrics.rowsWritten.Add(reply.outcome.rolledBack ? 0 : static_cast<quint64>(rows - refused));
        if (refused > 0)
            log.Info("rows_refused",
                {{"account", account}, {"peer", peer_}, {"rows", rows}, {"refused", refused},
                    {"rolled_back", reply.outcome.rolledBack}, {"statement", ShapeOf(request)}});
        break;
    }
    case RequestKind::Clock:
        break;
    }
    if (time >= slow_) {
        metrics.slowStatements.Add();
        log.Warn("slow_statement",
            {{"kind", NameOf(request.kind)}, {"milliseconds", Milliseconds(time)}, {"account", account},
                {"peer", peer_}, {"rows", rows}, {"statement", ShapeOf(request)}});
    } else if (log.Wants(LogLevel::Debug)) {
        log.Debug("request",
            {{"kind", NameOf(request.kind)}, {"milliseconds", Milliseconds(time)}, {"account", account},
                {"peer", peer_}, {"rows", rows}, {"statement", ShapeOf(request)}});
    }
}

void MonitoredSession::NotDone(
    const wire::Request& request, const wire::Error& error, std::chrono::nanoseconds time)
{
    const bool login = request.kind == RequestKind::Login;
    std::optional<RefusalReason> reason = RefusalOf(error);
    if (login) {
        LoggedIn(false);
        if (reason == RefusalReason::NotLoggedIn)
            reason = RefusalReason::Login;
        if (reason)
            monitor_->metrics.loginsRefused.Add();
    }
    monitor_->metrics.Request(request.kind, reason ? Outcome::Refused : Outcome::Failed, time);
    const QString account = login ? request.account : Identity().account;
    const QString message = QuotesValues(error) ? QString() : error.Message();
    if (reason)
        monitor_->Refuse(*reason,
            {{"kind", NameOf(request.kind)}, {"account", account}, {"peer", peer_},
                {"milliseconds", Milliseconds(time)}, {"statement", ShapeOf(request)}, {"message", message}});
    else
        monitor_->log.Error("request_failed",
            {{"kind", NameOf(request.kind)}, {"account", account}, {"peer", peer_},
                {"milliseconds", Milliseconds(time)}, {"statement", ShapeOf(request)}, {"message", message}});
}

void MonitoredSession::Abandoned(
    const wire::Request& request, const wire::Error& error, std::chrono::nanoseconds time)
{
    monitor_->metrics.Request(request.kind, Outcome::Abandoned, time);
    monitor_->log.Info("abandoned",
        {{"kind", NameOf(request.kind)}, {"account", Identity().account}, {"peer", peer_},
            {"milliseconds", Milliseconds(time)}, {"statement", ShapeOf(request)},
            {"message", QuotesValues(error) ? QString() : error.Message()}});
}

void MonitoredSession::LoggedIn(bool yes) noexcept
{
    if (yes != loggedIn_)
        monitor_->metrics.loggedIn.Add(yes ? 1 : -1);
    loggedIn_ = yes;
}

} // namespace server::monitoring

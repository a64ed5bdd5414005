#include "tests/support/FakeServer.h"

#include <QElapsedTimer>
#include <QThread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;
using wire::RequestKind;

wire::RowSet MakeRows(
    const std::vector<wire::ColumnInfo>& columns, const std::vector<std::vector<wire::Value>>& rows)
{
    wire::RowSet set;
    set.infos = columns;
    for (const wire::ColumnInfo& info : columns)
        set.columns.emplace_back(info.type);
    for (const std::vector<wire::Value>& row : rows) {
        for (size_t i = 0; i < columns.size(); ++i)
            set.columns[i].AppendValue(row.at(i));
    }
    return set;
}

wire::RowSet MakeTextRows(const QStringList& columns, const std::vector<QStringList>& rows)
{
    std::vector<wire::ColumnInfo> infos;
    for (const QString& name : columns)
        infos.push_back({.name = name});
    std::vector<std::vector<wire::Value>> cells;
    for (const QStringList& row : rows) {
        auto& values = cells.emplace_back();
        for (const QString& text : row)
            values.push_back(wire::TextValue(text));
    }
    return MakeRows(infos, cells);
}

wire::ApplyOutcome AcceptAll(const wire::ChangeLog& changes)
{
    wire::ApplyOutcome outcome;
    for (const wire::RowChange& row : changes.rows)
        outcome.rows.push_back({row.rowId, true, {}, false, {}});
    return outcome;
}

wire::ApplyOutcome RejectAll(const wire::ChangeLog& changes, const QString& reason)
{
    wire::ApplyOutcome outcome;
    for (const wire::RowChange& row : changes.rows)
        outcome.rows.push_back({row.rowId, false, reason, false, {}});
    return outcome;
}

namespace {

class TFakeTransport : public wire::Transport {
public:
    explicit TFakeTransport(TFakeServer& server)
        : server_(server)
    {
    }

    void Connect() override
    {
        if (server_.Down)
            Break();
        connected_ = true;
    }
    void Disconnect() noexcept override { connected_ = false; }
    bool IsConnected() const noexcept override { return connected_ && !server_.Down; }

    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        for (const QDeadlineTimer end(server_.Delay); !end.hasExpired(); QThread::msleep(10)) {
            if (KeepWaiting && !KeepWaiting()) {
                connected_ = false;
                throw Error(ErrorKind::Cancelled, u"cancelled"_s);
            }
        }
        const bool changes =
            request.kind == RequestKind::ApplyUpdates || request.kind == RequestKind::Execute;
        const Fault fault = changes ? NextFault() : Fault::None;
        if (fault == Fault::LoginFails)
            throw Error(ErrorKind::Login, u"login"_s);
        if (fault == Fault::RefuseWhole)
            throw Error(ErrorKind::Data, u"refused"_s);
        if (fault == Fault::LoseRequest)
            Break();
        wire::Reply reply = server_.Answer(request, sink);
        if (fault == Fault::LoseReply)
            Break();
        return reply;
    }

private:
    Fault NextFault()
    {
        if (server_.Faults.empty())
            return Fault::None;
        const Fault fault = server_.Faults.front();
        server_.Faults.pop_front();
        return fault;
    }
    [[noreturn]] void Break()
    {
        connected_ = false;
        throw Error(ErrorKind::Connection, u"broken"_s);
    }

    TFakeServer& server_;
    bool connected_ = false;
};

} // namespace

QStringList TFakeServer::Queries() const
{
    QStringList texts;
    for (const wire::Request& request : Requests) {
        if (request.kind == RequestKind::Query)
            texts += request.text;
    }
    return texts;
}

std::unique_ptr<wire::Transport> TFakeServer::MakeTransport()
{
    return std::make_unique<TFakeTransport>(*this);
}

wire::Reply TFakeServer::Answer(const wire::Request& request, wire::ReplySink& sink)
{
    if (request.kind != RequestKind::Login) {
        const std::lock_guard lock(mutex_);
        Requests.push_back(request);
    }
    wire::Reply reply;
    reply.serverTime = wire::DateTime::FromParts(2024, 1, 31, 10, 59);
    switch (request.kind) {
    case RequestKind::Query: {
        wire::RowSet rows = OnQuery ? OnQuery(request.text) : wire::RowSet{};
        reply.rowCount = rows.RowCount();
        sink.Columns(std::move(rows.infos));
        sink.Rows(std::move(rows.columns));
        break;
    }
    case RequestKind::Execute:
        reply.rowCount = OnExecute ? OnExecute(request.text) : 0;
        break;
    case RequestKind::ApplyUpdates:
        reply.outcome = Save(request);
        break;
    case RequestKind::Login:
        reply.identity = LogIn(request);
        break;
    case RequestKind::Clock:
        break;
    }
    return reply;
}

wire::Identity TFakeServer::LogIn(const wire::Request& request)
{
    if (request.password == u"wrong")
        throw Error(ErrorKind::Login, u"wrong account or password"_s);
    ++Logins;
    wire::Identity identity;
    identity.account = request.account;
    identity.site = u"快运本部"_s;
    return identity;
}

wire::ApplyOutcome TFakeServer::Save(const wire::Request& request)
{
    ++SaveRequests;
    const std::lock_guard lock(mutex_);
    const auto name = std::make_pair(request.name.client, request.name.number);
    if (const auto known = outcomes_.find(name); known != outcomes_.end())
        return known->second;
    const wire::ApplyOutcome outcome = OnSave ? OnSave(request)
        : OnApply                             ? OnApply(request.changes)
                                              : AcceptAll(request.changes);
    SavedRows += static_cast<int>(outcome.rows.size()) - outcome.Rejected();
    return outcomes_[name] = outcome;
}

wire::Request LoginRequest(const QString& password)
{
    wire::Request request;
    request.kind = RequestKind::Login;
    request.account = u"hq"_s;
    request.password = password;
    return request;
}

wire::Request QueryRequest(const QString& text)
{
    wire::Request request;
    request.kind = RequestKind::Query;
    request.text = text;
    return request;
}

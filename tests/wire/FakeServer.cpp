#include "tests/wire/FakeServer.h"

#include "server/monitoring/MonitoredSession.h"

#include <chrono>
#include <stdexcept>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using wire::Error;
using wire::ErrorKind;
using wire::RequestKind;
namespace monitoring = server::monitoring;

namespace {

constexpr qint64 kBlock = 8192;
constexpr auto kPatience = 10s;

} // namespace

class FakeSession : public server::Session {
public:
    explicit FakeSession(FakeServer& server)
        : server_(server)
    {
        ++server_.sessions;
    }
    ~FakeSession() override { --server_.sessions; }

    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (identity_.account.isEmpty() && request.kind != RequestKind::Login)
            throw Error(ErrorKind::Login, u"请先登录！"_s);
        wire::Reply reply;
        reply.serverTime = wire::DateTime::FromParts(2026, 3, 14, 9, 30);
        switch (request.kind) {
        case RequestKind::Login:
            reply.identity = LogIn(request);
            break;
        case RequestKind::Query:
            reply.rowCount = Query(request.text, sink);
            break;
        case RequestKind::Execute:
            reply.rowCount = 42;
            break;
        case RequestKind::ApplyUpdates:
            reply.outcome = Apply(request);
            break;
        case RequestKind::Clock:
            break;
        }
        return reply;
    }
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override
    {
        ++server_.interrupted;
        interrupted_ = true;
    }

private:
    const wire::Identity& LogIn(const wire::Request& request)
    {
        if (request.password != u"right")
            throw Error(ErrorKind::Login, u"wrong account or password"_s);
        ++server_.logins;
        identity_.account = request.account;
        identity_.site = u"快运本部"_s;
        return identity_;
    }

    qint64 Query(const QString& text, wire::ReplySink& sink)
    {
        ++server_.running;
        const auto done = qScopeGuard([this] { --server_.running; });
        const qint64 count = text.section(u' ', 1).toLongLong();
        if (text.startsWith(u"rows"))
            return SendRows(count, sink);
        if (text.startsWith(u"slow")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(count));
            return SendRows(1, sink);
        }
        if (text == u"wait") {
            for (int i = 0; i < 2000 && !interrupted_; ++i)
                std::this_thread::sleep_for(5ms);
            throw Error(ErrorKind::Limit, u"interrupted"_s);
        }
        if (text == u"crash")
            throw std::runtime_error("out of order");
        throw Error(ErrorKind::Syntax, u"第 1 行第 1 列"_s, text);
    }

    qint64 SendRows(qint64 count, wire::ReplySink& sink)
    try {
        using wire::ColumnType;
        sink.Columns({{u"N"_s, ColumnType::Integer, 0, true}, {u"T"_s, ColumnType::Text, 10},
            {u"Z"_s, ColumnType::Text}});
        for (qint64 begin = 0; begin < count; begin += kBlock) {
            std::vector<wire::Column> block;
            for (const ColumnType type : {ColumnType::Integer, ColumnType::Text, ColumnType::Text})
                block.emplace_back(type);
            for (qint64 i = begin; i < std::min(count, begin + kBlock); ++i) {
                block[0].AppendInteger(i);
                block[1].AppendText(QByteArray::number(i));
                block[2].AppendNull();
            }
            sink.Rows(std::move(block));
        }
        return count;
    } catch (...) {
        ++server_.brokenReplies;
        throw;
    }

    wire::ApplyOutcome Apply(const wire::Request& request)
    {
        ++server_.applyRequests;
        const std::lock_guard lock(server_.mutex_);
        const auto [at, fresh] = server_.outcomes_.try_emplace({request.name.client, request.name.number});
        if (fresh) {
            for (const wire::RowChange& row : request.changes.rows)
                at->second.rows.push_back({row.rowId, true, {}, false, {}});
            server_.appliedRows += int(request.changes.rows.size());
        }
        return at->second;
    }

    FakeServer& server_;
    wire::Identity identity_;
    std::atomic<bool> interrupted_{false};
};

std::unique_ptr<server::Session> FakeServer::NewSession()
{
    return std::make_unique<FakeSession>(*this);
}

bool FakeServer::Reaches(const std::atomic<int>& counter, int value)
{
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         std::chrono::steady_clock::now() < end;) {
        if (counter == value)
            return true;
        std::this_thread::sleep_for(2ms);
    }
    return false;
}

FakeListener::FakeListener(quint16 port, server::ListenerOptions options)
{
    options.port = port;
    options.watchInterval = 20;
    options.monitor = std::make_shared<monitoring::Monitor>(
        monitoring::LogLevel::Info, monitoring::LogFormat::Text, [this](std::string_view line) {
            const std::lock_guard lock(mutex_);
            lines_ += QString::fromUtf8(line.data(), qsizetype(line.size())).trimmed();
            changed_.notify_all();
        });
    monitor_ = options.monitor;
    listener = std::make_unique<server::Listener>(
        [this](const QString& peer) {
            return std::make_unique<monitoring::MonitoredSession>(
                server.NewSession(), peer, monitor_, std::chrono::hours(1));
        },
        options);
    listener->Start();
}

bool FakeListener::Logged(const QString& text)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return !lines_.filter(text).isEmpty(); });
}

QStringList FakeListener::Lines(const QString& text)
{
    const std::lock_guard lock(mutex_);
    return lines_.filter(text);
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

#include "runtime/data/SocketConnection.h"

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/TcpTransport.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QThread>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;
using wire::RequestKind;

namespace {

// A clock report older than this is asked for again, in milliseconds.
constexpr qint64 kClockLifetime = 60'000;
// Between two looks for a server, in milliseconds; each is twice as long as the one before.
constexpr unsigned kFirstPause = 100;
constexpr unsigned kLongestPause = 1'600;
// How long a server that nobody could reach counts as unreachable, in milliseconds.
constexpr qint64 kUnreachableTime = 5'000;
// A request that takes longer is told of, in milliseconds; and how often.
constexpr qint64 kLongWait = 500;
constexpr qint64 kTellInterval = 50;

// Set while windows are looked after: what their events ask for must not get between request and reply.
thread_local bool windowsHaveTheirTurn = false;

// Passes everything on and remembers whether there was anything: a reply that has begun cannot be repeated.
class WatchedSink : public wire::ReplySink {
public:
    explicit WatchedSink(wire::ReplySink& sink)
        : sink_(sink)
    {
    }
    bool Untouched() const noexcept { return !touched_; }

    void Columns(const wire::ColumnInfos& infos) override
    {
        touched_ = true;
        sink_.Columns(infos);
    }
    void Rows(std::vector<wire::Column> block) override
    {
        touched_ = true;
        sink_.Rows(std::move(block));
    }

private:
    wire::ReplySink& sink_;
    bool touched_ = false;
};

class NoSink : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos&) override { }
    void Rows(std::vector<wire::Column>) override { }
};

quint64 NextLoginSerial()
{
    static std::atomic<quint64> last{0};
    return ++last;
}

bool IsRepeatable(RequestKind kind)
{
    return kind == RequestKind::Query || kind == RequestKind::Clock || kind == RequestKind::ApplyUpdates;
}

} // namespace

class TSocketConnectionEx::Private {
public:
    explicit Private(TSocketConnectionEx* connection)
        : connection_(connection)
    {
        std::array<quint32, 4> random;
        QRandomGenerator::system()->generate(random.begin(), random.end());
        std::memcpy(name_.client.data(), random.data(), name_.client.size());
    }

    void LogIn();
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink);
    // Runs the exchange of a request and tells the trace of it.
    template <typename Exchanging>
    wire::Reply Traced(const wire::Request& request, const Exchanging& exchange);
    void TellConnected();
    void TellTransport();
    bool KeepWaiting();
    void Pause(qint64 milliseconds);

    // The time that a caller waits for one request, with everything that it takes.
    class Wait {
    public:
        Wait(Private& connection, RequestKind kind)
            : connection_(connection)
        {
            connection_.waitsFor_ = kind;
            connection_.searching_ = false;
            connection_.sinceSent_.start();
        }
        ~Wait()
        {
            if (std::exchange(connection_.toldOfWait_, false))
                connection_.waiting_->Over();
        }
        Q_DISABLE_COPY_MOVE(Wait)

    private:
        Private& connection_;
    };

    TWaiting* waiting_ = nullptr;
    QElapsedTimer sinceNobodyAnswered_;
    std::unique_ptr<wire::Transport> transport_;
    bool ownTransport_ = false; // made from host and port, which may have changed by the next `Open`
    std::optional<wire::Request> login_; // while open: logs in again after the connection broke
    wire::Identity identity_;
    wire::DateTime reportedTime_;
    QElapsedTimer sinceReport_;
    wire::ApplyName name_;
    bool neverSent_ = false; // the last request
    quint64 loginSerial_ = NextLoginSerial();

private:
    wire::Reply Sent(const wire::Request& request, wire::ReplySink& sink);
    int PatienceWith(RequestKind kind) const;

    TSocketConnectionEx* connection_;
    bool toldConnected_ = false;
    RequestKind waitsFor_ = RequestKind::Clock;
    QElapsedTimer sinceSent_;
    bool searching_ = false; // the connection broke, and nothing is asked of a server yet
    bool toldOfWait_ = false;
};

void TSocketConnectionEx::Private::TellTransport()
{
    if (!transport_)
        return;
    if (waiting_ != nullptr)
        transport_->KeepWaiting = [this] { return KeepWaiting(); };
    else
        transport_->KeepWaiting = nullptr;
}

// False where the user gives the request up. Only what changes nothing may be given up, or what no server is
// there to read: of anything else the outcome must be known.
bool TSocketConnectionEx::Private::KeepWaiting()
{
    const qint64 elapsed = sinceSent_.elapsed();
    if (waiting_ == nullptr || windowsHaveTheirTurn || elapsed < kLongWait)
        return true;
    const bool cancellable = waitsFor_ == RequestKind::Query
        || (searching_ && (waitsFor_ == RequestKind::ApplyUpdates || waitsFor_ == RequestKind::Execute));
    toldOfWait_ = true;
    windowsHaveTheirTurn = true;
    const auto turnOver = qScopeGuard([] { windowsHaveTheirTurn = false; });
    return waiting_->KeepWaiting({waitsFor_, elapsed, searching_, cancellable}) || !cancellable;
}

void TSocketConnectionEx::Private::Pause(qint64 milliseconds)
{
    for (QDeadlineTimer end(milliseconds); !end.hasExpired();) {
        const qint64 step = waiting_ ? std::min(kTellInterval, end.remainingTime()) : end.remainingTime();
        QThread::msleep(static_cast<unsigned long>(step));
        if (!KeepWaiting())
            throw Error(ErrorKind::Cancelled, u"已取消"_s);
    }
}

wire::Reply TSocketConnectionEx::Private::Sent(const wire::Request& request, wire::ReplySink& sink)
{
    wire::Reply reply = transport_->Exchange(request, sink);
    reportedTime_ = reply.serverTime;
    sinceReport_.start();
    sinceNobodyAnswered_.invalidate();
    return reply;
}

void TSocketConnectionEx::Private::LogIn()
{
    // A server may take the call and then be full, stopping or dead: each gets its chance.
    for (int left = transport_->ServerCount();; --left) {
        transport_->Connect();
        NoSink nothing;
        try {
            identity_ = Traced(*login_, [&] { return Sent(*login_, nothing); }).identity;
            return;
        } catch (const Error& error) {
            transport_->Disconnect();
            if (left <= 1 || (error.Kind() != ErrorKind::Connection && error.Kind() != ErrorKind::Limit))
                throw;
        } catch (...) {
            transport_->Disconnect();
            throw;
        }
    }
}

int TSocketConnectionEx::Private::PatienceWith(RequestKind kind) const
{
    switch (kind) {
    case RequestKind::Query:
        return connection_->QueryPatience;
    case RequestKind::ApplyUpdates:
        return connection_->SavePatience;
    default:
        return 0;
    }
}

wire::Reply TSocketConnectionEx::Private::Exchange(const wire::Request& request, wire::ReplySink& sink)
{
    const QDeadlineTimer patience(connection_->Unreachable() ? 0 : PatienceWith(request.kind));
    WatchedSink watched(sink);
    for (unsigned pause = 0;;) {
        const bool wasConnected = transport_->IsConnected();
        bool sent = false;
        try {
            searching_ = !wasConnected;
            if (searching_)
                LogIn();
            searching_ = neverSent_ = false;
            sent = true;
            return Sent(request, watched);
        } catch (const Error& error) {
            if (error.Kind() != ErrorKind::Connection || !watched.Untouched()
                || (sent && !IsRepeatable(request.kind)) || (!wasConnected && patience.hasExpired())) {
                if (error.Kind() == ErrorKind::Connection && !sent)
                    sinceNobodyAnswered_.start();
                throw;
            }
        }
        transport_->Disconnect();
        // A connection that broke since its last use is mended at once; a server that is gone is given time.
        if (!wasConnected) {
            pause = std::clamp(pause * 2, kFirstPause, kLongestPause);
            Pause(std::min<qint64>(pause, patience.remainingTime()));
        }
    }
}

template <typename Exchanging>
wire::Reply TSocketConnectionEx::Private::Traced(const wire::Request& request, const Exchanging& exchange)
{
    if (!connection_->OnTrace || request.kind == RequestKind::Clock)
        return exchange();

    TTraceEntry entry;
    switch (request.kind) {
    case RequestKind::Login:
        entry.kind = u"login"_s;
        entry.text = request.account;
        break;
    case RequestKind::Query:
        entry.kind = u"query"_s;
        entry.text = request.text;
        break;
    case RequestKind::Execute:
        entry.kind = u"execute"_s;
        entry.text = request.text;
        break;
    case RequestKind::ApplyUpdates:
        entry.kind = u"apply"_s;
        entry.text = request.changes.commandText;
        entry.rows = static_cast<qint64>(request.changes.rows.size());
        break;
    case RequestKind::Clock:
        break;
    }
    QElapsedTimer timer;
    timer.start();
    const auto trace = [&] {
        entry.microseconds = timer.nsecsElapsed() / 1000;
        connection_->OnTrace(entry);
    };
    try {
        wire::Reply reply = exchange();
        if (request.kind == RequestKind::Query || request.kind == RequestKind::Execute)
            entry.rows = reply.rowCount;
        trace();
        return reply;
    } catch (const Error& error) {
        entry.error = error.Message();
        trace();
        throw;
    }
}

void TSocketConnectionEx::Private::TellConnected()
{
    const bool connected = connection_->Connected();
    if (std::exchange(toldConnected_, connected) != connected)
        Q_EMIT connection_->ConnectedChanged(connected);
}

TWaiting::~TWaiting() = default;

TSocketConnectionEx::TSocketConnectionEx(QObject* owner)
    : QObject(owner)
    , d_(std::make_unique<Private>(this))
{
}

TSocketConnectionEx::~TSocketConnectionEx()
{
    if (d_->transport_)
        d_->transport_->Disconnect();
}

void TSocketConnectionEx::SetTransport(std::unique_ptr<wire::Transport> transport)
{
    Close();
    d_->transport_ = std::move(transport);
    d_->ownTransport_ = false;
    d_->TellTransport();
}

void TSocketConnectionEx::SetWaiting(TWaiting* waiting)
{
    d_->waiting_ = waiting;
    d_->TellTransport();
}

bool TSocketConnectionEx::Unreachable() const noexcept
{
    return d_->sinceNobodyAnswered_.isValid() && d_->sinceNobodyAnswered_.elapsed() < kUnreachableTime;
}

void TSocketConnectionEx::Open(const QString& account, const QString& password)
{
    Close();
    if (!d_->transport_ || d_->ownTransport_) {
        d_->transport_ = MakeTcpTransport(Host, Port);
        d_->ownTransport_ = true;
        d_->TellTransport();
    }
    wire::Request login;
    login.kind = RequestKind::Login;
    login.account = account;
    login.password = password;
    d_->login_ = std::move(login);
    try {
        const Private::Wait wait(*d_, RequestKind::Login);
        d_->LogIn();
    } catch (...) {
        d_->login_.reset();
        throw;
    }
    d_->loginSerial_ = NextLoginSerial();
    d_->TellConnected();
}

void TSocketConnectionEx::Close() noexcept
{
    if (d_->transport_)
        d_->transport_->Disconnect();
    d_->login_.reset();
    d_->identity_ = {};
    d_->TellConnected();
}

bool TSocketConnectionEx::Connected() const noexcept
{
    return d_->login_.has_value() && d_->transport_->IsConnected();
}

const wire::Identity& TSocketConnectionEx::Identity() const noexcept
{
    return d_->identity_;
}

quint64 TSocketConnectionEx::LoginSerial() const noexcept
{
    return d_->loginSerial_;
}

wire::DateTime TSocketConnectionEx::ServerTime()
{
    if (!d_->sinceReport_.isValid() || d_->sinceReport_.elapsed() >= kClockLifetime) {
        wire::Request clock;
        clock.kind = RequestKind::Clock;
        NoSink nothing;
        Send(clock, nothing);
    }
    return {d_->reportedTime_.seconds + d_->sinceReport_.elapsed() / 1000};
}

wire::Reply TSocketConnectionEx::Send(const wire::Request& request, wire::ReplySink& sink)
{
    if (windowsHaveTheirTurn)
        Abort();
    d_->neverSent_ = true;
    if (!d_->login_)
        throw Error(ErrorKind::Connection, u"尚未登录服务器！"_s);
    const auto exchange = [&] {
        const Private::Wait wait(*d_, request.kind);
        return d_->Traced(request, [&] { return d_->Exchange(request, sink); });
    };
    try {
        wire::Reply reply = exchange();
        d_->TellConnected();
        return reply;
    } catch (const Error& error) {
        // The connection of a query that was given up is closed on purpose, and opened again with the next.
        if (error.Kind() == ErrorKind::Cancelled && request.kind == RequestKind::Query)
            Abort();
        d_->TellConnected();
        if (error.Kind() == ErrorKind::Cancelled)
            throw Error(ErrorKind::Connection, u"服务器没有应答，已按您的要求不再等待，请稍后再试！"_s);
        throw;
    } catch (...) {
        d_->TellConnected();
        throw;
    }
}

bool TSocketConnectionEx::NeverSent() const noexcept
{
    return d_->neverSent_;
}

wire::ApplyName TSocketConnectionEx::NextApplyName()
{
    ++d_->name_.number;
    return d_->name_;
}

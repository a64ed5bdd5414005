#include "tests/support/FakeListener.h"

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

class FakeSession : public server::Session {
public:
    explicit FakeSession(FakeListener& owner)
        : owner_(owner)
    {
        ++owner_.sessions;
    }
    ~FakeSession() override { --owner_.sessions; }

    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (identity_.account.isEmpty() && request.kind != RequestKind::Login)
            throw Error(ErrorKind::Login, u"请先登录！"_s);
        wire::Reply reply;
        if (request.kind == RequestKind::Query)
            reply.rowCount = Query(request.text, sink);
        else
            reply = owner_.server.Answer(request, sink);
        if (request.kind == RequestKind::Login)
            identity_ = reply.identity;
        return reply;
    }
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override
    {
        ++owner_.interrupted;
        interrupted_ = true;
    }

private:
    qint64 Query(const QString& text, wire::ReplySink& sink)
    {
        ++owner_.running;
        ++owner_.begun;
        const auto done = qScopeGuard([this] { --owner_.running; });
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
        ++owner_.brokenReplies;
        throw;
    }

    FakeListener& owner_;
    wire::Identity identity_;
    std::atomic<bool> interrupted_{false};
};

} // namespace

FakeListener::FakeListener(quint16 port, server::ListenerOptions options)
{
    server.OnExecute = [](const QString&) { return 42; };
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
                std::make_unique<FakeSession>(*this), peer, monitor_, std::chrono::hours(1));
        },
        options);
    listener->Start();
}

bool FakeListener::Reaches(const std::atomic<int>& counter, int value)
{
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         std::chrono::steady_clock::now() < end;) {
        if (counter == value)
            return true;
        std::this_thread::sleep_for(2ms);
    }
    return false;
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

#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "tests/support/Raised.h"
#include "tests/wire/FakeServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;
using wire::RequestKind;

namespace {

// The way over TCP, which loses the reply to every request of one kind until told otherwise: the server has
// done its work, the client does not know.
class LossyTransport : public wire::Transport {
public:
    LossyTransport(quint16 port, RequestKind lost, int& losses)
        : way_(MakeTcpTransport(u"127.0.0.1"_s, port))
        , lost_(lost)
        , losses_(losses)
    {
    }
    void Connect() override { way_->Connect(); }
    void Disconnect() noexcept override { way_->Disconnect(); }
    bool IsConnected() const noexcept override { return way_->IsConnected(); }
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind != lost_ || losses_ == 0)
            return way_->Exchange(request, sink);
        --losses_;
        RowKeeper nowhere;
        way_->Exchange(request, nowhere);
        way_->Disconnect();
        throw Error(ErrorKind::Connection, u"reply lost"_s);
    }

private:
    std::unique_ptr<wire::Transport> way_;
    RequestKind lost_;
    int& losses_;
};

wire::Request ApplyRequest(TSocketConnectionEx& connection, int rows)
{
    wire::Request request;
    request.kind = RequestKind::ApplyUpdates;
    request.name = connection.NextApplyName();
    request.changes.commandText = u"select * from tab_zelmor_bill"_s;
    for (int row = 0; row < rows; ++row)
        request.changes.rows.push_back({wire::ChangeKind::Delete, quint32(row), {}});
    return request;
}

qint64 RowsOf(TSocketConnectionEx& connection, const QString& text)
{
    RowKeeper keeper;
    return connection.Send(QueryRequest(text), keeper).rowCount;
}

} // namespace

TEST(SocketConnectionTest, LogsInAndTellsWhoAndWhen)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    connection.Host = u"127.0.0.1"_s;
    connection.Port = fake.Port();
    QList<bool> told;
    QObject::connect(&connection, &TSocketConnectionEx::ConnectedChanged, &connection,
        [&](bool connected) { told += connected; });
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"rows 1"_s); }), ErrorKind::Connection);
    EXPECT_EQ(KindOf([&] { connection.Open(u"hq"_s, u"wrong"_s); }), ErrorKind::Login);
    EXPECT_FALSE(connection.Connected());
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"rows 1"_s); }), ErrorKind::Connection);

    connection.Open(u"hq"_s, u"right"_s);
    EXPECT_TRUE(connection.Connected());
    EXPECT_EQ(connection.Identity().site, u"快运本部"_s);
    const qint64 clock =
        connection.ServerTime().seconds - wire::DateTime::FromParts(2026, 3, 14, 9, 30).seconds;
    EXPECT_GE(clock, 0);
    EXPECT_LE(clock, 5);
    connection.Close();
    EXPECT_FALSE(connection.Connected());
    EXPECT_TRUE(connection.Identity().account.isEmpty());
    EXPECT_EQ(told, QList<bool>({true, false}));
}

TEST(SocketConnectionTest, TracesEveryTextAndNoPassword)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(u"127.0.0.1"_s, fake.Port()));
    std::vector<TTraceEntry> trace;
    connection.OnTrace = [&](const TTraceEntry& entry) { trace.push_back(entry); };
    connection.Open(u"hq"_s, u"right"_s);
    RowsOf(connection, u"rows 7"_s);
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"fail"_s); }), ErrorKind::Syntax);
    RowKeeper nothing;
    connection.Send(ApplyRequest(connection, 3), nothing);
    ASSERT_EQ(trace.size(), 4u);
    EXPECT_EQ(trace[0].kind, u"login"_s);
    EXPECT_EQ(trace[1].kind, u"query"_s);
    EXPECT_EQ(trace[1].text, u"rows 7"_s);
    EXPECT_EQ(trace[1].rows, 7);
    EXPECT_FALSE(trace[2].error.isEmpty());
    EXPECT_EQ(trace[3].kind, u"apply"_s);
    EXPECT_EQ(trace[3].rows, 3);
    for (const TTraceEntry& entry : trace)
        EXPECT_FALSE((entry.text + entry.error).contains(u"right"));
}

TEST(SocketConnectionTest, ReconnectsAndLogsInAgainAfterTheServerWasRestarted)
{
    auto fake = std::make_unique<FakeListener>();
    const quint16 port = fake->Port();
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(u"127.0.0.1"_s, port));
    connection.Open(u"hq"_s, u"right"_s);
    connection.QueryPatience = 200;
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);

    fake.reset();
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"rows 1"_s); }), ErrorKind::Connection);
    EXPECT_FALSE(connection.Connected());

    fake = std::make_unique<FakeListener>(port);
    EXPECT_EQ(RowsOf(connection, u"rows 2"_s), 2);
    EXPECT_TRUE(connection.Connected());
    EXPECT_EQ(fake->server.logins, 1);

    // The break is found only when the request is sent.
    fake.reset();
    fake = std::make_unique<FakeListener>(port);
    EXPECT_EQ(RowsOf(connection, u"rows 3"_s), 3);
}

TEST(SocketConnectionTest, ASaveWhoseOutcomeWasLostIsAppliedOnce)
{
    FakeListener fake;
    int losses = 1;
    TSocketConnectionEx connection;
    connection.SetTransport(std::make_unique<LossyTransport>(fake.Port(), RequestKind::ApplyUpdates, losses));
    connection.Open(u"hq"_s, u"right"_s);
    RowKeeper nothing;
    const wire::Request request = ApplyRequest(connection, 3);
    EXPECT_EQ(connection.Send(request, nothing).outcome.rows.size(), 3u);
    EXPECT_EQ(fake.server.applyRequests, 2);
    EXPECT_EQ(fake.server.appliedRows, 3);

    // Lost again and again: the caller hears of it in the end, and may send the same again later.
    losses = 1000;
    connection.SavePatience = 300;
    const wire::Request next = ApplyRequest(connection, 2);
    EXPECT_FALSE(next.name == request.name);
    EXPECT_EQ(KindOf([&] { connection.Send(next, nothing); }), ErrorKind::Connection);
    EXPECT_GE(fake.server.applyRequests, 2 + 3);
    losses = 0;
    EXPECT_EQ(connection.Send(next, nothing).outcome.rows.size(), 2u);
    EXPECT_EQ(fake.server.appliedRows, 5);
}

TEST(SocketConnectionTest, WhatMustNotBeRepeatedIsNot)
{
    FakeListener fake;
    int losses = 1;
    TSocketConnectionEx connection;
    connection.SetTransport(std::make_unique<LossyTransport>(fake.Port(), RequestKind::Execute, losses));
    connection.Open(u"hq"_s, u"right"_s);
    wire::Request execute = QueryRequest(u"update"_s);
    execute.kind = RequestKind::Execute;
    RowKeeper nothing;
    EXPECT_EQ(KindOf([&] { connection.Send(execute, nothing); }), ErrorKind::Connection);
    EXPECT_EQ(connection.Send(execute, nothing).rowCount, 42);
}

TEST(SocketConnectionTest, AReplyThatBreaksOffIsNotBegunAgain)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(u"127.0.0.1"_s, fake.Port()));
    connection.Open(u"hq"_s, u"right"_s);

    // A receiver that gives up in the middle: the rest of the reply must not be taken for the next one's.
    struct : RowKeeper {
        void Rows(std::vector<wire::Column>) override { throw std::runtime_error("enough"); }
    } impatient;
    EXPECT_THROW(connection.Send(QueryRequest(u"rows 100000"_s), impatient), std::runtime_error);
    EXPECT_EQ(RowsOf(connection, u"rows 4"_s), 4);
    EXPECT_EQ(fake.server.logins, 2);
}

TEST(SocketConnectionTest, AServerThatDoesNotAnswerIsGivenUpInTime)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(u"127.0.0.1"_s, fake.Port(), 1000, 200));
    connection.Open(u"hq"_s, u"right"_s);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"wait"_s); }), ErrorKind::Limit);
    EXPECT_LT(timer.elapsed(), 2000);
    // The server notices that nobody waits any more.
    EXPECT_TRUE(FakeServer::Reaches(fake.server.interrupted, 1));
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);
}

TEST(SocketConnectionTest, ABreakBetweenTwoRequestsIsSeenByTheEventLoop)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(u"127.0.0.1"_s, fake.Port()));
    connection.Open(u"hq"_s, u"right"_s);
    const quint16 port = fake.Port();
    fake.listener.reset();
    const FakeListener next(port);
    // The socket is closed here, and its descriptor is free for others: nothing may be sent on it.
    for (QElapsedTimer timer; connection.Connected();) {
        if (!timer.isValid())
            timer.start();
        ASSERT_LT(timer.elapsed(), 10'000);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    wire::Request execute = QueryRequest(u"update"_s);
    execute.kind = RequestKind::Execute;
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(execute, nothing).rowCount, 42);
}

// Several servers, as addresses of one list.
class ServersTest : public testing::Test {
protected:
    static TConnectOptions WayTo(std::initializer_list<quint16> ports)
    {
        TConnectOptions way;
        for (const quint16 port : ports)
            way.addresses.push_back({u"127.0.0.1"_s, port});
        way.connectTimeout = 4'000;
        return way;
    }
};

TEST_F(ServersTest, WorkGoesOnAtTheNextServer)
{
    auto first = std::make_unique<FakeListener>();
    FakeListener second;
    const TConnectOptions way = WayTo({first->Port(), second.Port()});
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(way));
    connection.Open(u"hq"_s, u"right"_s);
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);
    EXPECT_EQ(first->server.logins, 1);

    const quint16 port = first->Port();
    first.reset();
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(ApplyRequest(connection, 3), nothing).outcome.rows.size(), 3u);
    EXPECT_EQ(second.server.appliedRows, 3);
    // Others begin where the last one found an answer, also when the first is back.
    first = std::make_unique<FakeListener>(port);
    TSocketConnectionEx other;
    other.SetTransport(MakeTcpTransport(way));
    other.Open(u"hq"_s, u"right"_s);
    EXPECT_EQ(second.server.logins, 2);
    EXPECT_EQ(first->server.logins, 0);

    second.listener->Stop();
    EXPECT_EQ(RowsOf(connection, u"rows 2"_s), 2);
    EXPECT_EQ(first->server.logins, 1);
}

TEST_F(ServersTest, AServerThatIsFullIsPassedBy)
{
    server::ListenerOptions options;
    options.maxConnections = 0;
    const FakeListener full(0, options);
    FakeListener other;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(WayTo({full.Port(), other.Port()})));
    connection.Open(u"hq"_s, u"right"_s);
    EXPECT_EQ(other.server.logins, 1);
    // A refusal that any of them would repeat is not taken elsewhere.
    EXPECT_EQ(KindOf([&] { connection.Open(u"hq"_s, u"wrong"_s); }), ErrorKind::Login);
}

TEST_F(ServersTest, ASaveWaitsForAServerThatComesBack)
{
    auto fake = std::make_unique<FakeListener>();
    const quint16 port = fake->Port();
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(WayTo({port})));
    connection.Open(u"hq"_s, u"right"_s);
    fake.reset();
    std::thread restart([&] {
        QThread::msleep(500);
        fake = std::make_unique<FakeListener>(port);
    });
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(ApplyRequest(connection, 2), nothing).outcome.rows.size(), 2u);
    restart.join();
    EXPECT_EQ(fake->server.appliedRows, 2);
}

TEST_F(ServersTest, WhereNoneAnswersEachIsNamed)
{
    quint16 ports[2];
    for (quint16& port : ports)
        port = FakeListener().Port();
    const auto transport = MakeTcpTransport(WayTo({ports[0], ports[1]}));
    const Error error = ErrorOf([&] { transport->Connect(); });
    EXPECT_EQ(error.Kind(), ErrorKind::Connection);
    for (const quint16 port : ports)
        EXPECT_TRUE(error.Message().contains(u"127.0.0.1:%1"_s.arg(port))) << error.what();
}

TEST(ServerAddressTest, AreReadAsTyped)
{
    const std::pair<QString, QString> good[] = {
        {u"a"_s, u"a:8866"_s},
        {u" a:1 , b:2"_s, u"a:1,b:2"_s},
        {u"a:1，[::1]:2；a:1"_s, u"a:1,[::1]:2"_s},
    };
    for (const auto& [text, normal] : good) {
        const auto addresses = ParseServerAddresses(text);
        ASSERT_TRUE(addresses) << qUtf8Printable(text);
        EXPECT_EQ(TextOf(*addresses), normal);
    }
    for (const QString& text : {u""_s, u"a,"_s, u"a:0"_s, u"a:70000,b"_s, u"a b"_s, u"[::1"_s})
        EXPECT_FALSE(ParseServerAddresses(text)) << qUtf8Printable(text);
    for (const QString& host : {u"localhost"_s, u"127.0.0.1"_s, u"::1"_s})
        EXPECT_TRUE((TServerAddress{host}.IsLoopback()));
    EXPECT_FALSE((TServerAddress{u"localhost.example"_s}.IsLoopback()));
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/FakeListener.h"
#include "tests/support/Raised.h"
#include "tests/support/TestAuthority.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;
using wire::RequestKind;

namespace {

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

// Logged in over TCP.
void Open(TSocketConnectionEx& connection, const TConnectOptions& way)
{
    connection.SetTransport(MakeTcpTransport(way));
    connection.Open(u"hq"_s, u"right"_s);
}
void Open(TSocketConnectionEx& connection, quint16 port)
{
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, port}};
    Open(connection, way);
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
        connection.ServerTime().seconds - wire::DateTime::FromParts(2024, 1, 31, 10, 59).seconds;
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
    QStringList trace;
    connection.OnTrace = [&](const TTraceEntry& entry) {
        trace += u"%1 %2 %3%4"_s.arg(entry.kind, entry.text)
                     .arg(entry.rows)
                     .arg(entry.error.isEmpty() ? u"" : u" failed");
        EXPECT_FALSE((entry.text + entry.error).contains(u"right"));
    };
    connection.Open(u"hq"_s, u"right"_s);
    RowsOf(connection, u"rows 7"_s);
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"fail"_s); }), ErrorKind::Syntax);
    RowKeeper nothing;
    connection.Send(ApplyRequest(connection, 3), nothing);
    ASSERT_EQ(trace.size(), 4);
    EXPECT_TRUE(trace[0].startsWith(u"login "_s)) << qUtf8Printable(trace[0]);
    EXPECT_EQ(trace[1], u"query rows 7 7"_s);
    EXPECT_TRUE(trace[2].startsWith(u"query fail "_s) && trace[2].endsWith(u" failed"_s));
    EXPECT_TRUE(trace[3].startsWith(u"apply "_s) && trace[3].endsWith(u" 3"_s));
}

TEST(SocketConnectionTest, ReconnectsAndLogsInAgainAfterTheServerWasRestarted)
{
    auto fake = std::make_unique<FakeListener>();
    const quint16 port = fake->Port();
    TSocketConnectionEx connection;
    Open(connection, port);
    connection.QueryPatience = 200;
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);

    fake.reset();
    EXPECT_EQ(KindOf([&] { RowsOf(connection, u"rows 1"_s); }), ErrorKind::Connection);
    EXPECT_FALSE(connection.Connected());

    fake = std::make_unique<FakeListener>(port);
    EXPECT_EQ(RowsOf(connection, u"rows 2"_s), 2);
    EXPECT_TRUE(connection.Connected());
    EXPECT_EQ(fake->server.Logins, 1);

    // The break is found only when the request is sent.
    fake.reset();
    fake = std::make_unique<FakeListener>(port);
    EXPECT_EQ(RowsOf(connection, u"rows 3"_s), 3);
}

// Saves: test_ApplyUpdates.
TEST(SocketConnectionTest, WhatMustNotBeRepeatedIsNot)
{
    TFakeServer server;
    TSocketConnectionEx connection;
    connection.SetTransport(server.MakeTransport());
    connection.Open(u"hq"_s, u"right"_s);
    wire::Request execute = QueryRequest(u"update"_s);
    execute.kind = RequestKind::Execute;
    RowKeeper nothing;
    for (const Fault fault : {Fault::LoseReply, Fault::LoseRequest}) {
        server.Faults = {fault};
        EXPECT_EQ(KindOf([&] { connection.Send(execute, nothing); }), ErrorKind::Connection);
    }
    EXPECT_EQ(server.Requests.size(), 1u);
    connection.Send(execute, nothing);
    EXPECT_EQ(server.Requests.size(), 2u);
}

TEST(SocketConnectionTest, AReplyThatBreaksOffIsNotBegunAgain)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    Open(connection, fake.Port());

    // A receiver that gives up in the middle: the rest of the reply must not be taken for the next one's.
    struct : RowKeeper {
        void Rows(std::vector<wire::Column>) override { throw std::runtime_error("enough"); }
    } impatient;
    EXPECT_THROW(connection.Send(QueryRequest(u"rows 100000"_s), impatient), std::runtime_error);
    EXPECT_EQ(RowsOf(connection, u"rows 4"_s), 4);
    EXPECT_EQ(fake.server.Logins, 2);
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
    EXPECT_TRUE(FakeListener::Reaches(fake.interrupted, 1));
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);
}

TEST(SocketConnectionTest, ABreakBetweenTwoRequestsIsSeenByTheEventLoop)
{
    FakeListener fake;
    TSocketConnectionEx connection;
    Open(connection, fake.Port());
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
    Open(connection, way);
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);
    EXPECT_EQ(first->server.Logins, 1);

    const quint16 port = first->Port();
    first.reset();
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(ApplyRequest(connection, 3), nothing).outcome.rows.size(), 3u);
    EXPECT_EQ(second.server.SavedRows, 3);
    // Others begin where the last one found an answer, also when the first is back.
    first = std::make_unique<FakeListener>(port);
    TSocketConnectionEx other;
    Open(other, way);
    EXPECT_EQ(second.server.Logins, 2);
    EXPECT_EQ(first->server.Logins, 0);

    second.listener->Stop();
    EXPECT_EQ(RowsOf(connection, u"rows 2"_s), 2);
    EXPECT_EQ(first->server.Logins, 1);
}

TEST_F(ServersTest, AServerThatIsFullIsPassedBy)
{
    server::ListenerOptions options;
    options.maxConnections = 0;
    const FakeListener full(0, options);
    FakeListener other;
    TSocketConnectionEx connection;
    Open(connection, WayTo({full.Port(), other.Port()}));
    EXPECT_EQ(other.server.Logins, 1);
    // A refusal that any of them would repeat is not taken elsewhere.
    EXPECT_EQ(KindOf([&] { connection.Open(u"hq"_s, u"wrong"_s); }), ErrorKind::Login);
}

TEST_F(ServersTest, ASaveWaitsForAServerThatComesBack)
{
    auto fake = std::make_unique<FakeListener>();
    const quint16 port = fake->Port();
    TSocketConnectionEx connection;
    Open(connection, WayTo({port}));
    fake.reset();
    std::thread restart([&] {
        QThread::msleep(500);
        fake = std::make_unique<FakeListener>(port);
    });
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(ApplyRequest(connection, 2), nothing).outcome.rows.size(), 2u);
    restart.join();
    EXPECT_EQ(fake->server.SavedRows, 2);
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

TEST_F(ServersTest, WhereNobodyAnswersNobodyIsKeptWaiting)
{
    auto fake = std::make_unique<FakeListener>();
    TSocketConnectionEx connection;
    Open(connection, WayTo({fake->Port()}));
    connection.QueryPatience = 500;
    const quint16 port = fake->Port();
    fake.reset();
    QElapsedTimer timer;
    timer.start();
    const Error error = ErrorOf([&] { RowsOf(connection, u"rows 1"_s); });
    EXPECT_GE(timer.restart(), 450);
    // In the user's language, and where it was tried.
    EXPECT_TRUE(error.Message().contains(u"127.0.0.1:%1：对方拒绝连接"_s.arg(port))) << error.what();
    EXPECT_TRUE(connection.Unreachable());
    for (int row = 0; row < 10; ++row)
        EXPECT_EQ(KindOf([&] { RowsOf(connection, u"rows 1"_s); }), ErrorKind::Connection);
    EXPECT_LT(timer.elapsed(), 400);
    fake = std::make_unique<FakeListener>(port);
    EXPECT_EQ(RowsOf(connection, u"rows 1"_s), 1);
    EXPECT_FALSE(connection.Unreachable());
}

// Gives up as soon as it may.
class Impatient : public TWaiting {
public:
    bool KeepWaiting(const TLongWait& wait) override
    {
        last = wait;
        ++asked;
        return false;
    }
    void Over() noexcept override { ++over; }

    TLongWait last;
    int asked = 0;
    int over = 0;
};

class WaitingTest : public testing::TestWithParam<bool> { };

INSTANTIATE_TEST_SUITE_P(Connections, WaitingTest, testing::Bool(),
    [](const auto& chosen) { return chosen.param ? "Encrypted" : "Plain"; });

TEST_P(WaitingTest, AQueryThatIsGivenUpStopsOnTheServerAndChangesNothing)
{
    TestAuthority authority;
    server::ListenerOptions options;
    TConnectOptions way;
    if (GetParam()) {
        const TestAuthority::Files files = authority.Issue();
        options.tls = {files.certificates, files.key};
        way.tls = TTlsUse::Always;
        way.caFile = authority.CaFile();
    }
    FakeListener fake(0, options);
    way.addresses = {{u"127.0.0.1"_s, fake.Port()}};
    Impatient waiting;
    TSocketConnectionEx connection;
    connection.SetTransport(MakeTcpTransport(way));
    connection.SetWaiting(&waiting);
    connection.Open(u"hq"_s, u"right"_s);
    TClientDataSetEx set;
    set.SetRemoteServer(&connection);
    set.OpenQuery(u"rows 3"_s);
    EXPECT_EQ(waiting.asked, 0);

    EXPECT_THROW(set.OpenQuery(u"wait"_s), EAbort);
    EXPECT_TRUE(waiting.last.cancellable);
    EXPECT_GE(waiting.last.milliseconds, 500);
    EXPECT_EQ(waiting.over, 1);
    EXPECT_TRUE(FakeListener::Reaches(fake.interrupted, 1));
    EXPECT_EQ(set.RecordCount(), 3);
    EXPECT_EQ(set.CommandText(), u"rows 3"_s);
    set.OpenQuery(u"rows 4"_s);
    EXPECT_EQ(set.RecordCount(), 4);

    // What became of a save must be known.
    fake.server.OnApply = [](const wire::ChangeLog& changes) {
        QThread::msleep(700);
        return AcceptAll(changes);
    };
    RowKeeper nothing;
    EXPECT_EQ(connection.Send(ApplyRequest(connection, 3), nothing).outcome.rows.size(), 3u);
    EXPECT_FALSE(waiting.last.cancellable);
    EXPECT_EQ(waiting.over, 2);
}

TEST(EmbeddedWaitingTest, AQueryThatIsGivenUpEndsInProcessToo)
{
    const QTemporaryDir folder;
    server::Options options;
    options.open = storage::SqliteIn(folder.path());
    options.demo = u"200"_s;
    server::ApplicationServer server(options);
    const server::DemoAccount account = server.DemoAccounts().front();
    Impatient waiting;
    TSocketConnectionEx connection;
    connection.SetTransport(server.NewTransport());
    connection.SetWaiting(&waiting);
    connection.Open(account.account, account.password);
    TClientDataSetEx set;
    set.SetRemoteServer(&connection);
    set.OpenQuery(u"select count(*) N from tab_zelmor_bill a"_s);
    EXPECT_EQ(waiting.asked, 0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_THROW(
        set.OpenQuery(u"select count(*) N from tab_zelmor_bill a, tab_zelmor_bill b, tab_zelmor_bill c, "
                      "tab_zelmor_bill d where a.STATUS+b.STATUS+c.STATUS+d.STATUS<-9"_s),
        EAbort);
    EXPECT_LT(timer.elapsed(), 5'000);
    EXPECT_EQ(waiting.over, 1);
    EXPECT_EQ(set.FieldByName(u"N").AsInteger(), 200);
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

#include "runtime/data/TcpTransport.h"
#include "server/net/ClientConnection.h"
#include "server/storage/SharedBudget.h"
#include "tests/support/FakeListener.h"
#include "tests/support/Raised.h"
#include "tests/support/TestAuthority.h"
#include "wire/Codec.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSslConfiguration>
#include <QSslSocket>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace {

// Everything holds for plain and for encrypted connections.
class ListenerTest : public testing::TestWithParam<bool> {
protected:
    static bool Encrypted() { return GetParam(); }
    static TestAuthority& Authority()
    {
        static TestAuthority authority;
        return authority;
    }
    static server::ListenerOptions Options(const std::function<void(server::ListenerOptions&)>& change = {})
    {
        server::ListenerOptions options;
        if (change)
            change(options);
        if (Encrypted()) {
            static const TestAuthority::Files kFiles = Authority().Issue();
            options.tls = {kFiles.certificates, kFiles.key};
        }
        return options;
    }
    static TConnectOptions WayTo(quint16 port)
    {
        TConnectOptions way;
        way.addresses = {{u"127.0.0.1"_s, port}};
        way.tls = Encrypted() ? TTlsUse::Always : TTlsUse::Never;
        way.caFile = Authority().CaFile();
        return way;
    }
    static std::unique_ptr<wire::Transport> LoggedInClient(quint16 port)
    {
        auto transport = MakeTcpTransport(WayTo(port));
        transport->Connect();
        RowKeeper nothing;
        transport->Exchange(LoginRequest(), nothing);
        return transport;
    }

    // A client that may say anything.
    class RawClient {
    public:
        explicit RawClient(quint16 port)
        {
            if (Encrypted()) {
                QSslConfiguration trusting;
                trusting.setPeerVerifyMode(QSslSocket::VerifyNone);
                socket.setSslConfiguration(trusting);
                socket.connectToHostEncrypted(u"127.0.0.1"_s, port);
            } else {
                socket.connectToHost(u"127.0.0.1"_s, port);
            }
            if (Encrypted() ? !socket.waitForEncrypted(5000) : !socket.waitForConnected(5000))
                throw std::runtime_error("no connection");
        }
        void Send(const QByteArray& bytes)
        {
            socket.write(bytes);
            while (socket.bytesToWrite() + socket.encryptedBytesToWrite() > 0
                && socket.waitForBytesWritten(5000)) { }
        }
        void Send(const wire::Packet& packet) { Send(QByteArray(packet.Data(), packet.Size())); }
        // Everything until the server closes; empty-handed after five seconds of silence.
        QByteArray ReadToEnd()
        {
            while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(5000)) { }
            EXPECT_NE(socket.state(), QAbstractSocket::ConnectedState) << "still connected";
            return socket.readAll();
        }
        bool WaitForBytes(qint64 count)
        {
            while (socket.bytesAvailable() < count && socket.waitForReadyRead(5000)) { }
            return socket.bytesAvailable() >= count;
        }

        QSslSocket socket;
    };
};

INSTANTIATE_TEST_SUITE_P(Connections, ListenerTest, testing::Bool(),
    [](const auto& chosen) { return chosen.param ? "Encrypted" : "Plain"; });

qint64 RowsOf(wire::Transport& transport, const QString& text)
{
    RowKeeper keeper;
    transport.Exchange(QueryRequest(text), keeper);
    return keeper.rows.RowCount();
}

} // namespace

TEST_P(ListenerTest, AnswersEveryKindOfRequest)
{
    FakeListener fake(0, Options());
    const auto client = LoggedInClient(fake.Port());
    EXPECT_TRUE(fake.Logged(u"event=login account=hq"_s));

    RowKeeper keeper;
    EXPECT_EQ(client->Exchange(QueryRequest(u"rows 100000"_s), keeper).rowCount, 100000);
    ASSERT_EQ(keeper.rows.RowCount(), 100000);
    EXPECT_EQ(keeper.blocks, 13);
    EXPECT_TRUE(keeper.rows.infos[0].key);
    for (int row = 0; row < 100000; ++row) {
        ASSERT_EQ(keeper.rows.columns[0].IntegerAt(row), row);
        ASSERT_EQ(keeper.rows.columns[1].TextAt(row).toByteArray(), QByteArray::number(row));
        ASSERT_TRUE(keeper.rows.columns[2].IsNull(row));
    }

    wire::Request save;
    save.kind = wire::RequestKind::ApplyUpdates;
    for (quint32 row = 0; row < 100'000; ++row) // far more than a login may be
        save.changes.rows.push_back({wire::ChangeKind::Delete, row, {}});
    EXPECT_EQ(client->Exchange(save, keeper).outcome.rows.size(), 100'000u);

    wire::Request execute = QueryRequest(u"update"_s);
    execute.kind = wire::RequestKind::Execute;
    EXPECT_EQ(client->Exchange(execute, keeper).rowCount, 42);
    EXPECT_EQ(client->Exchange({}, keeper).serverTime, wire::DateTime::FromParts(2024, 1, 31, 10, 59));
}

TEST_P(ListenerTest, AFailedRequestLeavesTheConnectionUsable)
{
    FakeListener fake(0, Options());
    const auto client = LoggedInClient(fake.Port());
    EXPECT_EQ(KindOf([&] { RowsOf(*client, u"fail"_s); }), ErrorKind::Syntax);
    EXPECT_EQ(KindOf([&] { RowsOf(*client, u"crash"_s); }), ErrorKind::Storage);
    EXPECT_TRUE(fake.Logged(u"out of order"_s));
    EXPECT_EQ(RowsOf(*client, u"rows 3"_s), 3);

    const auto stranger = MakeTcpTransport(WayTo(fake.Port()));
    stranger->Connect();
    RowKeeper nothing;
    wire::Request save;
    save.kind = wire::RequestKind::ApplyUpdates;
    for (const wire::Request& request : {QueryRequest(u"rows 1"_s), save, wire::Request()})
        EXPECT_EQ(KindOf([&] { stranger->Exchange(request, nothing); }), ErrorKind::Login);
    EXPECT_EQ(fake.Lines(u"reason=not_logged_in"_s).size(), 3);
    EXPECT_EQ(fake.server.SaveRequests, 0);
    EXPECT_EQ(KindOf([&] { stranger->Exchange(LoginRequest(u"wrong"_s), nothing); }), ErrorKind::Login);
    EXPECT_EQ(stranger->Exchange(LoginRequest(), nothing).identity.site, u"快运本部"_s);
}

TEST_P(ListenerTest, MalformedFramesEndTheirConnectionWithAReasonAndNothingElse)
{
    FakeListener fake(0, Options());
    const auto bystander = LoggedInClient(fake.Port());
    const auto header = [](quint32 length, quint8 kind, quint16 version = wire::kProtocolVersion) {
        QByteArray bytes;
        bytes.append(reinterpret_cast<const char*>(&length), 4);
        bytes.append(reinterpret_cast<const char*>(&version), 2);
        bytes.append(char(kind));
        return bytes.append(5, '\0');
    };
    const std::pair<QByteArray, QString> cases[] = {
        {"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", u"程序版本不同"_s},
        {header(0, 5, 77), u"对方的协议为77"_s},
        {header(0, 99), u"unknown frame kind 99"_s},
        {header(0, 18), u"is no request"_s},
        {header(0xFFFFFFFF, 1), u"more than"_s},
        // More than anybody may send before the login.
        {header(1 << 20, 2) + QByteArray(100, 'x'), u"more than 4096"_s},
        {header(4, 1) + QByteArray("\xFF\xFF\xFF\x7F"), u"ends"_s},
        {header(3, 5) + "abc", u"too many"_s},
    };
    for (const auto& [bytes, reason] : cases) {
        RawClient client(fake.Port());
        client.Send(bytes);
        const QByteArray farewell = client.ReadToEnd();
        EXPECT_TRUE(fake.Logged(reason)) << reason.toStdString();
        ASSERT_GE(farewell.size(), wire::kHeaderSize) << reason.toStdString();
        EXPECT_EQ(wire::ReadHeader(farewell.constData(), wire::kMaxBody).kind, wire::FrameKind::Error);
    }
    {
        RawClient half(fake.Port());
        half.Send(header(100, 1).first(6));
        half.socket.disconnectFromHost();
        RawClient cut(fake.Port());
        cut.Send(header(100, 1) + "abc");
        cut.socket.disconnectFromHost();
    }
    EXPECT_TRUE(fake.Logged(u"inside a frame header"_s));
    EXPECT_TRUE(fake.Logged(u"after 3 of 100 bytes"_s));
    EXPECT_EQ(RowsOf(*bystander, u"rows 5"_s), 5);
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 1));
}

TEST_P(ListenerTest, ClientsThatSayNothingOrStopInTheMiddleAreLeft)
{
    FakeListener fake(0, Options([](auto& o) {
        o.loginTimeout = 600;
        o.frameTimeout = 100;
    }));
    RawClient silent(fake.Port());
    RawClient stalled(fake.Port());
    stalled.Send(QByteArray("\x10\0\0", 3));
    silent.ReadToEnd();
    stalled.ReadToEnd();
    EXPECT_TRUE(fake.Logged(u"no login in time"_s));
    EXPECT_TRUE(fake.Logged(u"frame not completed in time"_s));

    // Neither limit is for those who are logged in and think.
    const auto client = LoggedInClient(fake.Port());
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(RowsOf(*client, u"rows 1"_s), 1);
}

TEST_P(ListenerTest, AClientThatSendsItsLoginByteByByteIsLeftAllTheSame)
{
    FakeListener fake(0, Options([](auto& o) { o.loginTimeout = 400; }));
    RawClient client(fake.Port());
    const wire::Packet login = wire::EncodeRequest(LoginRequest(), 1);
    const QDeadlineTimer deadline(5000);
    for (qsizetype i = 0; i < login.Size() - 1 && !deadline.hasExpired(); ++i) {
        client.Send(QByteArray(login.Data() + i, 1));
        if (client.socket.waitForReadyRead(50) || client.socket.state() != QAbstractSocket::ConnectedState)
            break;
    }
    EXPECT_TRUE(fake.Logged(u"no login in time"_s));
    client.ReadToEnd();
}

TEST_P(ListenerTest, WhoAsksNothingForTooLongIsLeft)
{
    FakeListener fake(0, Options([](auto& o) { o.idleTimeout = 1000; }));
    const auto idle = LoggedInClient(fake.Port());
    const auto busy = LoggedInClient(fake.Port());
    for (int i = 0; i < 200 && fake.Lines(u"idle for too long"_s).isEmpty(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(RowsOf(*busy, u"rows 1"_s), 1);
    }
    EXPECT_EQ(fake.Lines(u"idle for too long"_s).size(), 1);
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 1));
    EXPECT_EQ(KindOf([&] { RowsOf(*idle, u"rows 1"_s); }), ErrorKind::Connection);
}

TEST_P(ListenerTest, AClientThatDiesInTheMiddleOfAReplyIsForgotten)
{
    FakeListener fake(0, Options());
    for (int round = 0; round < 5; ++round) {
        RawClient client(fake.Port());
        client.Send(wire::EncodeRequest(LoginRequest(), 1));
        client.Send(wire::EncodeRequest(QueryRequest(u"rows 3000000"_s), 2));
        EXPECT_TRUE(client.WaitForBytes(100'000));
        client.socket.abort();
        EXPECT_TRUE(FakeListener::Reaches(fake.brokenReplies, round + 1));
    }
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 0));
    EXPECT_EQ(RowsOf(*LoggedInClient(fake.Port()), u"rows 1"_s), 1);
}

TEST_P(ListenerTest, ALongRequestEndsWhenItsClientHasGone)
{
    FakeListener fake(0, Options());
    const auto patient = LoggedInClient(fake.Port());
    {
        RawClient client(fake.Port());
        client.Send(wire::EncodeRequest(LoginRequest(), 1));
        client.Send(wire::EncodeRequest(QueryRequest(u"wait"_s), 2));
        EXPECT_TRUE(FakeListener::Reaches(fake.running, 1));
        // Others are served meanwhile.
        EXPECT_EQ(RowsOf(*patient, u"rows 2"_s), 2);
        EXPECT_EQ(fake.interrupted, 0);
        client.socket.abort();
    }
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 1));
    EXPECT_GE(fake.interrupted, 1);
}

TEST_P(ListenerTest, StoppingAnswersWhatRunsAndNoMore)
{
    FakeListener fake(0, Options());
    const auto busy = LoggedInClient(fake.Port());
    const auto idle = LoggedInClient(fake.Port());
    qint64 rows = 0;
    std::thread query([&] {
        auto own = LoggedInClient(fake.Port());
        rows = RowsOf(*own, u"slow 300"_s);
    });
    EXPECT_TRUE(FakeListener::Reaches(fake.running, 1));
    fake.listener->Stop();
    query.join();
    EXPECT_EQ(rows, 1);
    EXPECT_EQ(fake.listener->ConnectionCount(), 0);
    EXPECT_EQ(KindOf([&] { RowsOf(*idle, u"rows 1"_s); }), ErrorKind::Connection);
    EXPECT_EQ(KindOf([&] { LoggedInClient(fake.Port()); }), ErrorKind::Connection);
}

TEST_P(ListenerTest, WhatDoesNotEndByItselfIsInterruptedWhenStopping)
{
    FakeListener fake(0, Options([](auto& o) { o.stopTimeout = 50; }));
    ErrorKind kind = ErrorKind::Usage;
    std::thread query([&] {
        auto own = LoggedInClient(fake.Port());
        kind = KindOf([&] { RowsOf(*own, u"wait"_s); });
    });
    EXPECT_TRUE(FakeListener::Reaches(fake.running, 1));
    fake.listener->Stop();
    query.join();
    EXPECT_EQ(kind, ErrorKind::Limit);
}

TEST_P(ListenerTest, ServesManyClientsAtOnceUpToItsLimit)
{
    FakeListener fake(0, Options([](auto& o) { o.maxConnections = o.maxPerAccount = 40; }));
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int i = 0; i < 40; ++i) {
        threads.emplace_back([&, i] {
            const auto client = LoggedInClient(fake.Port());
            for (int round = 0; round < 20; ++round)
                good += RowsOf(*client, u"rows %1"_s.arg(i)) == i ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 800);
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 0));

    std::vector<std::unique_ptr<wire::Transport>> clients;
    for (int i = 0; i < 40; ++i)
        clients.push_back(LoggedInClient(fake.Port()));
    EXPECT_EQ(KindOf([&] { LoggedInClient(fake.Port()); }), ErrorKind::Limit);
    EXPECT_TRUE(fake.Logged(u"reason=sessions"_s));
    EXPECT_EQ(RowsOf(*clients.back(), u"rows 1"_s), 1);
}

TEST_P(ListenerTest, RefusesAddressesThatItCannotOrMustNotUse)
{
    FakeListener fake(0, Options());
    EXPECT_EQ(KindOf([&] { FakeListener other(fake.Port()); }), ErrorKind::Connection);
    server::ListenerOptions open = Options();
    open.address = QHostAddress(QHostAddress::Any);
    if (!Encrypted()) {
        EXPECT_EQ(KindOf([&] { FakeListener other(0, open); }), ErrorKind::Policy);
        open.plainNetwork = true;
    }
    const FakeListener other(0, open);
    EXPECT_EQ(RowsOf(*LoggedInClient(other.Port()), u"rows 1"_s), 1);
}

TEST_P(ListenerTest, AnAccountHasSoManySessionsAndNoMore)
{
    FakeListener fake(0, Options([](auto& o) { o.maxPerAccount = 2; }));
    const auto one = LoggedInClient(fake.Port());
    auto two = LoggedInClient(fake.Port());
    EXPECT_EQ(KindOf([&] { LoggedInClient(fake.Port()); }), ErrorKind::Limit);
    EXPECT_TRUE(fake.Logged(u"reason=sessions"_s));
    two.reset();
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 1));
    EXPECT_EQ(RowsOf(*LoggedInClient(fake.Port()), u"rows 1"_s), 1);
}

TEST(AccountSessionsTest, NoAccountTakesThePlacesOfAll)
{
    server::ListenerOptions options;
    options.maxConnections = 20;
    server::AccountSessions sessions;
    const auto come = [&](const QString& account) {
        int let = 0;
        while (let < 100 && sessions.Enter(account, options))
            ++let;
        return let;
    };
    EXPECT_EQ(come(u"greedy"_s), 10);
    EXPECT_EQ(come(u"other"_s), 5) << "the last quarter is for those that have few";
    EXPECT_EQ(come(u"desk"_s), 3);
    sessions.Leave(u"greedy"_s);
    EXPECT_EQ(come(u"greedy"_s), 0);
    options.maxPerAccount = 4;
    EXPECT_EQ(come(u"desk"_s), 1) << "as the administrator says";
}

TEST_P(ListenerTest, SilentOnesLeaveRoomForThoseWhoLogIn)
{
    FakeListener fake(0, Options([](auto& o) { o.maxConnections = 80; }));
    std::vector<std::unique_ptr<QTcpSocket>> silent;
    for (int i = 0; i < 120; ++i) {
        silent.push_back(std::make_unique<QTcpSocket>());
        silent.back()->connectToHost(u"127.0.0.1"_s, fake.Port());
        ASSERT_TRUE(silent.back()->waitForConnected(5000));
    }
    const auto client = LoggedInClient(fake.Port());
    EXPECT_EQ(RowsOf(*client, u"rows 1"_s), 1);
    EXPECT_TRUE(fake.Logged(u"not logged in while others came"_s));
}

// The rest of the reply waits in a file: what made it goes on to the next request.
TEST_P(ListenerTest, WhoDoesNotReadHoldsNoRequestUp)
{
    FakeListener fake(0, Options([](auto& o) { o.readerPatience = 100; }));
    RawClient reader(fake.Port());
    reader.socket.setReadBufferSize(1);
    reader.Send(wire::EncodeRequest(LoginRequest(), 1));
    constexpr qint64 kRows = 1'000'000; // more than sockets hold
    reader.Send(wire::EncodeRequest(QueryRequest(u"rows %1"_s.arg(kRows)), 2));
    EXPECT_TRUE(fake.Logged(u"event=login"_s));
    EXPECT_TRUE(FakeListener::Reaches(fake.begun, 1));
    EXPECT_TRUE(FakeListener::Reaches(fake.running, 0));
    EXPECT_EQ(fake.brokenReplies, 0);
    EXPECT_EQ(fake.sessions, 1);

    // And nothing of it is lost.
    class Frames final : public wire::FrameChannel {
    public:
        explicit Frames(QSslSocket& socket)
            : socket_(socket)
        {
        }

    private:
        qsizetype ReadSome(char* to, qsizetype size, bool) override
        {
            while (socket_.bytesAvailable() == 0 && socket_.waitForReadyRead(5000)) { }
            return socket_.read(to, size);
        }
        void WriteAll(const char*, qsizetype) override { }
        QSslSocket& socket_;
    } frames(reader.socket);
    reader.socket.setReadBufferSize(0);
    wire::Frame frame;
    ASSERT_TRUE(frames.Read(frame, wire::kMaxBody)); // the login's
    ASSERT_TRUE(frames.Read(frame, wire::kMaxBody));
    const wire::ColumnInfos infos = wire::DecodeColumns(frame);
    qint64 rows = 0;
    while (frames.Read(frame, wire::kMaxBody) && frame.header.kind == wire::FrameKind::Rows) {
        const wire::Column numbers = std::move(wire::DecodeRows(frame, *infos).front());
        ASSERT_EQ(numbers.IntegerAt(0), rows);
        rows += numbers.RowCount();
    }
    EXPECT_EQ(rows, kRows);
    EXPECT_EQ(wire::DecodeDone(frame).rowCount, kRows);
}

// Frames that are begun and never ended hold what has come of them.
TEST_P(ListenerTest, RequestsTogetherTakeNoMoreThanTheyMay)
{
    FakeListener fake(0, Options([](auto& o) { o.requestMemory = 16 << 20; }));
    wire::Request save;
    save.kind = wire::RequestKind::ApplyUpdates;
    save.changes.commandText = QString(6 << 20, u'x');
    const wire::Packet packet = wire::EncodeRequest(save, 2);
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(std::make_unique<RawClient>(fake.Port()));
        clients.back()->Send(wire::EncodeRequest(LoginRequest(), 1));
        clients.back()->Send(QByteArray(packet.Data(), packet.Size() / 2 + 1));
    }
    EXPECT_TRUE(fake.Logged(u"reason=busy"_s)) << "an account has half of it";
    EXPECT_EQ(RowsOf(*LoggedInClient(fake.Port()), u"rows 1"_s), 1);
    clients.clear();
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 0));
    save.changes.commandText.truncate(1 << 20);
    RowKeeper nothing;
    EXPECT_NO_THROW(LoggedInClient(fake.Port())->Exchange(save, nothing));
}

TEST(SharedBudgetTest, NoAccountTakesAllAndTheLastQuarterIsForThoseWhoHoldLittle)
{
    storage::SharedBudget all(1'600);
    EXPECT_TRUE(all.Take(u"a"_s, 800));
    EXPECT_FALSE(all.Take(u"a"_s, 1));
    EXPECT_TRUE(all.Take(u"b"_s, 400));
    EXPECT_FALSE(all.Take(u"b"_s, 1));
    EXPECT_TRUE(all.Take(u"c"_s, 100));
    EXPECT_FALSE(all.Take(u"c"_s, 1));
    all.GiveBack(u"b"_s, 400);
    EXPECT_TRUE(all.Take(u"c"_s, 300));
}

// The rest of a request byte by byte would hold its session and its memory for ever.
TEST_P(ListenerTest, ARequestThatOnlyDripsInIsEnded)
{
    FakeListener fake(0, Options([](auto& o) { o.frameTimeout = 500; }));
    RawClient client(fake.Port());
    client.Send(wire::EncodeRequest(LoginRequest(), 1));
    EXPECT_TRUE(FakeListener::Reaches(fake.sessions, 1));
    wire::Request save;
    save.kind = wire::RequestKind::ApplyUpdates;
    save.changes.commandText = QString(1 << 20, u'x');
    const wire::Packet packet = wire::EncodeRequest(save, 2);
    for (int i = 0; i < 50 && fake.sessions > 0; ++i) {
        client.Send(QByteArray(packet.Data() + i, 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_TRUE(fake.Logged(u"reason=frame_time"_s));
    EXPECT_EQ(fake.sessions, 0);
}

TEST_P(ListenerTest, WhoConnectsWithoutEndIsHeldUpBeforeItCostsAnything)
{
    FakeListener fake(0, Options());
    for (int i = 0; i < 700; ++i) {
        QTcpSocket socket;
        socket.connectToHost(u"127.0.0.1"_s, fake.Port());
        ASSERT_TRUE(socket.waitForConnected(5000));
    }
    EXPECT_TRUE(fake.Logged(u"connects too often"_s));
}

// Who may speak to whom: certificates, clients and servers of the wrong kind, what was recorded or made up.

#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "tests/support/FakeListener.h"
#include "tests/support/TestAuthority.h"
#include "wire/Codec.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace {

TestAuthority& Authority()
{
    static TestAuthority authority;
    return authority;
}

server::ListenerOptions With(const TestAuthority::Files& files)
{
    server::ListenerOptions options;
    options.tls = {files.certificates, files.key};
    return options;
}

TConnectOptions WayTo(quint16 port, const QString& caFile = Authority().CaFile())
{
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, port}};
    way.tls = TTlsUse::Always;
    way.caFile = caFile;
    return way;
}

void LogIn(const TConnectOptions& way)
{
    const auto transport = MakeTcpTransport(way);
    transport->Connect();
    RowKeeper nothing;
    transport->Exchange(LoginRequest(), nothing);
}

// The error; nothing where there was none.
std::optional<Error> Failure(const std::function<void()>& work)
{
    try {
        work();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

void ReplaceFile(const QString& path, const QString& by)
{
    QFile::remove(path);
    ASSERT_TRUE(QFile::copy(by, path));
}

QByteArray ReadToEnd(QTcpSocket& socket)
{
    while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(5000)) { }
    EXPECT_NE(socket.state(), QAbstractSocket::ConnectedState) << "still connected";
    return socket.readAll();
}

// Passes one connection on and keeps what the client sent.
QByteArray RecordedFrom(quint16 serverPort, const std::function<void(quint16 port)>& client)
{
    QTcpServer relay;
    relay.listen(QHostAddress::LocalHost);
    std::thread talk([&, port = relay.serverPort()] { client(port); });
    QByteArray recorded;
    EXPECT_TRUE(relay.waitForNewConnection(5000));
    const std::unique_ptr<QTcpSocket> from(relay.nextPendingConnection());
    QTcpSocket to;
    to.connectToHost(u"127.0.0.1"_s, serverPort);
    EXPECT_TRUE(to.waitForConnected(5000));
    while (from->state() == QAbstractSocket::ConnectedState) {
        from->waitForReadyRead(5);
        const QByteArray sent = from->readAll();
        recorded += sent;
        to.write(sent);
        to.waitForReadyRead(5);
        from->write(to.readAll());
        from->flush();
    }
    talk.join();
    return recorded;
}

} // namespace

TEST(TlsTest, OnlyAServerThatProvesItselfIsSpokenTo)
{
    TestAuthority stranger;
    const QString notThere = u"/nowhere/ca.pem"_s;
    struct {
        TestAuthority::Files server;
        QString caFile;
        QString reason; // what the client says
    } const cases[] = {
        {stranger.Issue(), Authority().CaFile(), u"不是由受信任的机构签发"_s},
        {stranger.Issue(), {}, u"不是由受信任的机构签发"_s}, // the system does not know it either
        {Authority().Issue(u"DNS:orders.example"_s), Authority().CaFile(),
            u"签发给“orders.example”的，与所填的地址“127.0.0.1”不符"_s},
    };
    for (const auto& [files, caFile, reason] : cases) {
        FakeListener fake(0, With(files));
        const auto error = Failure([&] { LogIn(WayTo(fake.Port(), caFile)); });
        ASSERT_TRUE(error) << qUtf8Printable(reason);
        EXPECT_EQ(error->Kind(), ErrorKind::Policy);
        EXPECT_TRUE(error->Message().contains(reason)) << qUtf8Printable(error->Message());
        EXPECT_TRUE(fake.Logged(u"reason=tls"_s));
        EXPECT_EQ(fake.Lines(u"event=refused"_s).size(), 1);
        EXPECT_EQ(fake.server.Logins, 0);
    }
    FakeListener fake(0, With(Authority().Issue()));
    const auto missing = Failure([&] { LogIn(WayTo(fake.Port(), notThere)); });
    ASSERT_TRUE(missing);
    EXPECT_TRUE(missing->Message().contains(notThere));
    const auto noCertificate =
        Failure([&] { LogIn(WayTo(fake.Port(), QCoreApplication::applicationFilePath())); });
    ASSERT_TRUE(noCertificate);
    EXPECT_TRUE(noCertificate->Message().contains(u"没有证书"));
    EXPECT_FALSE(Failure([&] { LogIn(WayTo(fake.Port())); }));
}

// No server of ours would serve with it.
TEST(TlsTest, AnExpiredCertificateIsNotSpokenTo)
{
    const TestAuthority::Files files = Authority().Issue(u"IP:127.0.0.1"_s, -1);
    QFile pem(files.key);
    ASSERT_TRUE(pem.open(QFile::ReadOnly));
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(QSslCertificate::fromPath(files.certificates));
    configuration.setPrivateKey(QSslKey(pem.readAll(), QSsl::Ec));
    struct : QTcpServer {
        void incomingConnection(qintptr descriptor) override { client = descriptor; }
        qintptr client = -1;
    } server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    std::optional<Error> error;
    std::thread client([&, port = server.serverPort()] { error = Failure([&] { LogIn(WayTo(port)); }); });
    server.waitForNewConnection(5000);
    QSslSocket socket;
    socket.setSslConfiguration(configuration);
    socket.setSocketDescriptor(server.client);
    socket.startServerEncryption();
    socket.waitForEncrypted(5000);
    socket.waitForDisconnected(5000);
    client.join();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Kind(), ErrorKind::Policy);
    EXPECT_TRUE(error->Message().contains(u"过期")) << qUtf8Printable(error->Message());
}

TEST(TlsTest, PlainAndEncryptedDoNotMixAndSaySo)
{
    FakeListener encrypted(0, With(Authority().Issue()));
    FakeListener plain;
    TConnectOptions way = WayTo(encrypted.Port());
    way.tls = TTlsUse::Network; // which this machine is not
    const auto refused = Failure([&] { LogIn(way); });
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->Message().contains(u"服务器只接受加密的连接")) << refused->what();
    const auto notUnderstood = Failure([&] { LogIn(WayTo(plain.Port())); });
    ASSERT_TRUE(notUnderstood);
    EXPECT_TRUE(notUnderstood->Message().contains(u"没有按加密方式应答")) << notUnderstood->what();
    for (FakeListener* server : {&encrypted, &plain}) {
        EXPECT_TRUE(server->Logged(u"reason=tls"_s));
        EXPECT_EQ(server->Lines(u"event=refused"_s).size(), 1);
    }
}

TEST(TlsTest, AConnectionThatDoesNotFinishItsHandshakeIsLeft)
{
    server::ListenerOptions options = With(Authority().Issue());
    options.loginTimeout = 150;
    FakeListener fake(0, options);
    QTcpSocket half;
    half.connectToHost(u"127.0.0.1"_s, fake.Port());
    ASSERT_TRUE(half.waitForConnected(5000));
    half.write("\x16\x03\x01\x02\x00\x01\x00", 7);
    half.waitForBytesWritten(5000);
    ReadToEnd(half);
    EXPECT_TRUE(fake.Logged(u"TLS handshake failed"_s));
}

TEST(TlsTest, CertificatesAreReplacedWhileConnectionsGoOn)
{
    TestAuthority second;
    const TestAuthority::Files files = Authority().Issue();
    FakeListener fake(0, With(files));
    EXPECT_TRUE(fake.Logged(u"event=certificate"_s));
    const auto open = MakeTcpTransport(WayTo(fake.Port()));
    open->Connect();
    RowKeeper keeper;
    open->Exchange(LoginRequest(), keeper);

    const TestAuthority::Files next = second.Issue();
    ReplaceFile(files.certificates, next.certificates);
    // Half of the replacement: the key is still the old one's.
    EXPECT_FALSE(fake.listener->ReloadCertificates());
    EXPECT_TRUE(fake.Logged(u"is not the key of the first certificate"_s));
    EXPECT_FALSE(Failure([&] { LogIn(WayTo(fake.Port())); }));

    ReplaceFile(files.key, next.key);
    EXPECT_TRUE(fake.listener->ReloadCertificates());
    EXPECT_TRUE(Failure([&] { LogIn(WayTo(fake.Port())); }));
    EXPECT_FALSE(Failure([&] { LogIn(WayTo(fake.Port(), second.CaFile())); }));
    EXPECT_EQ(open->Exchange(QueryRequest(u"rows 3"_s), keeper).rowCount, 3);

    QFile::remove(files.key);
    EXPECT_FALSE(fake.listener->ReloadCertificates());
    EXPECT_FALSE(Failure([&] { LogIn(WayTo(fake.Port(), second.CaFile())); }));
    const auto start = Failure([&] { FakeListener another(0, With(files)); });
    ASSERT_TRUE(start);
    EXPECT_TRUE(start->Message().contains(files.key)) << start->what();
}

TEST(StolenTest, ARecordedLoginIsWorthNothing)
{
    FakeListener fake(0, With(Authority().Issue()));
    const QByteArray recorded = RecordedFrom(fake.Port(), [](quint16 port) { LogIn(WayTo(port)); });
    ASSERT_EQ(fake.server.Logins, 1);
    ASSERT_GT(recorded.size(), 200);
    EXPECT_FALSE(recorded.contains("right")) << "the password crossed in the open";

    QTcpSocket thief;
    thief.connectToHost(u"127.0.0.1"_s, fake.Port());
    ASSERT_TRUE(thief.waitForConnected(5000));
    thief.write(recorded);
    thief.waitForBytesWritten(5000);
    ReadToEnd(thief);
    EXPECT_TRUE(fake.Logged(u"TLS handshake failed"_s));
    EXPECT_EQ(fake.Lines(u"event=refused"_s).size(), 1);
    EXPECT_EQ(fake.server.Logins, 1);
}

TEST(Tls, AnUnfitCertificateIsNotServedWith)
{
    const TestAuthority::Files files = Authority().Issue();
    const QSslCertificate certificate = QSslCertificate::fromPath(files.certificates).constFirst();
    QFile pem(files.key);
    ASSERT_TRUE(pem.open(QFile::ReadOnly));
    const QSslKey key(pem.readAll(), QSsl::Ec);
    QProcess openssl;
    openssl.start(u"openssl"_s, {u"genrsa"_s, u"1024"_s});
    ASSERT_TRUE(openssl.waitForFinished());
    const QSslKey shortKey(openssl.readAllStandardOutput(), QSsl::Rsa);
    const auto refused =
        Failure([] { FakeListener fake(0, With(Authority().Issue(u"IP:127.0.0.1"_s, -1))); });
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->Message().contains(u"expired"_s)) << qUtf8Printable(refused->Message());
    const QDateTime now = QDateTime::currentDateTimeUtc();
    EXPECT_EQ(server::WhyUnfit(certificate, key, now), QString());
    EXPECT_TRUE(server::WhyUnfit(certificate, key, now.addDays(-2)).contains(u"not valid"_s));
    EXPECT_TRUE(server::WhyUnfit(certificate, shortKey, now).contains(u"1024"_s));
}

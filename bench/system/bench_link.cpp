// What compression does for a desk behind a slow line: full packets of orders through a proxy that lets 20
// Mbit/s pass. A client asks for compression by itself where the server is not on its own machine, so the
// same proxy is reached by this machine's network address, and by its loopback address for the peer.

#include "bench/system/Measure.h"
#include "demo/Generator.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "tests/support/ServerProcess.h"

#include <QCoreApplication>
#include <QNetworkInterface>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kBytesPerSecond = 20'000'000 / 8;
constexpr int kTick = 2; // milliseconds
constexpr qint64 kAhead = 64 * 1024; // bytes that wait at the narrow place

// Passes one connection's bytes on, so many a second each way.
class SlowLink : public QObject {
public:
    SlowLink(QTcpSocket* client, quint16 serverPort)
        : client_(client)
    {
        client_->setParent(this);
        server_.connectToHost(QHostAddress::LocalHost, serverPort);
        for (QTcpSocket* socket : {client_, &server_}) {
            socket->setReadBufferSize(kAhead);
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            connect(socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
        }
        connect(&timer_, &QTimer::timeout, this, [this] {
            const double seconds = double(elapsed_.nsecsElapsed()) / 1e9;
            elapsed_.start();
            Pass(*client_, server_, up_, seconds);
            Pass(server_, *client_, down_, seconds);
        });
        elapsed_.start();
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.start(kTick);
    }

private:
    // `budget`: bytes that may pass by now; an idle line saves up little.
    static void Pass(QTcpSocket& from, QTcpSocket& to, double& budget, double seconds)
    {
        budget = std::min(budget + seconds * double(kBytesPerSecond), double(kBytesPerSecond) / 10);
        const QByteArray bytes = from.read(std::min(qint64(budget), from.bytesAvailable()));
        budget -= double(bytes.size());
        to.write(bytes);
        to.flush();
    }

    QTcpSocket* client_;
    QTcpSocket server_;
    QTimer timer_;
    QElapsedTimer elapsed_;
    double up_ = 0;
    double down_ = 0;
};

class SlowLine {
public:
    explicit SlowLine(quint16 serverPort)
    {
        context_.moveToThread(&thread_);
        thread_.start();
        Run([=, this] {
            listener_ = new QTcpServer(&context_);
            QObject::connect(listener_, &QTcpServer::newConnection, listener_, [=, this] {
                (new SlowLink(listener_->nextPendingConnection(), serverPort))->setParent(listener_);
            });
            listener_->listen();
        });
    }
    ~SlowLine()
    {
        Run([this] { delete listener_; });
        thread_.quit();
        thread_.wait();
    }
    SlowLine(const SlowLine&) = delete;
    SlowLine& operator=(const SlowLine&) = delete;

    int Port() const { return listener_->serverPort(); }

private:
    template <typename F> void Run(F&& work)
    {
        QMetaObject::invokeMethod(&context_, std::forward<F>(work), Qt::BlockingQueuedConnection);
    }

    QThread thread_;
    QObject context_;
    QTcpServer* listener_ = nullptr;
};

// Of this machine, but not its loopback; empty where there is none.
QString NetworkAddress()
{
    for (const QHostAddress& address : QNetworkInterface::allAddresses()) {
        if (!address.isLoopback() && address.protocol() == QAbstractSocket::IPv4Protocol)
            return address.toString();
    }
    return {};
}

class Desk {
public:
    Desk(const QString& host, int port)
    {
        TConnectOptions way;
        way.addresses = {{host, port}};
        way.tls = TTlsUse::Never;
        connection_.SetTransport(MakeTcpTransport(way));
        connection_.Open(demo::Logins().front().account, demo::DemoPassword());
        orders.SetRemoteServer(&connection_);
        orders.SetCommandText(u"select a.* from tab_zelmor_bill a"_s);
    }

    double Open()
    {
        orders.Close();
        return MillisecondsOf([this] { orders.Open(); });
    }

private:
    TSocketConnectionEx connection_;

public:
    TClientDataSetEx orders;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString address = NetworkAddress();
    if (address.isEmpty()) {
        std::fputs("bench: this machine has no network address; compression is not measured\n", stderr);
        return 0;
    }
    try {
        const QTemporaryDir folder;
        const ServerProcess server(folder.path(), {u"--demo"_s, u"small"_s, u"--log-level"_s, u"warn"_s});
        SlowLine line(quint16(server.Port()));
        Desk far(address, line.Port());
        Desk near(u"127.0.0.1"_s, line.Port());
        const Comparison opened = Compare(
            5, [&] { return far.Open(); }, [&] { return near.Open(); });
        PrintHead();
        PrintRow(u"open %1 × %2 over 20 Mbit/s, compressed"_s.arg(far.orders.RecordCount())
                     .arg(far.orders.FieldCount()),
            Milliseconds(opened.subject), u"the same without compression: "_s + Milliseconds(opened.peer),
            opened.ratio, 0.5);
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}

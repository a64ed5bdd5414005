#include "server/monitoring/MetricsPort.h"

#include "wire/Error.h"

#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace server::monitoring {
namespace {

constexpr qsizetype kMaxRequest = 4096; // bytes
constexpr qsizetype kMaxPage = 4 << 20;
constexpr int kMaxConnections = 16;
constexpr int kPatience = 2000; // milliseconds, from connecting to the last byte
constexpr int kFetchPatience = 3000;

QByteArray Response(const QByteArray& status, const QByteArray& type, const QByteArray& body, bool withBody)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: " + type
        + "; charset=utf-8\r\nContent-Length: " + QByteArray::number(body.size())
        + "\r\nConnection: close\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n"
        + (withBody ? body : QByteArray());
}

} // namespace

class MetricsPort::Private {
public:
    Private(Page metrics, Page status)
        : metrics_(std::move(metrics))
        , status_(std::move(status))
    {
        thread_.setObjectName(u"metrics"_s);
        thread_.start();
        context_.moveToThread(&thread_);
    }
    ~Private()
    {
        Run([this] { acceptor_.reset(); });
        thread_.quit();
        thread_.wait();
    }
    Q_DISABLE_COPY(Private)

    void Listen(const QHostAddress& address, quint16 port)
    {
        QString failure;
        Run([&] {
            acceptor_ = std::make_unique<QTcpServer>();
            acceptor_->setMaxPendingConnections(kMaxConnections);
            QObject::connect(
                acceptor_.get(), &QTcpServer::newConnection, acceptor_.get(), [this] { Accept(); });
            if (!acceptor_->listen(address, port))
                failure = acceptor_->errorString();
            port_ = acceptor_->serverPort();
        });
        if (!failure.isEmpty())
            throw wire::Error(wire::ErrorKind::Connection,
                u"cannot listen on %1:%2: %3"_s.arg(address.toString()).arg(port).arg(failure));
    }
    quint16 Port() const noexcept { return port_; }

private:
    template <typename Work> void Run(Work work)
    {
        QMetaObject::invokeMethod(&context_, work, Qt::BlockingQueuedConnection);
    }

    // Sockets are the acceptor's children, and go with it.
    void Accept()
    {
        while (QTcpSocket* socket = acceptor_->nextPendingConnection()) {
            if (connections_ >= kMaxConnections) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
            ++connections_;
            QObject::connect(socket, &QObject::destroyed, &context_, [this] { --connections_; });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { Read(*socket); });
            QTimer::singleShot(kPatience, socket, [socket] {
                socket->abort();
                socket->deleteLater();
            });
            socket->setReadBufferSize(kMaxRequest + 1);
        }
    }

    void Read(QTcpSocket& socket)
    {
        const QByteArray request = socket.peek(kMaxRequest + 1);
        const bool whole = request.contains("\r\n\r\n");
        if (!whole && request.size() <= kMaxRequest)
            return;
        QObject::disconnect(&socket, &QTcpSocket::readyRead, nullptr, nullptr);
        // What is left unread would make the system cut the connection before the answer has arrived.
        socket.skip(request.size());
        socket.write(whole ? Answer(request)
                           : Response("431 Request Header Fields Too Large", "text/plain", "", true));
        socket.disconnectFromHost();
    }

    QByteArray Answer(const QByteArray& request) const
    {
        const QList<QByteArray> line = request.first(request.indexOf("\r\n")).split(' ');
        if (line.size() != 3 || !line[2].startsWith("HTTP/1."))
            return Response("400 Bad Request", "text/plain", "", true);
        const bool head = line[0] == "HEAD";
        if (line[0] != "GET" && !head)
            return Response("405 Method Not Allowed", "text/plain", "", true);
        const QByteArray path = line[1].split('?').constFirst();
        try {
            if (path == "/metrics")
                return Response("200 OK", "text/plain; version=0.0.4", metrics_(), !head);
            if (path == "/status")
                return Response("200 OK", "text/plain", status_(), !head);
        } catch (const std::exception& error) {
            return Response("500 Internal Server Error", "text/plain", error.what(), !head);
        }
        return Response("404 Not Found", "text/plain", "/metrics or /status\n", !head);
    }

    Page metrics_;
    Page status_;
    QThread thread_;
    QObject context_; // on the thread: what is to run there is posted to it
    std::unique_ptr<QTcpServer> acceptor_;
    int connections_ = 0; // of the thread
    quint16 port_ = 0;
};

MetricsPort::MetricsPort(const QHostAddress& address, quint16 port, Page metrics, Page status)
{
    if (!address.isLoopback())
        throw wire::Error(wire::ErrorKind::Policy,
            u"figures are told to this machine alone: --metrics takes a loopback address such as "
            "127.0.0.1:9866, not %1"_s.arg(address.toString()));
    d_ = std::make_unique<Private>(std::move(metrics), std::move(status));
    d_->Listen(address, port);
}

MetricsPort::~MetricsPort() = default;

quint16 MetricsPort::Port() const noexcept
{
    return d_->Port();
}

QByteArray FetchPage(const QHostAddress& address, quint16 port, const QByteArray& path)
{
    const auto fail = [&](const QString& why) {
        throw wire::Error(wire::ErrorKind::Connection,
            u"no answer from %1:%2: %3"_s.arg(address.toString()).arg(port).arg(why));
    };
    const QDeadlineTimer deadline(kFetchPatience);
    QTcpSocket socket;
    socket.connectToHost(address, port);
    if (!socket.waitForConnected(kFetchPatience))
        fail(socket.errorString());
    socket.write("GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    QByteArray answer;
    while (socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())) && answer.size() < kMaxPage)
        answer += socket.readAll();
    answer += socket.readAll();
    const qsizetype body = answer.indexOf("\r\n\r\n");
    if (!answer.startsWith("HTTP/1.1 200 ") || body < 0)
        fail(answer.isEmpty() ? socket.errorString() : QString::fromUtf8(answer.first(answer.indexOf('\r'))));
    return answer.sliced(body + 4);
}

} // namespace server::monitoring

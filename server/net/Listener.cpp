#include "server/net/Listener.h"

#include "server/net/ClientConnection.h"
#include "wire/Codec.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <condition_variable>
#include <list>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {
namespace {

class Acceptor : public QTcpServer {
public:
    std::function<void(qintptr)> onConnection;

protected:
    void incomingConnection(qintptr descriptor) override { onConnection(descriptor); }
};

} // namespace

// The acceptor lives on a thread of its own with an event loop; so does the list of clients.
class Listener::Private {
public:
    Private(SessionFactory newSession, ListenerOptions listenerOptions)
        : newSession_(std::move(newSession))
        , options_(std::move(listenerOptions))
    {
    }

    void Start();
    void Stop() noexcept;
    quint16 Port() const noexcept { return port_; }
    int ConnectionCount() const noexcept { return count_; }

private:
    struct Client {
        std::unique_ptr<ClientConnection> connection;
        std::thread thread;
    };

    void Listen();
    void Accept(qintptr descriptor);
    void Forget(std::list<Client>::iterator client);

    const SessionFactory newSession_;
    const ListenerOptions options_;
    QThread thread_;
    std::unique_ptr<QObject> context_; // on the thread: what is to run there is posted to it
    std::unique_ptr<Acceptor> acceptor_;
    std::unique_ptr<QTimer> watch_;
    std::list<Client> clients_;
    std::atomic<int> count_{0}; // of clients; going down under the mutex
    std::mutex mutex_;
    std::condition_variable gone_;
    quint16 port_ = 0;
};

void Listener::Private::Start()
{
    RequireServable(options_);
    thread_.setObjectName(u"listener"_s);
    thread_.start();
    context_ = std::make_unique<QObject>();
    context_->moveToThread(&thread_);
    std::exception_ptr failure;
    QMetaObject::invokeMethod(
        context_.get(),
        [&] {
            try {
                Listen();
            } catch (...) {
                failure = std::current_exception();
            }
        },
        Qt::BlockingQueuedConnection);
    if (failure) {
        Stop();
        std::rethrow_exception(failure);
    }
}

void Listener::Private::Listen()
{
    acceptor_ = std::make_unique<Acceptor>();
    acceptor_->onConnection = [this](qintptr descriptor) { Accept(descriptor); };
    acceptor_->setListenBacklogSize(256);
    if (!acceptor_->listen(options_.address, options_.port))
        throw Error(ErrorKind::Connection,
            u"cannot listen on %1:%2: %3"_s.arg(options_.address.toString())
                .arg(options_.port)
                .arg(acceptor_->errorString()));
    port_ = acceptor_->serverPort();
    watch_ = std::make_unique<QTimer>();
    QObject::connect(watch_.get(), &QTimer::timeout, context_.get(), [this] {
        for (Client& client : clients_)
            client.connection->InterruptIfAbandoned();
    });
    watch_->start(options_.watchInterval);
}

void Listener::Private::Accept(qintptr descriptor)
{
    const auto refuse = [&](const QString& reason) {
        if (options_.log)
            options_.log(u"connection refused: %1"_s.arg(reason));
        const wire::Packet packet =
            wire::EncodeError(Error(ErrorKind::Limit, u"服务器连接数已满，请稍后重试！"_s), 0);
        QTcpSocket socket;
        socket.setSocketDescriptor(descriptor);
        socket.write(packet.Data(), packet.Size());
        socket.flush();
    };
    if (count_ >= options_.maxConnections) {
        refuse(u"%1 clients are connected"_s.arg(options_.maxConnections));
        return;
    }
    const auto client = clients_.emplace(clients_.end());
    client->connection = std::make_unique<ClientConnection>(descriptor, newSession_, options_);
    try {
        client->thread = std::thread([this, client] {
            client->connection->Run();
            QMetaObject::invokeMethod(
                context_.get(), [this, client] { Forget(client); }, Qt::QueuedConnection);
        });
    } catch (const std::system_error& error) {
        clients_.erase(client);
        refuse(QString::fromLocal8Bit(error.what()));
        return;
    }
    ++count_;
}

void Listener::Private::Forget(std::list<Client>::iterator client)
{
    client->thread.join();
    clients_.erase(client);
    {
        const std::lock_guard lock(mutex_);
        --count_;
    }
    gone_.notify_all();
}

void Listener::Private::Stop() noexcept
{
    if (!thread_.isRunning())
        return;
    const auto run = [this](auto work) {
        QMetaObject::invokeMethod(context_.get(), work, Qt::BlockingQueuedConnection);
    };
    run([this] {
        acceptor_.reset();
        watch_.reset();
        for (Client& client : clients_)
            client.connection->Finish();
    });
    std::unique_lock lock(mutex_);
    const auto allGone = [this] { return count_ == 0; };
    if (!gone_.wait_for(lock, std::chrono::milliseconds(options_.stopTimeout), allGone)) {
        lock.unlock();
        run([this] {
            for (Client& client : clients_)
                client.connection->Interrupt();
        });
        lock.lock();
        gone_.wait(lock, allGone);
    }
    lock.unlock();
    thread_.quit();
    thread_.wait();
}

void RequireServable(const ListenerOptions& options)
{
    if (!options.address.isLoopback() && !options.plainNetwork)
        throw Error(ErrorKind::Policy,
            u"%1 can be reached from other machines, but connections are not enciphered: "
            "listen on 127.0.0.1, or give --plain-network on a network that you trust"_s.arg(
                options.address.toString()));
}

Listener::Listener(SessionFactory newSession, ListenerOptions options)
    : d_(std::make_unique<Private>(std::move(newSession), std::move(options)))
{
}

Listener::~Listener()
{
    d_->Stop();
}

void Listener::Start()
{
    d_->Start();
}

quint16 Listener::Port() const noexcept
{
    return d_->Port();
}

int Listener::ConnectionCount() const noexcept
{
    return d_->ConnectionCount();
}

void Listener::Stop() noexcept
{
    d_->Stop();
}

} // namespace server

#include "server/net/Listener.h"

#include "server/monitoring/Process.h"
#include "server/net/ClientConnection.h"
#include "server/net/ConnectionRate.h"
#include "server/net/Peer.h"
#include "server/net/RequestShare.h"
#include "server/net/WaitingReply.h"
#include "server/refusal/Place.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <thread>

#ifndef Q_OS_WIN
#include <sys/resource.h>
#endif

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {
namespace {

// So many clients above the limit are told that there are too many (that takes a thread each and, with TLS, a
// handshake); the rest are closed without a word.
constexpr int kFarewells = 32;
// So many from one address may be logging in, whatever the limits.
constexpr int kNewcomersAnywhere = 64;
// So many clients that are about to go have places beyond the limit while they do.
constexpr int kMostLeaving = 64;

constexpr std::chrono::milliseconds kInterruptAgain(500);
constexpr qint64 kQuiet = 5'000; // milliseconds without a request

class Acceptor : public QTcpServer {
public:
    std::function<void(qintptr)> onConnection;

protected:
    void incomingConnection(qintptr descriptor) override { onConnection(descriptor); }
};

// Raises this process's limit of open files to what the clients need, as far as it may.
void AllowDescriptors([[maybe_unused]] const ListenerOptions& options)
{
#ifndef Q_OS_WIN // which has no such limit
    constexpr rlim_t kOthers = 500; // the database's and what else there is
    const auto needed =
        kOthers + static_cast<rlim_t>(options.maxConnections) * (options.tls.IsGiven() ? 2 : 1);
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= needed)
        return;
    limit.rlim_cur = std::min(needed, limit.rlim_max);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur < needed)
        options.monitor->log.Warn("open_files",
            {{"allowed", limit.rlim_cur}, {"needed", needed},
                {"message", "fewer clients can be served than there may be sessions"}});
#endif
}

} // namespace

// The acceptor lives on a thread of its own with an event loop; so does the list of clients.
class Listener::Private {
public:
    Private(SessionFactory newSession, ListenerOptions listenerOptions)
        : newSession_(std::move(newSession))
        , options_(std::move(listenerOptions))
        , certificates_(options_.tls.IsGiven()
                  ? std::make_unique<Certificates>(options_.tls, options_.monitor)
                  : nullptr)
    {
    }

    void Start();
    void Stop() noexcept;
    bool ReloadCertificates() noexcept;
    quint16 Port() const noexcept { return port_; }
    int ConnectionCount() const noexcept { return count_; }

private:
    struct Client {
        QString place;
        std::unique_ptr<ClientConnection> connection;
        std::thread thread;
    };

    void Listen();
    void Watch();
    void Accept(qintptr descriptor);
    struct Places {
        int free = 0; // for the one who comes now
        int here = 0; // taken from the same address
        int leaving = 0; // of those who are about to go
    };
    // Where too many are not logged in, or no place is left, closes a silent one of the address that has most
    // of them.
    Places MakeRoomFor(const QString& place);
    void Forget(std::list<Client>::iterator client);

    const SessionFactory newSession_;
    const ListenerOptions options_;
    const std::unique_ptr<Certificates> certificates_; // null: nothing is encrypted
    AccountSessions accounts_;
    storage::SharedBudget requests_{options_.requestMemory};
    storage::SharedBudget replies_{WaitingReply::kMostOfAll};
    const ClientContext context_{newSession_, options_, certificates_.get(), accounts_, requests_, replies_};
    QThread thread_;
    std::unique_ptr<QObject> worker_; // on the thread: what is to run there is posted to it
    std::unique_ptr<Acceptor> acceptor_;
    std::unique_ptr<QTimer> watch_;
    std::list<Client> clients_; // in the order of their coming
    ConnectionRate rate_;
    quint64 receivedBefore_ = 0;
    QDeadlineTimer quietFrom_{QDeadlineTimer::Forever};
    std::atomic<int> count_{0}; // of clients; going down under the mutex
    std::mutex mutex_;
    std::condition_variable gone_;
    quint16 port_ = 0;
};

void Listener::Private::Start()
{
    RequireServable(options_);
    if (certificates_)
        certificates_->Load();
    AllowDescriptors(options_);
    thread_.setObjectName(u"listener"_s);
    thread_.start();
    worker_ = std::make_unique<QObject>();
    worker_->moveToThread(&thread_);
    std::exception_ptr failure;
    QMetaObject::invokeMethod(
        worker_.get(),
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
    QObject::connect(watch_.get(), &QTimer::timeout, worker_.get(), [this] { Watch(); });
    watch_->start(options_.watchInterval);
}

void Listener::Private::Watch()
{
    for (Client& client : clients_)
        client.connection->InterruptIfAbandoned();
    rate_.Forget(ConnectionRate::Clock::now());
    // Memory that replies have freed goes back to the system only on request. That takes time, so it is done
    // when all is quiet; under load only where it is much.
    const quint64 received = options_.monitor->metrics.bytesReceived.Value();
    const QDeadlineTimer now = QDeadlineTimer::current();
    if (std::exchange(receivedBefore_, received) != received) {
        quietFrom_ = now + kQuiet;
        monitoring::ReturnFreeMemory(monitoring::FreeMemory::Much);
    } else if (!quietFrom_.isForever() && quietFrom_ < now) {
        quietFrom_ = QDeadlineTimer(QDeadlineTimer::Forever);
        monitoring::ReturnFreeMemory(monitoring::FreeMemory::All);
    }
}

void Listener::Private::Accept(qintptr descriptor)
{
    const auto close = [&](const QString& reason) {
        options_.monitor->Refuse(RefusalReason::Sessions, {{"message", reason}});
        QTcpSocket().setSocketDescriptor(descriptor);
    };
    const QString peer = PeerOf(descriptor);
    const QString place = PlaceOf(peer);
    if (options_.maxPerAddress > 0 && !rate_.Admit(place, ConnectionRate::Clock::now())) {
        close(u"%1 connects too often"_s.arg(place));
        return;
    }
    const Places places = MakeRoomFor(place);
    const bool tooMany = options_.maxPerAddress > 0 && places.here >= options_.maxPerAddress
        && !QHostAddress(place).isLoopback();
    const int free = tooMany ? 0 : places.free;
    if (free <= 0 && places.leaving >= kFarewells) {
        close(u"%1 clients are connected"_s.arg(count_));
        return;
    }
    const auto client = clients_.emplace(clients_.end());
    client->place = place;
    client->connection = std::make_unique<ClientConnection>(descriptor, context_, free > 0);
    try {
        client->thread = std::thread([this, client] {
            client->connection->Run();
            QMetaObject::invokeMethod(
                worker_.get(), [this, client] { Forget(client); }, Qt::QueuedConnection);
        });
    } catch (const std::system_error& error) {
        clients_.erase(client);
        close(QString::fromLocal8Bit(error.what()));
        return;
    }
    ++count_;
}

Listener::Private::Places Listener::Private::MakeRoomFor(const QString& place)
{
    Places places;
    int newcomers = 0;
    QHash<QString, int> byPlace;
    for (const Client& client : clients_) {
        places.leaving += client.connection->IsLeaving() ? 1 : 0;
        if (client.connection->IsLeaving())
            continue;
        places.here += client.place == place ? 1 : 0;
        if (client.connection->IsNewcomer()) {
            ++newcomers;
            ++byPlace[client.place];
        }
    }
    places.free = options_.maxConnections - count_ + std::min(places.leaving, kMostLeaving);
    QString crowded;
    if (byPlace.value(place) >= std::max(options_.maxNewcomers / 2, kNewcomersAnywhere))
        crowded = place;
    else if (newcomers > 0 && (newcomers >= options_.maxNewcomers || places.free <= 0))
        crowded = std::max_element(byPlace.cbegin(), byPlace.cend()).key();
    else
        return places;
    const auto silent = std::ranges::find_if(clients_,
        [&](const Client& client) { return client.place == crowded && client.connection->IsNewcomer(); });
    silent->connection->Displace();
    if (places.leaving++ < kMostLeaving)
        ++places.free;
    return places;
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
        QMetaObject::invokeMethod(worker_.get(), work, Qt::BlockingQueuedConnection);
    };
    run([this] {
        acceptor_.reset();
        watch_.reset();
        for (Client& client : clients_)
            client.connection->Finish();
    });
    std::unique_lock lock(mutex_);
    const auto allGone = [this] { return count_ == 0; };
    auto patience = std::chrono::milliseconds(options_.stopTimeout);
    while (!gone_.wait_for(lock, patience, allGone)) {
        lock.unlock();
        run([this] {
            for (Client& client : clients_)
                client.connection->Interrupt();
        });
        lock.lock();
        patience = kInterruptAgain; // one that was just beginning has not heard it
    }
    lock.unlock();
    thread_.quit();
    thread_.wait();
}

bool Listener::Private::ReloadCertificates() noexcept
{
    if (!certificates_)
        return true;
    try {
        certificates_->Load();
        return true;
    } catch (const std::exception& error) {
        options_.monitor->log.Error("certificate_unusable", {{"message", error.what()}});
        return false;
    }
}

void RequireServable(const ListenerOptions& options)
{
    if (!options.address.isLoopback() && !options.tls.IsGiven() && !options.plainNetwork)
        throw Error(ErrorKind::Policy,
            u"%1 can be reached from other machines, but connections are not encrypted: give a certificate "
            "and its key, listen on 127.0.0.1, or give --plain-network on a network that you trust"_s.arg(
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

bool Listener::ReloadCertificates() noexcept
{
    return d_->ReloadCertificates();
}

void Listener::Stop() noexcept
{
    d_->Stop();
}

} // namespace server

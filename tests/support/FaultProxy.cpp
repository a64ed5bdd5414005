#include "tests/support/FaultProxy.h"

#include "wire/Error.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <random>

using Direction = PassingFrame::Direction;

namespace {

constexpr auto kPatience = std::chrono::seconds(10);
constexpr int kReleased = -1;

class Acceptor : public QTcpServer {
public:
    std::function<void(qintptr)> onConnection;

protected:
    void incomingConnection(qintptr descriptor) override { onConnection(descriptor); }
};

// What has come from one side and not gone to the other.
struct Lane {
    QByteArray waiting;
    qsizetype trickling = 0; // bytes of its first frame that pass in pieces
    qsizetype piece = 0;
};

// One client's connection and the one made for it.
struct Link : QObject {
    int number = 0;
    QTcpSocket client;
    QTcpSocket server;
    Lane toServer;
    Lane toClient;
    bool stalled = false;
    bool cut = false; // about to be deleted
    QByteArray held; // the client has lost its connection; this is still to reach the server
    int repliesToWait = 0; // until it does; kReleased when it has

    Lane& LaneOf(Direction direction) { return direction == Direction::ToServer ? toServer : toClient; }
    QTcpSocket& From(Direction direction) { return direction == Direction::ToServer ? client : server; }
    QTcpSocket& To(Direction direction) { return direction == Direction::ToServer ? server : client; }
};

} // namespace

// Everything but the number of held requests lives on the thread.
class FaultProxy::Private {
public:
    Private(QString host, quint16 port)
        : serverHost_(std::move(host))
        , serverPort_(port)
    {
        context_.moveToThread(&thread_);
        thread_.start();
        Run([this] { Listen(); });
        if (port_ != 0)
            return;
        Stop();
        throw wire::Error(wire::ErrorKind::Connection, QStringLiteral("no port for the proxy"));
    }
    ~Private()
    {
        Run([this] { acceptor_.reset(); });
        CutAll();
        Stop();
    }
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    quint16 Port() const noexcept { return port_; }
    void SetScript(Script script)
    {
        Run([&] { script_ = std::move(script); });
    }
    void CutAll()
    {
        Run([this] {
            for (Link* link : std::list(links_))
                Forget(*link);
        });
    }
    bool ReleaseHeld()
    {
        Run([this] {
            for (Link* link : std::list(links_)) {
                if (!link->held.isEmpty() && link->repliesToWait != kReleased)
                    Release(*link);
            }
        });
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, [this] { return held_ == 0; });
    }

private:
    template <typename F> void Run(F&& work)
    {
        QMetaObject::invokeMethod(&context_, std::forward<F>(work), Qt::BlockingQueuedConnection);
    }

    void Stop()
    {
        thread_.quit();
        thread_.wait();
    }
    void Listen();
    void Accept(qintptr descriptor);
    void Move(Link& link, Direction direction);
    bool MoveFrame(Link& link, Direction direction);
    void MoveTrickle(Link& link, Direction direction);
    void Pass(Link& link, Direction direction, qsizetype size);
    void Hold(Link& link, qsizetype size, int replies);
    void Release(Link& link);
    void CountReply();
    void SideClosed(Link& link, Direction from);
    void Forget(Link& link);

    const QString serverHost_;
    const quint16 serverPort_;
    QThread thread_;
    QObject context_; // what is to run on the thread is posted to it
    std::unique_ptr<Acceptor> acceptor_;
    std::list<Link*> links_;
    Script script_;
    quint16 port_ = 0;
    int accepted_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    int held_ = 0; // requests held whose answer may still come
};

void FaultProxy::Private::Listen()
{
    acceptor_ = std::make_unique<Acceptor>();
    acceptor_->onConnection = [this](qintptr descriptor) { Accept(descriptor); };
    acceptor_->setListenBacklogSize(256);
    if (acceptor_->listen(QHostAddress::LocalHost))
        port_ = acceptor_->serverPort();
}

void FaultProxy::Private::Accept(qintptr descriptor)
{
    auto* const link = new Link;
    links_.push_back(link);
    link->number = ++accepted_;
    link->client.setSocketDescriptor(descriptor);
    link->server.connectToHost(serverHost_, serverPort_);
    for (QTcpSocket* socket : {&link->client, &link->server})
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QObject::connect(&link->server, &QTcpSocket::connected, link,
        [=, this] { link->server.setSocketOption(QAbstractSocket::LowDelayOption, 1); });
    for (const Direction direction : {Direction::ToServer, Direction::ToClient}) {
        QTcpSocket* const from = &link->From(direction);
        QObject::connect(from, &QTcpSocket::readyRead, link, [=, this] { Move(*link, direction); });
        QObject::connect(from, &QTcpSocket::disconnected, link, [=, this] { SideClosed(*link, direction); });
        QObject::connect(from, &QTcpSocket::errorOccurred, link, [=, this] {
            if (from->state() == QAbstractSocket::UnconnectedState)
                SideClosed(*link, direction);
        });
    }
}

void FaultProxy::Private::Move(Link& link, Direction direction)
{
    if (link.cut)
        return;
    Lane& lane = link.LaneOf(direction);
    lane.waiting += link.From(direction).readAll();
    if (link.stalled || lane.trickling > 0)
        return;
    if (!script_ && link.held.isEmpty()) {
        Pass(link, direction, lane.waiting.size());
        return;
    }
    try {
        while (MoveFrame(link, direction)) { }
    } catch (const wire::Error&) {
        Forget(link); // no frame: a script can say nothing about it
    }
}

// True where the next frame may be looked at.
bool FaultProxy::Private::MoveFrame(Link& link, Direction direction)
{
    Lane& lane = link.LaneOf(direction);
    if (lane.waiting.size() < wire::kHeaderSize)
        return false;
    PassingFrame frame;
    frame.direction = direction;
    frame.connection = link.number;
    frame.header = wire::ReadHeader(lane.waiting.constData(), wire::kMaxBody);
    frame.size = wire::kHeaderSize + qsizetype(frame.header.length);
    if (lane.waiting.size() < frame.size)
        return false;
    const bool endsReply = direction == Direction::ToClient
        && (frame.header.kind == wire::FrameKind::Done || frame.header.kind == wire::FrameKind::Error);
    if (!link.held.isEmpty()) {
        // Nobody is there to read the reply of a request that came late.
        lane.waiting.remove(0, frame.size);
        if (endsReply)
            Forget(link);
        return !endsReply;
    }
    const Fate fate = script_ ? script_(frame) : Fate{};
    switch (fate.kind) {
    case Fate::Kind::Pass:
        Pass(link, direction, frame.size);
        break;
    case Fate::Kind::Trickle:
        lane.trickling = frame.size;
        lane.piece = std::max<qsizetype>(fate.bytes, 1);
        MoveTrickle(link, direction);
        return false;
    case Fate::Kind::Cut:
        Pass(link, direction, std::min(fate.bytes, frame.size));
        Forget(link);
        return false;
    case Fate::Kind::Stall:
        link.stalled = true;
        return false;
    case Fate::Kind::Hold:
        Hold(link, frame.size, fate.replies);
        return false;
    }
    if (endsReply)
        CountReply();
    return !link.cut;
}

void FaultProxy::Private::MoveTrickle(Link& link, Direction direction)
{
    if (link.cut)
        return;
    Lane& lane = link.LaneOf(direction);
    const qsizetype step = std::min(lane.piece, lane.trickling);
    Pass(link, direction, step);
    lane.trickling -= step;
    QTimer::singleShot(0, &link, [=, this, &link] {
        if (link.LaneOf(direction).trickling > 0)
            MoveTrickle(link, direction);
        else
            Move(link, direction);
    });
}

void FaultProxy::Private::Pass(Link& link, Direction direction, qsizetype size)
{
    QByteArray& waiting = link.LaneOf(direction).waiting;
    QTcpSocket& to = link.To(direction);
    to.write(waiting.constData(), size);
    waiting.remove(0, size);
    if (to.state() == QAbstractSocket::ConnectedState)
        to.flush();
}

void FaultProxy::Private::Hold(Link& link, qsizetype size, int replies)
{
    link.held = link.toServer.waiting.first(size);
    link.repliesToWait = replies;
    {
        const std::lock_guard lock(mutex_);
        ++held_;
    }
    QObject::disconnect(&link.client, nullptr, &link, nullptr);
    link.client.abort();
    if (replies <= 0)
        Release(link);
}

void FaultProxy::Private::Release(Link& link)
{
    link.repliesToWait = kReleased;
    link.server.write(link.held);
}

void FaultProxy::Private::CountReply()
{
    for (Link* link : links_) {
        if (!link->held.isEmpty() && link->repliesToWait > 0 && --link->repliesToWait == 0)
            Release(*link);
    }
}

void FaultProxy::Private::SideClosed(Link& link, Direction from)
{
    const bool clientStays = from == Direction::ToClient && link.held.isEmpty();
    if (clientStays && link.stalled)
        return;
    if (clientStays && link.client.state() == QAbstractSocket::ConnectedState) {
        // Comes back here when the last bytes are sent.
        Pass(link, from, link.toClient.waiting.size());
        link.client.disconnectFromHost();
        return;
    }
    Forget(link);
}

// Both ends lose the connection; what was passed on is on its way.
void FaultProxy::Private::Forget(Link& link)
{
    if (std::exchange(link.cut, true))
        return;
    for (QTcpSocket* socket : {&link.client, &link.server}) {
        QObject::disconnect(socket, nullptr, &link, nullptr);
        socket->abort();
    }
    links_.remove(&link);
    link.deleteLater();
    if (link.held.isEmpty())
        return;
    {
        const std::lock_guard lock(mutex_);
        --held_;
    }
    changed_.notify_all();
}

FaultProxy::FaultProxy(const QString& host, quint16 port)
    : d_(std::make_unique<Private>(host, port))
{
}

FaultProxy::~FaultProxy() = default;

quint16 FaultProxy::Port() const noexcept
{
    return d_->Port();
}

void FaultProxy::SetScript(Script script)
{
    d_->SetScript(std::move(script));
}

void FaultProxy::CutAll()
{
    d_->CutAll();
}

bool FaultProxy::ReleaseHeld()
{
    return d_->ReleaseHeld();
}

FaultProxy::Script RandomFaults(quint32 seed, double rate, int stallsIn)
{
    return [=, random = std::mt19937(seed)](const PassingFrame& frame) mutable -> Fate {
        using Kind = Fate::Kind;
        const auto below = [&](qsizetype limit) { return qsizetype(random() % quint32(limit)); };
        if (double(random()) >= rate * double(std::mt19937::max()))
            return {};
        if (below(stallsIn) == 0)
            return {.kind = Kind::Stall};
        const bool request = frame.direction == Direction::ToServer;
        switch (below(request ? 5 : 4)) {
        case 0:
            return {.kind = Kind::Cut};
        case 1:
            return {.kind = Kind::Cut, .bytes = below(frame.size)};
        case 2:
            return {.kind = Kind::Cut, .bytes = frame.size};
        case 3:
            return {.kind = Kind::Trickle, .bytes = 1 + below(frame.size)};
        default:
            return {.kind = Kind::Hold, .replies = int(below(5))};
        }
    };
}

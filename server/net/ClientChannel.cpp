#include "server/net/ClientChannel.h"

#include "server/net/Certificates.h"
#include "wire/Codec.h"

#include <QHostAddress>
#include <QSslSocket>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {

namespace {

constexpr qsizetype kQueueBytes = 32 * 1024;
constexpr size_t kKeptBytes = 4096; // between replies
constexpr int kFarewell = 1000; // milliseconds
constexpr qsizetype kPieceInTime = 128 * 1024; // of a frame

// The start of a TLS record with a handshake. As a frame it would be longer than a login may be.
bool IsClientHello(const char* bytes, qsizetype size)
{
    return size >= 3 && bytes[0] == 0x16 && bytes[1] == 0x03 && bytes[2] != 0;
}

} // namespace

ClientChannel::ClientChannel(
    const ListenerOptions& options, storage::SharedBudget& requests, storage::SharedBudget& replies)
    : FrameChannel(&memory_)
    , options_(options)
    , memory_(requests)
    , aside_(replies)
    , loginDeadline_(options.loginTimeout)
{
}

ClientChannel::~ClientChannel() = default;

template <typename F> auto ClientChannel::Guarded(F&& work)
{
    try {
        return work();
    } catch (const Error&) {
        broken_ = true;
        throw;
    }
}

QString ClientChannel::Open(qintptr descriptor, bool encrypted)
{
    opened_ = encrypted ? std::make_unique<QSslSocket>() : std::make_unique<QTcpSocket>();
    if (!opened_->setSocketDescriptor(descriptor))
        throw Error(ErrorKind::Connection, opened_->errorString());
    opened_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    native_ = wire::NativeSocket(descriptor);
    native_.ProbePeer();
    return u"%1:%2"_s.arg(opened_->peerAddress().toString()).arg(opened_->peerPort());
}

void ClientChannel::Begin(const Certificates* certificates)
{
    char start[3];
    const qsizetype got = Guarded([&] { return native_.Peek(start, sizeof start, TimeLeft(INT_MAX)); });
    if (got == wire::NativeSocket::kTimedOut)
        throw RefusedError(RefusalReason::LoginTime, ErrorKind::Connection, u"no login in time"_s);
    const bool hello = IsClientHello(start, got);
    // Where only one side wants TLS, the farewell is a plain frame: a plain client can read it.
    if (certificates != nullptr && hello)
        Encrypt(*certificates);
    stream_.emplace(std::move(opened_));
    if (got == 0 || hello == (certificates != nullptr))
        return;
    throw hello
        ? RefusedError(RefusalReason::Tls, ErrorKind::Policy, u"a TLS client, but this port is plain"_s)
        : RefusedError(
            RefusalReason::Tls, ErrorKind::Policy, u"服务器只接受加密的连接，请在登录窗口里打开加密！"_s);
}

void ClientChannel::Encrypt(const Certificates& certificates)
{
    auto& socket = static_cast<QSslSocket&>(*opened_);
    socket.setSslConfiguration(certificates.Configuration());
    socket.startServerEncryption();
    if (socket.waitForEncrypted(TimeLeft(INT_MAX)))
        return;
    broken_ = true;
    throw RefusedError(
        RefusalReason::Tls, ErrorKind::Connection, u"TLS handshake failed: %1"_s.arg(socket.errorString()));
}

void ClientChannel::BeginReply()
{
    pieceLeft_ = 0;
    patience_ = options_.readerPatience;
    lastPatience_ = options_.frameTimeout;
}

void ClientChannel::Queue(const wire::Packet& packet)
{
    if (queued_.Size() + packet.Size() > kQueueBytes) {
        Pass(queued_.Begin(), queued_.Size());
        queued_.Truncate(0);
    }
    if (packet.Size() > kQueueBytes)
        Pass(packet.Data(), packet.Size());
    else
        queued_.Append(packet.Data(), packet.Size());
}

void ClientChannel::Pass(const char* bytes, qsizetype size)
{
    const qsizetype sent = Drain(patience_) ? Send(bytes, size, patience_) : 0;
    bytes += sent;
    size -= sent;
    if (size == 0 || aside_.Append(bytes, size))
        return;
    // Nowhere to put it.
    if (!Drain(lastPatience_) || Send(bytes, size, lastPatience_) < size)
        RaiseTakesNothing();
}

bool ClientChannel::Drain(qint64& patience)
{
    while (!aside_.IsEmpty()) {
        if (!DrainPiece(patience))
            return false;
    }
    return true;
}

bool ClientChannel::DrainPiece(qint64& patience)
{
    std::array<char, 16 * 1024> piece;
    const qsizetype got = aside_.Peek(piece.data(), qsizetype(piece.size()));
    if (got == 0)
        throw Error(ErrorKind::Storage, u"服务器内部错误，请稍后重试！"_s);
    const qsizetype sent = Send(piece.data(), got, patience);
    aside_.Skip(sent);
    return sent == got;
}

qsizetype ClientChannel::Send(const char* bytes, qsizetype size, qint64& patience)
{
    const QDeadlineTimer deadline(patience);
    const qsizetype sent = Guarded([&] { return stream_->SendSome(bytes, size, deadline); });
    patience = deadline.remainingTime();
    options_.monitor->metrics.bytesSent.Add(static_cast<quint64>(sent));
    return sent;
}

void ClientChannel::Flush()
{
    while (!aside_.IsEmpty()) {
        qint64 patience = options_.frameTimeout;
        if (!DrainPiece(patience))
            RaiseTakesNothing();
    }
    WriteAll(queued_.Begin(), queued_.Size());
    queued_.Truncate(0);
    if (queued_.MemoryUse() > kKeptBytes)
        queued_.Squeeze();
}

void ClientChannel::Refuse(const Error& reason) noexcept
{
    if (broken_ || !stream_)
        return;
    try {
        Write(wire::EncodeError(reason, 0));
        stream_->EndSending();
        // Read below TLS: nobody looks at these bytes.
        char unread[4096];
        const QDeadlineTimer deadline(kFarewell);
        while (!deadline.hasExpired()
            && native_.Receive(unread, sizeof unread, static_cast<int>(deadline.remainingTime())) > 0) { }
    } catch (const std::exception&) {
        // It is gone; the reason is in the log.
    }
}

int ClientChannel::TimeLeft(int patience) const
{
    return loginDeadline_.isForever()
        ? patience
        : static_cast<int>(std::min<qint64>(patience, loginDeadline_.remainingTime()));
}

void ClientChannel::BeginPiece()
{
    pieceDeadline_ = QDeadlineTimer(options_.frameTimeout);
    pieceLeft_ = kPieceInTime;
}

qsizetype ClientChannel::ReadSome(char* to, qsizetype size, bool idle)
{
    if (!idle && pieceLeft_ <= 0)
        BeginPiece();
    const int patience =
        TimeLeft(idle ? options_.idleTimeout : static_cast<int>(pieceDeadline_.remainingTime()));
    const qsizetype got = Guarded([&] { return stream_->Receive(to, size, patience); });
    if (idle)
        BeginPiece();
    // A sender of a few bytes now and then would keep its session, and the memory for its frame, for ever.
    pieceLeft_ -= std::max<qsizetype>(got, 0);
    if (got != wire::SocketStream::kTimedOut && (pieceLeft_ <= 0 || !pieceDeadline_.hasExpired())) {
        options_.monitor->metrics.bytesReceived.Add(static_cast<quint64>(got));
        return got;
    }
    if (loginDeadline_.hasExpired())
        throw RefusedError(RefusalReason::LoginTime, ErrorKind::Connection, u"no login in time"_s);
    if (idle)
        throw RefusedError(RefusalReason::IdleTime, ErrorKind::Connection, u"idle for too long"_s);
    throw RefusedError(RefusalReason::FrameTime, ErrorKind::Connection, u"frame not completed in time"_s);
}

void ClientChannel::WriteAll(const char* bytes, qsizetype size)
{
    if (Guarded([&] { return stream_->Send(bytes, size, options_.frameTimeout); })) {
        options_.monitor->metrics.bytesSent.Add(static_cast<quint64>(size));
        return;
    }
    RaiseTakesNothing();
}

void ClientChannel::RaiseTakesNothing()
{
    broken_ = true;
    throw RefusedError(RefusalReason::FrameTime, ErrorKind::Connection, u"the client takes nothing"_s);
}

} // namespace server

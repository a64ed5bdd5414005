#include "server/net/ClientConnection.h"

#include "wire/Codec.h"
#include "wire/NativeSocket.h"

#include <QDeadlineTimer>
#include <QTcpSocket>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {
namespace {

constexpr qsizetype kQueueBytes = 32 * 1024;
constexpr int kFarewell = 1000; // milliseconds
// A block of rows above this many bytes is sent in parts, far below what a frame may hold.
constexpr size_t kBlockBytes = wire::kMaxBody / 4;

size_t BytesOf(const std::vector<wire::Column>& block)
{
    size_t bytes = 0;
    for (const wire::Column& column : block)
        bytes += column.MemoryUse();
    return bytes;
}

} // namespace

// The client's socket as a sequence of frames. Opened and closed by Qt, read and written directly; enciphered
// connections, whose bytes a QSslSocket must see, would have a channel of their own.
class ClientConnection::Channel : public wire::FrameChannel {
public:
    explicit Channel(const ListenerOptions& options)
        : options_(options)
        , loginDeadline_(options.loginTimeout)
    {
    }

    // Gives the name of the other end.
    QString Open(qintptr descriptor)
    {
        if (!socket_.setSocketDescriptor(descriptor))
            throw Error(ErrorKind::Connection, socket_.errorString());
        socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket_.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
        native_ = wire::NativeSocket(descriptor);
        return u"%1:%2"_s.arg(socket_.peerAddress().toString()).arg(socket_.peerPort());
    }
    void LoggedIn() noexcept { loginDeadline_ = QDeadlineTimer(QDeadlineTimer::Forever); }
    // Nothing more can be said to this client.
    bool IsBroken() const noexcept { return broken_; }

    // The beginning of a reply waits for its end: most replies are small, and each write wakes the client.
    void Queue(const wire::Packet& packet)
    {
        if (queued_.Size() + packet.Size() > kQueueBytes)
            Flush();
        if (packet.Size() > kQueueBytes)
            Write(packet);
        else
            queued_.Append(packet.Data(), packet.Size());
    }
    void Flush()
    {
        WriteAll(queued_.Begin(), queued_.Size());
        queued_.Truncate(0);
    }

    // Tells the client why it is being left. What it is still sending is read and forgotten: closing on it
    // would destroy what was said.
    void Refuse(const Error& reason) noexcept
    {
        if (broken_)
            return;
        try {
            Write(wire::EncodeError(reason, 0));
            native_.EndSending();
            char unread[4096];
            const QDeadlineTimer deadline(kFarewell);
            while (!deadline.hasExpired()
                && native_.Receive(unread, sizeof unread, static_cast<int>(deadline.remainingTime())) > 0) { }
        } catch (const std::exception&) {
            // It is gone; the reason is in the log.
        }
    }

private:
    // Remembers that the connection has failed.
    template <typename F> auto Guarded(F&& work)
    {
        try {
            return work();
        } catch (const Error&) {
            broken_ = true;
            throw;
        }
    }

    qsizetype ReadSome(char* to, qsizetype size, bool idle) override
    {
        const int patience = idle ? options_.idleTimeout : options_.frameTimeout;
        const qint64 left = loginDeadline_.isForever() ? patience : loginDeadline_.remainingTime();
        const qsizetype got = Guarded(
            [&] { return native_.Receive(to, size, static_cast<int>(std::min<qint64>(patience, left))); });
        if (got != wire::NativeSocket::kTimedOut)
            return got;
        throw Error(ErrorKind::Connection,
            loginDeadline_.hasExpired() ? u"no login in time"_s
                : idle                  ? u"idle for too long"_s
                                        : u"frame not completed in time"_s);
    }

    void WriteAll(const char* bytes, qsizetype size) override
    {
        if (Guarded([&] { return native_.Send(bytes, size, options_.frameTimeout); }))
            return;
        broken_ = true;
        throw Error(ErrorKind::Connection, u"the client takes nothing"_s);
    }

    QTcpSocket socket_;
    wire::NativeSocket native_;
    wire::Array<char> queued_;
    const ListenerOptions& options_;
    QDeadlineTimer loginDeadline_;
    bool broken_ = false;
};

// Sends the reply as it comes into being: while the client decodes one block, the next is read.
class ClientConnection::Sink : public wire::ReplySink {
public:
    Sink(Channel& channel, quint32 number, bool compress)
        : channel_(channel)
        , number_(number)
        , compress_(compress)
    {
    }

    void Columns(std::vector<wire::ColumnInfo> infos) override
    {
        channel_.Queue(wire::EncodeColumns(infos, number_));
    }

    void Rows(std::vector<wire::Column> block) override
    {
        const qsizetype rows = block.empty() ? 0 : block.front().RowCount();
        const auto parts =
            std::min<qsizetype>(rows, static_cast<qsizetype>(BytesOf(block) / kBlockBytes) + 1);
        if (parts <= 1) {
            channel_.Queue(wire::EncodeRows(block, number_, compress_));
            return;
        }
        const qsizetype step = (rows + parts - 1) / parts;
        for (qsizetype begin = 0; begin < rows; begin += step) {
            std::vector<wire::Column> part;
            part.reserve(block.size());
            for (const wire::Column& column : block)
                part.push_back(column.Slice(begin, std::min(step, rows - begin)));
            channel_.Queue(wire::EncodeRows(part, number_, compress_));
        }
    }

private:
    Channel& channel_;
    quint32 number_;
    bool compress_;
};

ClientConnection::ClientConnection(
    qintptr descriptor, const SessionFactory& newSession, const ListenerOptions& options)
    : newSession_(newSession)
    , options_(options)
    , descriptor_(descriptor)
{
}

void ClientConnection::Run() noexcept
{
    Channel channel(options_);
    try {
        peer_ = channel.Open(descriptor_);
        session_ = newSession_(peer_);
        Serve(channel);
    } catch (const Error& error) {
        Log(error.Message());
        channel.Refuse(error);
    } catch (const std::exception& error) {
        Log(u"failed: %1"_s.arg(QString::fromLocal8Bit(error.what())));
    }
    const std::lock_guard lock(mutex_);
    running_ = false;
    descriptor_ = -1;
}

void ClientConnection::Serve(Channel& channel)
{
    wire::Frame frame;
    while (channel.Read(frame, loggedIn_ ? wire::kMaxRequestBody : wire::kMaxLoginBody)) {
        const wire::Request request = wire::DecodeRequest(frame);
        if (!Begin())
            return;
        Answer(channel, request, frame.header.request,
            (frame.header.flags & wire::frameFlag::CompressionWelcome) != 0);
        if (!End())
            return;
    }
}

void ClientConnection::Answer(Channel& channel, const wire::Request& request, quint32 number, bool compress)
{
    Sink sink(channel, number, compress);
    std::optional<Error> failure;
    try {
        const wire::Reply reply = session_->Handle(request, sink);
        channel.Queue(wire::EncodeDone(reply, number));
        channel.Flush();
        if (request.kind == wire::RequestKind::Login) {
            loggedIn_ = true;
            channel.LoggedIn();
            Log(u"logged in as %1"_s.arg(session_->Identity().account));
        }
    } catch (const Error& error) {
        if (channel.IsBroken())
            throw;
        failure = error;
    } catch (const std::exception& error) {
        Log(u"request failed: %1"_s.arg(QString::fromLocal8Bit(error.what())));
        failure.emplace(ErrorKind::Storage, u"服务器内部错误，请稍后重试！"_s);
    }
    if (failure) {
        channel.Queue(wire::EncodeError(*failure, number));
        channel.Flush();
    }
}

bool ClientConnection::Begin()
{
    const std::lock_guard lock(mutex_);
    running_ = !finishing_;
    return running_;
}

bool ClientConnection::End()
{
    const std::lock_guard lock(mutex_);
    running_ = false;
    return !finishing_;
}

void ClientConnection::Finish() noexcept
{
    const std::lock_guard lock(mutex_);
    finishing_ = true;
    if (!running_ && descriptor_ != -1)
        wire::NativeSocket(descriptor_).EndReceiving();
}

void ClientConnection::Interrupt() noexcept
{
    const std::lock_guard lock(mutex_);
    if (running_)
        session_->Interrupt();
}

void ClientConnection::InterruptIfAbandoned() noexcept
{
    const std::lock_guard lock(mutex_);
    if (running_ && wire::NativeSocket(descriptor_).PeerHasClosed())
        session_->Interrupt();
}

void ClientConnection::Log(const QString& text) const
{
    if (options_.log)
        options_.log(u"%1: %2"_s.arg(peer_, text));
}

} // namespace server

#include "runtime/data/SocketConnection.h"
#include "wire/Codec.h"
#include "wire/NativeSocket.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>

#include <optional>
#include <variant>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace {

// The socket as a sequence of frames, blocking on the caller's thread without an event loop. Opened and
// closed by Qt, read and written directly; a QSslSocket, which must see the bytes, would have a channel of
// its own.
class SocketChannel : public wire::FrameChannel {
public:
    explicit SocketChannel(int replyTimeout)
        : replyTimeout_(replyTimeout)
    {
    }

    // Raises what cannot be connected.
    void Connect(const QString& host, int port, int timeout)
    {
        socket_.setProxy(QNetworkProxy::NoProxy);
        socket_.connectToHost(host, static_cast<quint16>(port));
        if (!socket_.waitForConnected(timeout))
            throw Error(ErrorKind::Connection,
                u"无法连接到服务器 %1:%2：%3"_s.arg(host).arg(port).arg(socket_.errorString()));
        socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket_.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
        native_ = wire::NativeSocket(socket_.socketDescriptor());
    }
    bool IsLoopback() const { return socket_.peerAddress().isLoopback(); }

private:
    template <typename F> static auto Guarded(F&& work)
    {
        try {
            return work();
        } catch (const Error& error) {
            throw Error(ErrorKind::Connection, u"与服务器的连接已中断：%1"_s.arg(error.Message()));
        }
    }

    qsizetype ReadSome(char* to, qsizetype size, bool /*idle*/) override
    {
        const qsizetype got = Guarded([&] { return native_.Receive(to, size, replyTimeout_); });
        if (got == wire::NativeSocket::kTimedOut)
            // Not a broken connection: asking again would only ask too much twice.
            throw Error(ErrorKind::Limit, u"服务器在%1秒内没有应答！"_s.arg(replyTimeout_ / 1000));
        return got;
    }

    void WriteAll(const char* bytes, qsizetype size) override
    {
        if (!Guarded([&] { return native_.Send(bytes, size, replyTimeout_); }))
            throw Error(ErrorKind::Limit, u"服务器在%1秒内没有接收数据！"_s.arg(replyTimeout_ / 1000));
    }

    QTcpSocket socket_;
    wire::NativeSocket native_;
    int replyTimeout_;
};

class TcpTransport : public wire::Transport {
public:
    TcpTransport(const QString& host, int port, int connectTimeout, int replyTimeout)
        : host_(host)
        , port_(port)
        , connectTimeout_(connectTimeout)
        , replyTimeout_(replyTimeout)
    {
    }

    void Connect() override;
    void Disconnect() noexcept override { channel_.reset(); }
    bool IsConnected() const noexcept override;
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override;

private:
    // The reply, or the server's refusal, after which the connection is as good as before.
    std::variant<wire::Reply, Error> ReadReply(wire::ReplySink& sink);

    QString host_;
    int port_;
    int connectTimeout_;
    int replyTimeout_;
    std::unique_ptr<SocketChannel> channel_;
    bool remote_ = false; // beyond this machine, where bandwidth is worth the work of compressing
    quint32 number_ = 0;
    wire::Frame frame_; // kept for its memory
};

void TcpTransport::Connect()
{
    if (IsConnected())
        return;
    auto channel = std::make_unique<SocketChannel>(replyTimeout_);
    channel->Connect(host_, port_, connectTimeout_);
    remote_ = !channel->IsLoopback();
    number_ = 0;
    channel_ = std::move(channel);
}

bool TcpTransport::IsConnected() const noexcept
{
    return channel_ != nullptr;
}

wire::Reply TcpTransport::Exchange(const wire::Request& request, wire::ReplySink& sink)
{
    if (!channel_)
        throw Error(ErrorKind::Connection, u"尚未连接到服务器！"_s);
    // Raised before anything is sent, so the connection stays usable.
    const wire::Packet packet = wire::EncodeRequest(request, ++number_, remote_);
    std::variant<wire::Reply, Error> reply;
    try {
        channel_->Write(packet);
        reply = ReadReply(sink);
    } catch (...) {
        // Whatever stopped the reading, the sink included: the rest of the reply is still on its way, and
        // nothing that follows could be told from it.
        Disconnect();
        throw;
    }
    if (const auto* error = std::get_if<Error>(&reply))
        throw Error(*error);
    return std::get<wire::Reply>(std::move(reply));
}

std::variant<wire::Reply, Error> TcpTransport::ReadReply(wire::ReplySink& sink)
{
    std::optional<std::vector<wire::ColumnInfo>> infos;
    for (;;) {
        if (!channel_->Read(frame_, wire::kMaxBody))
            throw Error(ErrorKind::Connection, u"服务器关闭了连接！"_s);
        // Number 0: the server's reason for leaving, whatever was asked.
        if (frame_.header.request != number_ && frame_.header.request != 0)
            throw Error(ErrorKind::Protocol, u"服务器的应答与请求不符！"_s);
        switch (frame_.header.kind) {
        case wire::FrameKind::Columns:
            infos = wire::DecodeColumns(frame_);
            sink.Columns(*infos);
            break;
        case wire::FrameKind::Rows:
            if (!infos)
                throw Error(ErrorKind::Protocol, u"服务器的应答缺少列信息！"_s);
            sink.Rows(wire::DecodeRows(frame_, *infos));
            break;
        case wire::FrameKind::Done:
            return wire::DecodeDone(frame_);
        case wire::FrameKind::Error: {
            const Error error = wire::DecodeError(frame_);
            if (frame_.header.request == number_)
                return error;
            throw Error(error.Kind(), u"服务器关闭了连接：%1"_s.arg(error.Message()));
        }
        default:
            throw Error(ErrorKind::Protocol, u"服务器的应答不能识别！"_s);
        }
    }
}

} // namespace

std::unique_ptr<wire::Transport> MakeTcpTransport(
    const QString& host, int port, int connectTimeout, int replyTimeout)
{
    return std::make_unique<TcpTransport>(host, port, connectTimeout, replyTimeout);
}

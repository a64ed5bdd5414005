#include "runtime/data/TcpTransport.h"

#include "runtime/data/ServerChannel.h"
#include "wire/Codec.h"

#include <QStringList>

#include <algorithm>
#include <optional>
#include <variant>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace {

constexpr int kLeastConnectTime = 2'000; // milliseconds for one of several addresses

class TcpTransport : public wire::Transport {
public:
    explicit TcpTransport(TConnectOptions options)
        : options_(std::move(options))
        , next_(*options_.lastGood)
    {
    }

    void Connect() override;
    int ServerCount() const noexcept override { return static_cast<int>(options_.addresses.size()); }
    void Disconnect() noexcept override { channel_.reset(); }
    bool IsConnected() const noexcept override { return channel_ && channel_->IsOpen(); }
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override;

private:
    wire::Packet Encoded(const wire::Request& request);
    // The reply, or the server's refusal, after which the connection is as good as before.
    std::variant<wire::Reply, Error> ReadReply(wire::ReplySink& sink);

    const TConnectOptions options_;
    size_t next_; // the address to begin with
    std::unique_ptr<TServerChannel> channel_;
    quint32 number_ = 0;
    wire::Frame frame_; // kept for its memory
    wire::KnownColumns known_;
};

void TcpTransport::Connect()
{
    if (IsConnected())
        return;
    channel_.reset();
    const size_t count = options_.addresses.size();
    const int timeout = count <= 1
        ? options_.connectTimeout
        : std::min(options_.connectTimeout,
            std::max(kLeastConnectTime, options_.connectTimeout / static_cast<int>(count)));
    ErrorKind kind = ErrorKind::Policy;
    QStringList problems;
    for (size_t i = 0; i < count; ++i, ++next_) {
        const size_t at = next_ % count;
        const TServerAddress& address = options_.addresses[at];
        try {
            channel_ = std::make_unique<TServerChannel>(address, options_, timeout, KeepWaiting);
            number_ = 0;
            next_ = at;
            *options_.lastGood = at;
            return;
        } catch (const Error& error) {
            if (error.Kind() == ErrorKind::Cancelled)
                throw;
            problems.append(u"%1：%2"_s.arg(address.Text(), error.Message()));
            if (error.Kind() == ErrorKind::Connection)
                kind = ErrorKind::Connection;
        }
    }
    if (problems.isEmpty())
        throw Error(ErrorKind::Usage, u"没有服务器地址！"_s);
    // Certificates forbid it: trying again is of no use before somebody has changed something.
    throw Error(kind,
        count == 1 ? u"无法连接到服务器 %1"_s.arg(problems.constFirst())
                   : u"无法连接到任何一台服务器：\n"_s + problems.join(u'\n'));
}

// What is too large is refused before anything is sent: the connection stays usable, and the request must
// become another one, whatever is asked again.
wire::Packet TcpTransport::Encoded(const wire::Request& request)
{
    try {
        return wire::EncodeRequest(request, ++number_, channel_->IsRemote());
    } catch (const Error& error) {
        throw Error(ErrorKind::Data, error.Message());
    }
}

wire::Reply TcpTransport::Exchange(const wire::Request& request, wire::ReplySink& sink)
{
    if (!IsConnected())
        throw Error(ErrorKind::Connection, u"尚未连接到服务器！"_s);
    const wire::Packet packet = Encoded(request);
    std::variant<wire::Reply, Error> reply;
    channel_->SetReplyTimeout(request.kind == wire::RequestKind::Login
            ? std::min(options_.loginTimeout, options_.replyTimeout)
            : options_.replyTimeout);
    try {
        channel_->Write(packet);
        reply = ReadReply(sink);
    } catch (...) {
        // Whatever stopped the reading, the sink included: the rest of the reply is still on its way, and
        // nothing that follows could be told from it. Where there is another server, it may know better.
        Disconnect();
        ++next_;
        throw;
    }
    if (const auto* error = std::get_if<Error>(&reply))
        throw Error(*error);
    return std::get<wire::Reply>(std::move(reply));
}

std::variant<wire::Reply, Error> TcpTransport::ReadReply(wire::ReplySink& sink)
{
    std::optional<wire::ColumnInfos> infos;
    for (;;) {
        if (!channel_->Read(frame_, wire::kMaxBody))
            throw Error(ErrorKind::Connection, u"服务器关闭了连接！"_s);
        // Number 0: the server's reason for leaving, whatever was asked.
        if (frame_.header.request != number_ && frame_.header.request != 0)
            throw Error(ErrorKind::Protocol, u"服务器的应答与请求不符！"_s);
        switch (frame_.header.kind) {
        case wire::FrameKind::Columns:
            if (infos)
                throw Error(ErrorKind::Protocol, u"服务器的应答有两份列信息！"_s);
            infos = known_.Decode(frame_);
            sink.Columns(*infos);
            break;
        case wire::FrameKind::Rows:
            if (!infos)
                throw Error(ErrorKind::Protocol, u"服务器的应答缺少列信息！"_s);
            sink.Rows(wire::DecodeRows(frame_, **infos));
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

std::unique_ptr<wire::Transport> MakeTcpTransport(TConnectOptions options)
{
    return std::make_unique<TcpTransport>(std::move(options));
}

std::unique_ptr<wire::Transport> MakeTcpTransport(
    const QString& host, int port, int connectTimeout, int replyTimeout)
{
    TConnectOptions options;
    options.addresses = {{host, port}};
    options.connectTimeout = connectTimeout;
    options.replyTimeout = replyTimeout;
    return MakeTcpTransport(std::move(options));
}

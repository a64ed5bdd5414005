#include "server/net/ClientConnection.h"

#include "server/net/ClientChannel.h"
#include "wire/Codec.h"
#include "wire/NativeSocket.h"

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {

namespace {

constexpr int kOfADesk = 3; // sessions, while it logs in
constexpr size_t kKeptBytes = 16 * 1024; // of a request, for the next one
// A block of rows above this many bytes is sent in parts, far below what a frame may hold.
constexpr size_t kBlockBytes = wire::kMaxBody / 4;

size_t BytesOf(const std::vector<wire::Column>& block)
{
    size_t bytes = 0;
    for (const wire::Column& column : block)
        bytes += column.MemoryUse();
    return bytes;
}

size_t BytesOf(const std::vector<wire::CellBlock>& block)
{
    size_t bytes = 0;
    for (const wire::CellBlock& cells : block)
        bytes +=
            static_cast<size_t>(cells.TextBytes()) + static_cast<size_t>(cells.RowCount()) * sizeof(qint64);
    return bytes;
}

} // namespace

// Sends the reply as it comes into being: while the client decodes one block, the next is read.
class ClientConnection::Sink : public wire::ReplySink {
public:
    Sink(ClientChannel& channel, quint32 number, bool compress)
        : channel_(channel)
        , number_(number)
        , compress_(compress)
    {
    }

    void Columns(const wire::ColumnInfos& infos) override
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

    void Cells(const std::vector<wire::CellBlock>& block) override
    {
        if (BytesOf(block) > kBlockBytes)
            ReplySink::Cells(block);
        else
            channel_.Queue(wire::EncodeCells(block, number_, compress_));
    }

private:
    ClientChannel& channel_;
    quint32 number_;
    bool compress_;
};

bool AccountSessions::Enter(const QString& account, const ListenerOptions& options)
{
    const std::lock_guard lock(mutex_);
    const int count = counts_.value(account);
    const int places = options.maxConnections;
    const bool fits = options.maxPerAccount > 0
        ? count < options.maxPerAccount
        : count < kOfADesk || (count < (places + 1) / 2 && all_ < places - places / 4);
    if (!fits)
        return false;
    ++counts_[account];
    ++all_;
    return true;
}

void AccountSessions::Leave(const QString& account)
{
    const std::lock_guard lock(mutex_);
    const auto at = counts_.find(account);
    if (at == counts_.end())
        return;
    --all_;
    if (--*at == 0)
        counts_.erase(at);
}

ClientConnection::ClientConnection(qintptr descriptor, const ClientContext& context, bool welcome)
    : context_(context)
    , welcome_(welcome)
    , descriptor_(descriptor)
{
}

void ClientConnection::Run() noexcept
{
    ClientChannel channel(context_.options, context_.requests, context_.replies);
    try {
        Open(channel);
        session_ = context_.newSession(peer_);
        Serve(channel);
        Left(nullptr);
    } catch (const Error& error) {
        Left(&error);
        channel.Refuse(error);
    } catch (const std::exception& error) {
        context_.options.monitor->log.Error(
            "connection_failed", {{"peer", peer_}, {"message", error.what()}});
    }
    context_.accounts.Leave(account_);
    const std::lock_guard lock(mutex_);
    running_ = false;
    if (ownDescriptor_)
        wire::NativeSocket::Close(descriptor_);
    descriptor_ = -1;
}

void ClientConnection::Open(ClientChannel& channel)
{
    const bool encrypted = context_.certificates != nullptr;
    peer_ = channel.Open(descriptor_, encrypted);
    if (encrypted) {
        // The socket may close its descriptor at any time, and the system may give the number to another
        // client at once.
        const std::lock_guard lock(mutex_);
        descriptor_ = wire::NativeSocket(descriptor_).Duplicate();
        ownDescriptor_ = true;
    }
    if (welcome_)
        context_.options.monitor->log.Info("connected", {{"peer", peer_}, {"tls", encrypted}});
    channel.Begin(context_.certificates);
    if (!welcome_)
        throw RefusedError(RefusalReason::Sessions, ErrorKind::Limit, u"服务器连接数已满，请稍后重试！"_s);
}

void ClientConnection::Serve(ClientChannel& channel)
{
    wire::Frame frame;
    while (channel.Read(frame, loggedIn_ ? context_.options.maxRequestBytes : wire::kMaxLoginBody)) {
        const wire::Request request = wire::DecodeRequest(frame, &channel.Memory());
        if (frame.body.MemoryUse() > kKeptBytes)
            frame.body = {};
        if (!Begin())
            throw RefusedError(
                RefusalReason::Stopping, ErrorKind::Connection, u"服务器正在停止，请稍后重试！"_s);
        Answer(channel, request, frame.header.request,
            (frame.header.flags & wire::frameFlag::CompressionWelcome) != 0);
        channel.Memory().GiveBack();
        if (!End())
            return;
    }
}

void ClientConnection::Answer(
    ClientChannel& channel, const wire::Request& request, quint32 number, bool compress)
{
    Sink sink(channel, number, compress);
    bool loggedIn = false;
    const auto lastPacket = [&] {
        try {
            const wire::Reply reply = session_->Handle(request, sink);
            loggedIn = request.kind == wire::RequestKind::Login;
            return wire::EncodeDone(reply, number);
        } catch (const Error& error) {
            if (channel.IsBroken())
                throw;
            return wire::EncodeError(error, number);
        } catch (const std::exception&) {
            // The session has told the administrator more.
            return wire::EncodeError(Error(ErrorKind::Storage, u"服务器内部错误，请稍后重试！"_s), number);
        }
    };
    channel.BeginReply();
    const wire::Packet packet = lastPacket();
    if (loggedIn) {
        Admit(session_->Identity().account);
        channel.LoggedIn(account_);
        loggedIn_ = true;
    }
    channel.Queue(packet);
    BeginSending();
    channel.Flush();
}

void ClientConnection::Admit(const QString& account)
{
    if (account == account_)
        return;
    context_.accounts.Leave(std::exchange(account_, {}));
    if (!context_.accounts.Enter(account, context_.options))
        throw RefusedError(RefusalReason::Sessions, ErrorKind::Limit,
            u"账号 %1 的连接数已满，请先退出别处的登录！"_s.arg(account));
    account_ = account;
}

// One line for each connection that has ended, a warning where it was this side's wish.
void ClientConnection::Left(const Error* reason)
{
    const QString message = displaced_ ? u"not logged in while others came"_s
        : reason != nullptr            ? reason->Message()
                                       : u"closed by the client"_s;
    const std::optional<RefusalReason> refusal = displaced_ ? RefusalReason::Sessions
        : reason != nullptr                                 ? RefusalOf(*reason)
                                                            : std::optional<RefusalReason>();
    bool finishing = false;
    {
        const std::lock_guard lock(mutex_);
        finishing = finishing_;
    }
    if (refusal && !finishing)
        context_.options.monitor->Refuse(
            *refusal, {{"peer", peer_}, {"account", account_}, {"message", message}});
    else
        context_.options.monitor->log.Info("disconnected",
            {{"peer", peer_}, {"account", account_},
                {"reason", finishing ? QStringView(u"the server stops") : QStringView(message)}});
}

bool ClientConnection::Begin()
{
    const std::lock_guard lock(mutex_);
    running_ = !finishing_;
    return running_;
}

void ClientConnection::BeginSending()
{
    const std::lock_guard lock(mutex_);
    sending_ = true;
}

bool ClientConnection::End()
{
    const std::lock_guard lock(mutex_);
    running_ = sending_ = false;
    return !finishing_;
}

void ClientConnection::Finish() noexcept
{
    const std::lock_guard lock(mutex_);
    finishing_ = true;
    if (!running_ && descriptor_ != -1)
        wire::NativeSocket(descriptor_).EndReceiving();
}

void ClientConnection::Displace() noexcept
{
    const std::lock_guard lock(mutex_);
    displaced_ = true;
    if (descriptor_ != -1)
        wire::NativeSocket(descriptor_).EndReceiving();
}

void ClientConnection::Interrupt() noexcept
{
    const std::lock_guard lock(mutex_);
    if (sending_)
        wire::NativeSocket(descriptor_).EndSending(); // a client may take its time, a stop may not
    else if (running_)
        session_->Interrupt();
}

void ClientConnection::InterruptIfAbandoned() noexcept
{
    const std::lock_guard lock(mutex_);
    if (running_ && !sending_ && wire::NativeSocket(descriptor_).PeerHasClosed())
        session_->Interrupt();
}

} // namespace server

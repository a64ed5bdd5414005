#include "wire/NativeSocket.h"

#include "wire/Error.h"

#include <QDeadlineTimer>

#include <algorithm>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace wire {
namespace {

// What the two systems call differently; above it all is one.
#ifdef Q_OS_WIN

using Handle = SOCKET;
using Length = int;
constexpr int kSendFlags = 0;
constexpr int kEndReceiving = SD_RECEIVE;
constexpr int kEndSending = SD_SEND;
constexpr short kClosedEvents = POLLRDNORM; // the end is told besides
constexpr short kClosed = POLLHUP | POLLERR;
constexpr qintptr kNone = static_cast<qintptr>(INVALID_SOCKET);

int LastError()
{
    return WSAGetLastError();
}

bool WouldBlock(int error)
{
    return error == WSAEWOULDBLOCK;
}

bool WasInterrupted(int)
{
    return false;
}

int Poll(pollfd& poll, int timeout)
{
    return WSAPoll(&poll, 1, timeout);
}

qintptr DuplicateOf(Handle socket)
{
    WSAPROTOCOL_INFOW info;
    if (WSADuplicateSocketW(socket, GetCurrentProcessId(), &info) != 0)
        return kNone;
    return static_cast<qintptr>(WSASocketW(FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, &info,
        0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT));
}

void CloseHandleOf(Handle socket)
{
    closesocket(socket);
}

#else

using Handle = int;
using Length = size_t;
constexpr int kSendFlags = MSG_NOSIGNAL;
constexpr int kEndReceiving = SHUT_RD;
constexpr int kEndSending = SHUT_WR;
#ifdef POLLRDHUP
constexpr short kClosedEvents = POLLRDHUP;
constexpr short kClosed = POLLRDHUP | POLLHUP | POLLERR;
#else
constexpr short kClosedEvents = POLLIN;
constexpr short kClosed = POLLHUP | POLLERR;
#endif
constexpr qintptr kNone = -1;

int LastError()
{
    return errno;
}

bool WouldBlock(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

bool WasInterrupted(int error)
{
    return error == EINTR;
}

int Poll(pollfd& poll, int timeout)
{
    return ::poll(&poll, 1, timeout);
}

qintptr DuplicateOf(Handle socket)
{
    return fcntl(socket, F_DUPFD_CLOEXEC, 0);
}

void CloseHandleOf(Handle socket)
{
    close(socket);
}

#endif

constexpr qsizetype kPieceInTime = 128 * 1024;
constexpr qsizetype kLargestStep = 1 << 30; // lengths are int on one of the systems

[[noreturn]] void RaiseLast()
{
    throw Error(ErrorKind::Connection, qt_error_string(LastError()));
}

// False when the time is over.
bool Wait(Handle socket, short events, const QDeadlineTimer& deadline)
{
    for (;;) {
        pollfd poll = {socket, events, 0};
        const int ready = Poll(poll, static_cast<int>(std::max<qint64>(0, deadline.remainingTime())));
        if (ready > 0)
            return true;
        if (ready == 0)
            return false;
        if (!WasInterrupted(LastError()))
            RaiseLast();
    }
}

} // namespace

qsizetype NativeSocket::Receive(char* to, qsizetype size, int timeout)
{
    return ReceiveWith(0, to, size, QDeadlineTimer(timeout));
}

qsizetype NativeSocket::ReceiveNow(char* to, qsizetype size)
{
    return ReceiveOnce(0, to, size);
}

qsizetype NativeSocket::ReceiveLater(char* to, qsizetype size, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    return Wait(static_cast<Handle>(descriptor_), POLLIN, deadline) ? ReceiveWith(0, to, size, deadline)
                                                                    : kTimedOut;
}

qsizetype NativeSocket::Peek(char* to, qsizetype size, int timeout)
{
    return ReceiveWith(MSG_PEEK, to, size, QDeadlineTimer(timeout));
}

qsizetype NativeSocket::ReceiveOnce(int flags, char* to, qsizetype size)
{
    for (;;) {
        const auto got = recv(
            static_cast<Handle>(descriptor_), to, static_cast<Length>(std::min(size, kLargestStep)), flags);
        if (got >= 0)
            return static_cast<qsizetype>(got);
        if (WouldBlock(LastError()))
            return kTimedOut;
        if (!WasInterrupted(LastError()))
            RaiseLast();
    }
}

qsizetype NativeSocket::ReceiveWith(int flags, char* to, qsizetype size, const QDeadlineTimer& deadline)
{
    for (;;) {
        const qsizetype got = ReceiveOnce(flags, to, size);
        if (got != kTimedOut || !Wait(static_cast<Handle>(descriptor_), POLLIN, deadline))
            return got;
    }
}

bool NativeSocket::Send(const char* bytes, qsizetype size, int timeout)
{
    const auto socket = static_cast<Handle>(descriptor_);
    QDeadlineTimer deadline(timeout);
    // A reader that takes a few bytes now and then would keep the sender for ever.
    qsizetype due = size - std::min(size, kPieceInTime);
    while (size > 0) {
        const auto sent = send(socket, bytes, static_cast<Length>(std::min(size, kLargestStep)), kSendFlags);
        if (sent > 0) {
            bytes += sent;
            size -= static_cast<qsizetype>(sent);
            if (size <= due) {
                deadline.setRemainingTime(timeout);
                due = size - std::min(size, kPieceInTime);
            }
            continue;
        }
        if (sent < 0 && WasInterrupted(LastError()))
            continue;
        if (sent < 0 && !WouldBlock(LastError()))
            RaiseLast();
        if (!Wait(socket, POLLOUT, deadline))
            return false;
    }
    return true;
}

qsizetype NativeSocket::SendSome(const char* bytes, qsizetype size, const QDeadlineTimer& deadline)
{
    const auto socket = static_cast<Handle>(descriptor_);
    qsizetype done = 0;
    while (done < size) {
        const auto sent =
            send(socket, bytes + done, static_cast<Length>(std::min(size - done, kLargestStep)), kSendFlags);
        if (sent > 0)
            done += static_cast<qsizetype>(sent);
        else if (sent < 0 && !WasInterrupted(LastError()) && !WouldBlock(LastError()))
            RaiseLast();
        else if (!(sent < 0 && WasInterrupted(LastError())) && !Wait(socket, POLLOUT, deadline))
            break;
    }
    return done;
}

bool NativeSocket::WaitToSend(const QDeadlineTimer& deadline)
{
    return Wait(static_cast<Handle>(descriptor_), POLLOUT, deadline);
}

bool NativeSocket::PeerHasClosed() const noexcept
{
    // Not by looking for the end of what was sent: the farewell of an encrypted connection stands before it.
    pollfd poll = {static_cast<Handle>(descriptor_), kClosedEvents, 0};
    return Poll(poll, 0) > 0 && (poll.revents & kClosed) != 0;
}

void NativeSocket::ProbePeer(int seconds) noexcept
{
    constexpr int kProbes = 4; // in the second half of the time
    const auto set = [this](int level, int option, int value) {
        setsockopt(static_cast<Handle>(descriptor_), level, option, reinterpret_cast<const char*>(&value),
            sizeof value);
    };
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
#ifdef TCP_KEEPIDLE
    set(IPPROTO_TCP, TCP_KEEPIDLE, seconds / 2); // unless told, two hours
    set(IPPROTO_TCP, TCP_KEEPINTVL, seconds / 2 / kProbes);
    set(IPPROTO_TCP, TCP_KEEPCNT, kProbes);
#endif
#ifdef TCP_USER_TIMEOUT
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, seconds * 1'000); // where something is still on its way
#endif
}

void NativeSocket::EndReceiving() noexcept
{
    shutdown(static_cast<Handle>(descriptor_), kEndReceiving);
}

void NativeSocket::EndSending() noexcept
{
    shutdown(static_cast<Handle>(descriptor_), kEndSending);
}

qintptr NativeSocket::Duplicate() const
{
    const qintptr copy = DuplicateOf(static_cast<Handle>(descriptor_));
    if (copy == kNone)
        RaiseLast();
    return copy;
}

void NativeSocket::Close(qintptr descriptor) noexcept
{
    CloseHandleOf(static_cast<Handle>(descriptor));
}

} // namespace wire

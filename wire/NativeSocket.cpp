#include "wire/NativeSocket.h"

#include "wire/Error.h"

#include <QDeadlineTimer>

#include <algorithm>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
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

#else

using Handle = int;
using Length = size_t;
constexpr int kSendFlags = MSG_NOSIGNAL;
constexpr int kEndReceiving = SHUT_RD;
constexpr int kEndSending = SHUT_WR;

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

#endif

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
    const auto socket = static_cast<Handle>(descriptor_);
    const QDeadlineTimer deadline(timeout);
    for (;;) {
        const auto got = recv(socket, to, static_cast<Length>(std::min(size, kLargestStep)), 0);
        if (got >= 0)
            return static_cast<qsizetype>(got);
        if (WasInterrupted(LastError()))
            continue;
        if (!WouldBlock(LastError()))
            RaiseLast();
        if (!Wait(socket, POLLIN, deadline))
            return kTimedOut;
    }
}

bool NativeSocket::Send(const char* bytes, qsizetype size, int timeout)
{
    const auto socket = static_cast<Handle>(descriptor_);
    QDeadlineTimer deadline(timeout);
    while (size > 0) {
        const auto sent = send(socket, bytes, static_cast<Length>(std::min(size, kLargestStep)), kSendFlags);
        if (sent > 0) {
            bytes += sent;
            size -= static_cast<qsizetype>(sent);
            deadline.setRemainingTime(timeout);
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

bool NativeSocket::PeerHasClosed() const noexcept
{
    char byte;
    const auto got = recv(static_cast<Handle>(descriptor_), &byte, 1, MSG_PEEK);
    return got == 0 || (got < 0 && !WouldBlock(LastError()) && !WasInterrupted(LastError()));
}

void NativeSocket::EndReceiving() noexcept
{
    shutdown(static_cast<Handle>(descriptor_), kEndReceiving);
}

void NativeSocket::EndSending() noexcept
{
    shutdown(static_cast<Handle>(descriptor_), kEndSending);
}

} // namespace wire

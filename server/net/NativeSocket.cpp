#include "server/net/NativeSocket.h"

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <cerrno>
#include <sys/socket.h>
#endif

namespace server {

#ifdef Q_OS_WIN

bool PeerHasClosed(qintptr descriptor) noexcept
{
    char byte;
    const int got = recv(static_cast<SOCKET>(descriptor), &byte, 1, MSG_PEEK);
    return got == 0 || (got < 0 && WSAGetLastError() != WSAEWOULDBLOCK);
}

void EndReading(qintptr descriptor) noexcept
{
    shutdown(static_cast<SOCKET>(descriptor), SD_RECEIVE);
}

void EndWriting(qintptr descriptor) noexcept
{
    shutdown(static_cast<SOCKET>(descriptor), SD_SEND);
}

#else

bool PeerHasClosed(qintptr descriptor) noexcept
{
    char byte;
    const ssize_t got = recv(static_cast<int>(descriptor), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return got == 0 || (got < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

void EndReading(qintptr descriptor) noexcept
{
    shutdown(static_cast<int>(descriptor), SHUT_RD);
}

void EndWriting(qintptr descriptor) noexcept
{
    shutdown(static_cast<int>(descriptor), SHUT_WR);
}

#endif

} // namespace server

#include "server/main/ServiceManager.h"

#ifndef Q_OS_WIN
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#endif

namespace server {

#ifdef Q_OS_WIN

void NotifyServiceManager(const QByteArray&) noexcept
{
}
void NotifyReloading() noexcept
{
}

#else

void NotifyServiceManager(const QByteArray& state) noexcept
{
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    if (path.isEmpty() || size_t(path.size()) >= sizeof address.sun_path)
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    if (path.startsWith('@')) // a name that is no file
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size_t(path.size()));
    // Nobody to tell a failure to: the manager notices by itself that nothing came.
    ::sendto(socket, state.constData(), size_t(state.size()), MSG_NOSIGNAL,
        reinterpret_cast<const sockaddr*>(&address), length);
    ::close(socket);
}

void NotifyReloading() noexcept
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    NotifyServiceManager("RELOADING=1\nMONOTONIC_USEC=" + QByteArray::number(qint64(microseconds)));
}

#endif

} // namespace server

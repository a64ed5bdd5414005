#include "server/net/Peer.h"

#include <QHostAddress>

#ifdef Q_OS_WIN
#include <winsock2.h>
// After winsock2.h
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#endif

namespace server {

QString PeerOf(qintptr descriptor)
{
    sockaddr_storage storage{};
    auto* const address = reinterpret_cast<sockaddr*>(&storage);
    socklen_t size = sizeof storage;
#ifdef Q_OS_WIN
    const auto socket = static_cast<SOCKET>(descriptor);
#else
    const auto socket = static_cast<int>(descriptor);
#endif
    if (getpeername(socket, address, &size) != 0)
        return {};
    const quint16 port = address->sa_family == AF_INET6
        ? reinterpret_cast<const sockaddr_in6*>(address)->sin6_port
        : reinterpret_cast<const sockaddr_in*>(address)->sin_port;
    return QStringLiteral("%1:%2").arg(QHostAddress(address).toString()).arg(ntohs(port));
}

} // namespace server

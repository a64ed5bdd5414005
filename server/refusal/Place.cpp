#include "server/refusal/Place.h"

#include <QHostAddress>

#include <algorithm>

namespace server {

QString PlaceOf(const QString& peer)
{
    const qsizetype colon = peer.lastIndexOf(u':');
    const QString text = colon < 0 ? peer : peer.first(colon);
    const QHostAddress address(text);
    bool isIpv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIpv4);
    if (isIpv4)
        return QHostAddress(ipv4).toString();
    if (address.protocol() != QAbstractSocket::IPv6Protocol)
        return text;
    Q_IPV6ADDR bytes = address.toIPv6Address();
    std::fill(bytes.c + 8, bytes.c + 16, quint8(0));
    return QHostAddress(bytes).toString();
}

} // namespace server

#pragma once

#include <QString>

namespace server {

// Where a client named "address:port" is, as far as limits go: its address; of an IPv6 address the network,
// within which anybody may take any address.
QString PlaceOf(const QString& peer);

} // namespace server

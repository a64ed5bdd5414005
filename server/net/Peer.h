#pragma once

#include <QString>

namespace server {

// The other end of a connected socket, "address:port"; empty where it is gone already.
QString PeerOf(qintptr descriptor);

} // namespace server

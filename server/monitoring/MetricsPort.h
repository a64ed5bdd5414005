#pragma once

#include <QHostAddress>

#include <functional>
#include <memory>

namespace server::monitoring {

// Answers `GET /metrics` and `GET /status` to programs of this machine, over HTTP, on one thread of its own.
// Nothing else, nobody for long: requests of at most 4 KB, two seconds a connection, sixteen at a time.
class MetricsPort {
public:
    // Called on the port's thread, in UTF-8.
    using Page = std::function<QByteArray()>;

    // Port 0: any free one. Raises wire::Error: Policy where the address can be reached from elsewhere,
    // Connection where it cannot be used.
    MetricsPort(const QHostAddress& address, quint16 port, Page metrics, Page status);
    ~MetricsPort();
    Q_DISABLE_COPY(MetricsPort)

    quint16 Port() const noexcept;

private:
    class Private;
    std::unique_ptr<Private> d_;
};

// What a server's port answers to `GET path`; raises wire::Error (Connection) where nothing, or anything but
// a page, comes back within three seconds.
QByteArray FetchPage(const QHostAddress& address, quint16 port, const QByteArray& path);

} // namespace server::monitoring

#pragma once

#include "server/monitoring/Monitor.h"
#include "server/net/Certificates.h"
#include "server/provider/Session.h"
#include "wire/Frame.h"

#include <QHostAddress>

#include <functional>

namespace server {

using SessionFactory = std::function<std::unique_ptr<Session>(const QString& peer)>;

struct ListenerOptions {
    QHostAddress address = QHostAddress(QHostAddress::LocalHost);
    quint16 port = 8866; // 0: any free one
    TlsFiles tls; // none: nothing is encrypted
    bool plainNetwork = false; // serve other machines even so
    int maxConnections = 1000;
    // The most from one address (IPv6: network), this machine's own excepted; 0: no limit, and none on how
    // fast they come.
    int maxPerAddress = 500;
    // The most that are connected without being logged in; one address may have half of them (64 at least).
    // Beyond that, and where every place is taken, the one that has been silent longest is closed.
    int maxNewcomers = 250;
    // Sessions of one account at a time (a desk has two, three while it logs in); 0: half of all, the last
    // quarter of which is for accounts that have fewer than three.
    int maxPerAccount = 0;
    quint32 maxRequestBytes = wire::kMaxRequestBody; // no more than this
    qint64 requestMemory = qint64(1) << 30; // of all requests together, half of it for one account's
    // Milliseconds.
    int loginTimeout = 60'000; // from connecting, over the TLS handshake, to being logged in
    int frameTimeout = 30'000; // for 128 KB of a frame in either direction
    // Of a reply, while its request runs: so long may the client keep it waiting by not reading. Then the
    // rest goes into a file, and the request ends without the client.
    int readerPatience = 1'000;
    int idleTimeout = 12 * 3600'000; // between two requests; clients reconnect by themselves
    int watchInterval = 500; // how often clients of long requests are looked after
    int stopTimeout = 30'000; // what still runs then is interrupted
    // Takes the lines and figures: who connects and leaves, and each refusal.
    monitoring::MonitorPtr monitor = std::make_shared<monitoring::Monitor>();
};

// Raises wire::Error (Policy) where the address is not this machine's own and neither `tls` nor
// `plainNetwork` is set.
void RequireServable(const ListenerOptions& options);

// Serves clients over TCP, each on a thread of its own that reads, runs and answers its requests one after
// another. A client's conversation is strictly one request at a time, and most requests take microseconds:
// handing them from an I/O thread to a worker and back would cost several times the request. A long query
// holds up nobody else, a slow or hostile client only itself, and some hundreds of threads asleep in a read
// cost little more than their stacks' first pages.
class Listener {
public:
    Listener(SessionFactory newSession, ListenerOptions options);
    // Stops.
    ~Listener();

    // Raises wire::Error: Connection where the address cannot be used, Policy where it must not be, Storage
    // where the TLS files cannot be.
    void Start();
    // The port in use.
    quint16 Port() const noexcept;
    int ConnectionCount() const noexcept;
    // Reads the TLS files anew, for new connections; those that are open go on as they are. False where they
    // cannot be used: what was read before then stays in use, and a line says why. From any thread.
    bool ReloadCertificates() noexcept;
    // Takes no more clients or requests, lets those that run be answered, and returns when all is closed.
    void Stop() noexcept;

private:
    class Private;
    std::unique_ptr<Private> d_;
};

} // namespace server

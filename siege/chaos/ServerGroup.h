#pragma once

#include "runtime/data/TcpTransport.h"
#include "siege/PostgresCluster.h"
#include "tests/support/FaultProxy.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace chaos {

// What the desks work with: a PostgreSQL cluster of its own that keeps what it has committed, two servers
// over it, and a proxy before each. Or one server over the embedded database. Belongs to one thread.
class ServerGroup {
public:
    enum class Storage { Embedded, Postgres };

    // Everything of it lies in `folder`; the demo data is of `demo`'s size. Returns when all servers answer;
    // raises wire::Error when they do not.
    ServerGroup(Storage storage, const QString& folder, const QString& demo);
    ~ServerGroup();
    ServerGroup(const ServerGroup&) = delete;
    ServerGroup& operator=(const ServerGroup&) = delete;

    // Nothing where there is none but the embedded database.
    const std::optional<PostgresCluster>& Cluster() const noexcept { return cluster_; }
    // By way of the proxies.
    const std::vector<TServerAddress>& Addresses() const noexcept { return addresses_; }
    int ServerCount() const noexcept { return int(servers_.size()); }

    // Without warning; it comes back as a service manager would bring it back.
    void Kill(int server);
    // It finishes what runs; then it comes back.
    void Terminate(int server);
    // Cuts every connection of a server's desks.
    void Cut(int server);
    // From now on, each frame meets a fault with this probability.
    void SetFaultRate(double rate, quint32 seed);
    // Ends `count` of the servers' connections to the database; gives the number that it ended.
    int TerminateBackends(int count);
    // As after a power cut. Returns when the cluster is there again.
    void RestartDatabase();

    // Starts what is down and due. To be called often.
    void Supervise();
    // Starts of servers that nobody had stopped: each is a crash.
    int Crashes() const noexcept { return crashes_; }
    // Stops the servers, each finishing what runs. Nothing is served after this.
    void CloseDown();
    // Values of a query's rows as text, null as empty, read past the servers.
    std::vector<QStringList> Ask(const QString& sqlText) const;

private:
    struct Server {
        QProcess process;
        QStringList arguments;
        QString log;
        int port = 0;
        std::unique_ptr<FaultProxy> proxy;
        QDeadlineTimer restart{QDeadlineTimer::Forever};
        bool stopped = false; // by us
    };

    void AddServer(const QStringList& storage, const QString& demo);
    void Start(Server& server);

    const QString folder_;
    std::optional<PostgresCluster> cluster_;
    std::vector<std::unique_ptr<Server>> servers_;
    std::vector<TServerAddress> addresses_;
    int crashes_ = 0;
};

} // namespace chaos

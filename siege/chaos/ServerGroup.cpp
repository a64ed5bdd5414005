#include "siege/chaos/ServerGroup.h"

#include "tests/support/Desk.h"
#include "tests/support/ServerProcess.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QDir>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace chaos {
namespace {

constexpr int kServers = 2;
constexpr int kStartMilliseconds = 300'000; // with the making of demo data
constexpr int kRestartMilliseconds = 1'000; // as the service manager's own pause
constexpr int kStopMilliseconds = 60'000;

} // namespace

ServerGroup::ServerGroup(Storage storage, const QString& folder, const QString& demo)
    : folder_(folder)
{
    if (storage == Storage::Embedded) {
        AddServer({u"--data"_s, folder + u"/data"_s}, demo);
        return;
    }
    cluster_.emplace(u"zelmor-chaos"_s);
    for (int i = 0; i < kServers; ++i)
        AddServer({u"--storage"_s, cluster_->Uri()}, demo);
    // A crash is to be recovered from the desks' work, not from the making of the data.
    cluster_->Ask(u"checkpoint"_s);
}

ServerGroup::~ServerGroup()
{
    try {
        CloseDown();
    } catch (const Error& error) {
        qWarning("%s", error.what());
    }
    if (cluster_)
        QFile::copy(cluster_->Folder() + u"/log"_s, folder_ + u"/database.log"_s);
}

void ServerGroup::AddServer(const QStringList& storage, const QString& demo)
{
    Server& server = *servers_.emplace_back(std::make_unique<Server>());
    server.port = FreePort();
    server.arguments =
        storage + QStringList{u"--listen"_s, u"127.0.0.1:%1"_s.arg(server.port), u"--demo"_s, demo};
    server.process.setProcessChannelMode(QProcess::MergedChannels);
    server.log = folder_ + u"/server-%1.log"_s.arg(servers_.size());
    server.process.setStandardOutputFile(server.log, QIODevice::Append);
    Start(server);
    AwaitServer(server.process, server.port, kStartMilliseconds, u"; see "_s + server.log);
    server.proxy = std::make_unique<FaultProxy>(u"127.0.0.1"_s, quint16(server.port));
    addresses_.push_back({u"127.0.0.1"_s, server.proxy->Port()});
}

void ServerGroup::Start(Server& server)
{
    server.stopped = false;
    server.restart = QDeadlineTimer(QDeadlineTimer::Forever);
    server.process.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s, server.arguments);
}

void ServerGroup::Kill(int server)
{
    servers_[size_t(server)]->stopped = true;
    servers_[size_t(server)]->process.kill();
}

void ServerGroup::Terminate(int server)
{
    servers_[size_t(server)]->stopped = true;
    servers_[size_t(server)]->process.terminate();
}

void ServerGroup::Cut(int server)
{
    servers_[size_t(server)]->proxy->CutAll();
}

void ServerGroup::SetFaultRate(double rate, quint32 seed)
{
    for (const auto& server : servers_)
        server->proxy->SetScript(rate > 0 ? RandomFaults(seed++, rate) : FaultProxy::Script());
}

int ServerGroup::TerminateBackends(int count)
{
    return int(
        cluster_
            ->Ask(u"select pg_terminate_backend(pid) from (select pid from pg_stat_activity where pid <> "
                  u"pg_backend_pid() "
                  "and backend_type = 'client backend' order by random() limit %1) chosen"_s.arg(count))
            .size());
}

void ServerGroup::RestartDatabase()
{
    cluster_->Crash();
}

void ServerGroup::Supervise()
{
    for (const auto& server : servers_) {
        if (server->process.state() != QProcess::NotRunning && !server->process.waitForFinished(0))
            continue;
        if (server->restart.isForever()) {
            // What cannot reach its database ends by itself, and says so.
            crashes_ += !server->stopped && server->process.exitStatus() == QProcess::CrashExit;
            server->restart = QDeadlineTimer(kRestartMilliseconds);
        } else if (server->restart.hasExpired()) {
            Start(*server);
        }
    }
}

void ServerGroup::CloseDown()
{
    for (const auto& server : servers_)
        server->process.terminate();
    for (const auto& server : servers_) {
        if (server->process.state() != QProcess::NotRunning
            && !server->process.waitForFinished(kStopMilliseconds))
            throw Error(ErrorKind::Connection, u"a server did not stop"_s);
    }
}

std::vector<QStringList> ServerGroup::Ask(const QString& sqlText) const
{
    return cluster_ ? cluster_->Ask(sqlText) : AskDatabase(folder_ + u"/data"_s, sqlText);
}

} // namespace chaos

#include "tests/support/ServerProcess.h"

#include "demo/Generator.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

constexpr int kStartMilliseconds = 60'000;

ServerProcess::ServerProcess(const QString& dataFolder, const QStringList& options)
    : port_(FreePort())
{
    arguments_ = QStringList{u"--listen"_s, u"127.0.0.1:%1"_s.arg(port_)} + options;
    if (!dataFolder.isEmpty())
        arguments_ += {u"--data"_s, dataFolder};
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    Start();
}

ServerProcess::~ServerProcess()
{
    process_.terminate();
    process_.waitForFinished(10'000);
}

void ServerProcess::Start()
{
    process_.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s, arguments_);
    AwaitServer(process_, port_, kStartMilliseconds);
}

void ServerProcess::Kill()
{
    process_.kill();
    process_.waitForFinished(10'000);
}

int FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

void AwaitServer(QProcess& program, int port, int milliseconds, const QString& hint)
{
    for (const QDeadlineTimer deadline(milliseconds); !deadline.hasExpired();) {
        QTcpSocket probe;
        probe.connectToHost(u"127.0.0.1"_s, quint16(port));
        if (probe.waitForConnected(500))
            return;
        if (program.waitForFinished(10))
            break;
    }
    throw wire::Error(wire::ErrorKind::Connection, u"zelmor-server did not start"_s + hint);
}

QString DemoAccountOf(const QString& site)
{
    for (const demo::Login& login : demo::Logins()) {
        if (site.isEmpty() || login.description.contains(site))
            return login.account;
    }
    throw wire::Error(wire::ErrorKind::Usage, u"no demo account of "_s + site);
}

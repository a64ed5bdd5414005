#include "bench/system/ServerProcess.h"

#include "demo/Generator.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kStartMilliseconds = 20'000;

int FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

} // namespace

ServerProcess::ServerProcess(const QString& dataFolder)
    : port_(FreePort())
{
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s,
        {u"--data"_s, dataFolder, u"--listen"_s, u"127.0.0.1:%1"_s.arg(port_)});
    QElapsedTimer waiting;
    waiting.start();
    while (waiting.elapsed() < kStartMilliseconds) {
        QTcpSocket probe;
        probe.connectToHost(u"127.0.0.1"_s, quint16(port_));
        if (probe.waitForConnected(500))
            return;
        QThread::msleep(50);
    }
    throw wire::Error(wire::ErrorKind::Connection, u"zelmor-server did not start"_s);
}

ServerProcess::~ServerProcess()
{
    process_.terminate();
    process_.waitForFinished(10'000);
}

QString BenchAccount()
{
    return demo::Logins().front().account;
}

QString BenchPassword()
{
    return demo::DemoPassword();
}

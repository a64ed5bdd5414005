#include "siege/attack/Target.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace attack {
namespace {

constexpr int kStartMilliseconds = 120'000;

int FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

QByteArray FileText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Target::Target(int seconds, Storage storage, const QString& log)
    : log_(log.isEmpty() ? folder_.filePath(u"log"_s) : log)
    , port_(FreePort())
    , metrics_(FreePort())
{
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.setStandardOutputFile(log_);
    QStringList database{u"--data"_s, folder_.filePath(u"data"_s)};
    if (storage != Storage::Embedded) {
        cluster_.emplace(u"zelmor-attack"_s);
        database = {u"--storage"_s, cluster_->Uri()};
    }
    const QStringList demo = database + QStringList{u"--demo"_s, u"small"_s};
    if (storage == Storage::Odbc) {
        // Data for demonstrations are not made through ODBC. Oracle's driver reads rows as they are wanted;
        // this one does where it is told to.
        Start(demo);
        Stop();
        database = {u"--storage"_s,
            u"odbc:DRIVER={PostgreSQL Unicode};Servername=%1;Database=postgres;UID=zelmor;UseDeclareFetch=1;"
            "Fetch=1000"_s.arg(cluster_->Folder())};
    }
    Start((storage == Storage::Odbc ? database : demo)
        + QStringList{u"--metrics"_s, u"127.0.0.1:%1"_s.arg(metrics_), u"--connections"_s, u"8"_s,
            u"--statement-timeout"_s, QString::number(seconds), u"--wait-timeout"_s, u"10"_s,
            u"--stop-timeout"_s, u"1"_s});
}

void Target::Start(const QStringList& options)
{
    process_.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s,
        options + QStringList{u"--listen"_s, u"127.0.0.1:%1"_s.arg(port_)});
    QElapsedTimer waiting;
    waiting.start();
    while (waiting.elapsed() < kStartMilliseconds && !process_.waitForFinished(50)) {
        QTcpSocket probe;
        probe.connectToHost(QHostAddress(QHostAddress::LocalHost), quint16(port_));
        if (probe.waitForConnected(500))
            return;
    }
    throw Error(
        ErrorKind::Connection, u"zelmor-server did not start: "_s + QString::fromUtf8(FileText(log_)));
}

Target::~Target()
{
    Stop();
}

double Target::Stop()
{
    QElapsedTimer time;
    time.start();
    process_.terminate();
    if (process_.state() != QProcess::NotRunning && !process_.waitForFinished(30'000)) {
        process_.kill();
        process_.waitForFinished();
    }
    return double(time.elapsed()) / 1000;
}

int Target::Memory(const QByteArray& what) const
{
    const QByteArray status = FileText(u"/proc/%1/status"_s.arg(process_.processId()));
    const QByteArray line = status.mid(status.indexOf(what)).split('\n').constFirst();
    return line.mid(what.size()).trimmed().split(' ').constFirst().toInt() / 1024;
}

void Target::ForgetPeak() const
{
    QFile file(u"/proc/%1/clear_refs"_s.arg(process_.processId()));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

int Target::LogLines() const
{
    return int(FileText(log_).count('\n'));
}

int Target::Figure(const QByteArray& name) const
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), quint16(metrics_));
    if (!socket.waitForConnected(5000))
        return -1;
    socket.write("GET /metrics HTTP/1.0\r\n\r\n");
    while (socket.waitForReadyRead(5000)) { }
    for (const QByteArray& line : socket.readAll().split('\n')) {
        if (line.startsWith(name + ' '))
            return int(line.mid(name.size() + 1).toDouble());
    }
    return -1;
}

HonestDesk::HonestDesk(const Target& target)
{
    thread_ = std::thread([this, port = target.Port()] {
        try {
            Attacker desk(port, u"127.0.0.1"_s);
            desk.LogIn(u"xuancheng"_s);
            atWork_ = true;
            while (!stop_) {
                const Answer answer =
                    desk.Ask(Query(u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID='none'"_s));
                wait_.longest = std::max(wait_.longest, answer.seconds);
                ++wait_.served;
                if (!answer.accepted)
                    wait_.refused = answer.reason;
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        } catch (const Error& error) {
            wait_.refused = error.Message();
            atWork_ = true;
        }
    });
    while (!atWork_)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

HonestDesk::~HonestDesk()
{
    Finish();
}

HonestDesk::Wait HonestDesk::Finish()
{
    stop_ = true;
    if (thread_.joinable())
        thread_.join();
    return wait_;
}

} // namespace attack

#include "siege/chaos/WatchedServer.h"

#include "tests/support/ServerProcess.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <csignal>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace chaos {
namespace {

constexpr double kRestlessBytes = 60'000; // of log: what some hundred slow statements write

QByteArray TextOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Without what a database says, and makes the server say, while it is being killed: that comes and goes with
// the blows.
qint64 BytesOfWork(const QByteArray& log)
{
    qint64 bytes = 0;
    for (const QByteArray& line : log.split('\n')) {
        if (!line.contains(" event=request_failed ") && !line.contains(" event=message "))
            bytes += line.size() + 1;
    }
    return bytes;
}

qint64 NumberAfter(const QByteArray& text, const QByteArray& name)
{
    return text.mid(text.indexOf(name) + name.size())
        .trimmed()
        .split('\n')
        .constFirst()
        .split(' ')
        .constFirst()
        .toLongLong();
}

void Replace(const QString& path, const QString& by)
{
    QFile::remove(path);
    if (!QFile::copy(by, path))
        throw Error(ErrorKind::Usage, u"%1 cannot be written"_s.arg(path));
}

} // namespace

WatchedServer::WatchedServer(const QString& databaseUri, const QString& folder)
    : files_(authority_.Issue())
    , log_(folder + u"/watched.log"_s)
    , port_(FreePort())
{
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.setStandardOutputFile(log_);
    process_.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s,
        {u"--storage"_s, databaseUri, u"--listen"_s, u"127.0.0.1:%1"_s.arg(port_), u"--tls-certificate"_s,
            files_.certificates, u"--tls-key"_s, files_.key});
    age_.start();
    while (!TextOf(log_).contains("event=listening")) {
        if (age_.elapsed() > 60'000 || process_.waitForFinished(100))
            throw Error(ErrorKind::Connection, u"the watched server did not start, see %1"_s.arg(log_));
    }
}

TConnectOptions WatchedServer::Way() const
{
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, port_}};
    way.tls = TTlsUse::Always;
    way.caFile = authority_.CaFile();
    return way;
}

void WatchedServer::Reload()
{
    const TestAuthority::Files next = authority_.Issue();
    Replace(files_.certificates, next.certificates);
    Replace(files_.key, next.key);
    ::kill(static_cast<pid_t>(process_.processId()), SIGHUP);
    ++reloads_;
}

void WatchedServer::Stop()
{
    process_.waitForFinished(0);
    if (process_.state() == QProcess::NotRunning)
        return;
    stopped_ = true;
    process_.terminate();
    process_.waitForFinished(60'000);
}

WatchedServer::Figures WatchedServer::Now() const
{
    const QString folder = u"/proc/%1"_s.arg(process_.processId());
    const QByteArray status = TextOf(folder + u"/status"_s);
    return {age_.elapsed(), NumberAfter(status, "VmRSS:") / 1024,
        qint64(
            QDir(folder + u"/fd"_s).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size()),
        NumberAfter(status, "Threads:"), QFileInfo(log_).size(), BytesOfWork(TextOf(log_))};
}

QStringList WatchedServer::Problems() const
{
    QStringList problems;
    const auto grown = [&problems](const QString& what, double early, double late, double allowed) {
        if (late > early * 1.25 + allowed)
            problems += u"%1 grew from %2 to %3"_s.arg(what).arg(early, 0, 'f', 1).arg(late, 0, 'f', 1);
    };
    grown(u"memory, in MB,"_s, double(early_.megabytes), double(late_.megabytes), 32);
    grown(u"open descriptors"_s, double(early_.descriptors), double(late_.descriptors), 10);
    grown(u"threads"_s, double(early_.threads), double(late_.threads), 10);
    const auto perSecond = [](qint64 bytes, qint64 milliseconds) {
        return double(bytes) * 1000 / double(std::max<qint64>(1, milliseconds));
    };
    // In a run of seconds a slow moment is as much as this.
    const double allowed = kRestlessBytes / std::max(1.0, double(early_.milliseconds) / 1000);
    grown(u"the log, in bytes a second,"_s, perSecond(early_.workBytes, early_.milliseconds),
        perSecond(late_.workBytes - early_.workBytes, late_.milliseconds - early_.milliseconds), allowed);
    if (!stopped_)
        problems += u"it ended although nobody had stopped it"_s;
    if (reloads_ > 0 && !TextOf(log_).contains("event=certificate"))
        problems += u"it never read a certificate"_s;
    if (TextOf(log_).contains("event=certificate_unusable"))
        problems += u"it could not read a certificate"_s;
    return problems;
}

QString WatchedServer::Report() const
{
    const auto text = [](const Figures& figures) {
        return u"%1 MB, %2 descriptors, %3 threads, %4 KB of log after %5 s"_s.arg(figures.megabytes)
            .arg(figures.descriptors)
            .arg(figures.threads)
            .arg(figures.logBytes >> 10)
            .arg(figures.milliseconds / 1000);
    };
    return u"%1;\n                      %2; %3 certificates"_s.arg(text(early_), text(late_)).arg(reloads_);
}

} // namespace chaos

#include "bench/postgres/PgBouncer.h"

#include "wire/Error.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

PgBouncer::PgBouncer(const QString& uri, int serverConnections)
{
    const QUrl url(uri);
    const QString name = url.path().mid(1);
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    uri_ = u"postgresql://%1@127.0.0.1:%2/%3"_s.arg(url.userName()).arg(port).arg(name);
    // It runs as PostgreSQL's own user, who must be able to read this.
    QFile settings(folder_.filePath(u"pgbouncer.ini"_s));
    if (!settings.open(QIODevice::WriteOnly))
        throw wire::Error(wire::ErrorKind::Usage, settings.errorString());
    settings.write(
        u"[databases]\n%1 = host=%2 user=%3\n[pgbouncer]\nlisten_addr = 127.0.0.1\nlisten_port = %4\n"
        "unix_socket_dir =\nauth_type = any\npool_mode = transaction\ndefault_pool_size = %5\n"
        "max_client_conn = 1000\nlog_connections = 0\nlog_disconnections = 0\n"_s
            .arg(name, QUrlQuery(url).queryItemValue(u"host"_s), url.userName())
            .arg(port)
            .arg(serverConnections)
            .toUtf8());
    settings.close();
    const auto all =
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    QFile::setPermissions(settings.fileName(), all);
    QFile::setPermissions(
        folder_.path(), all | QFileDevice::ExeOwner | QFileDevice::ExeGroup | QFileDevice::ExeOther);
    QStringList arguments{u"-q"_s, settings.fileName()};
    if (geteuid() == 0)
        arguments = QStringList{u"-u"_s, u"postgres"_s} + arguments;
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(
        QFile::exists(u"/usr/sbin/pgbouncer"_s) ? u"/usr/sbin/pgbouncer"_s : u"pgbouncer"_s, arguments);
    for (const QDeadlineTimer end(10'000); !end.hasExpired() && !process_.waitForFinished(50);) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        if (socket.waitForConnected(500))
            return;
    }
    throw wire::Error(wire::ErrorKind::Usage, u"pgbouncer: "_s + QString::fromUtf8(process_.readAll()));
}

PgBouncer::~PgBouncer()
{
    process_.terminate();
    process_.waitForFinished(10'000);
}

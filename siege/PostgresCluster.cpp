#include "siege/PostgresCluster.h"

#include "wire/Error.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <libpq-fe.h>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

PostgresCluster::PostgresCluster(const QString& name)
    // Where PostgreSQL's own user may write.
    : folder_(u"/tmp/%1-%2"_s.arg(name).arg(QCoreApplication::applicationPid()))
{
    Run({u"start"_s, folder_, u"--durable"_s});
    QFile uri(folder_ + u"/uri"_s);
    if (!uri.open(QIODevice::ReadOnly))
        throw Error(ErrorKind::Storage, uri.errorString());
    uri_ = QString::fromUtf8(uri.readAll()).trimmed();
}

PostgresCluster::~PostgresCluster()
{
    try {
        Run({u"stop"_s, folder_});
    } catch (const Error& error) {
        qWarning("%s", error.what());
    }
}

void PostgresCluster::Crash()
{
    Run({u"crash"_s, folder_});
}

std::vector<QStringList> PostgresCluster::Ask(const QString& sqlText) const
{
    const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(
        PQconnectdb(uri_.toUtf8().constData()), PQfinish);
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(
        PQexec(connection.get(), sqlText.toUtf8().constData()), PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
        throw Error(ErrorKind::Storage, QString::fromUtf8(PQerrorMessage(connection.get())), sqlText);
    std::vector<QStringList> rows(size_t(PQntuples(result.get())));
    for (int row = 0; row < PQntuples(result.get()); ++row) {
        for (int column = 0; column < PQnfields(result.get()); ++column)
            rows[size_t(row)].append(QString::fromUtf8(PQgetvalue(result.get(), row, column)));
    }
    return rows;
}

void PostgresCluster::Run(const QStringList& arguments) const
{
    QProcess script;
    script.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Not kept open by the cluster, which outlives the script.
    script.setStandardOutputFile(QProcess::nullDevice());
    script.start(QStringLiteral(ZELMOR_CLUSTER_SCRIPT), arguments);
    if (!script.waitForFinished(120'000) || script.exitCode() != 0)
        throw Error(ErrorKind::Storage, u"postgres-cluster.sh %1 failed"_s.arg(arguments.join(u' ')));
}

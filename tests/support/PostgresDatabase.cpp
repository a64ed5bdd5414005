#include "tests/support/PostgresDatabase.h"

#include "wire/Error.h"

#include <QCoreApplication>
#include <QFile>

#include <libpq-fe.h>

#include <atomic>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QString ClusterUri()
{
    QFile file(qEnvironmentVariable("ZELMOR_TEST_POSTGRES_FILE"));
    if (!file.fileName().isEmpty() && file.open(QIODevice::ReadOnly))
        return QString::fromUtf8(file.readAll()).trimmed();
    throw wire::Error(wire::ErrorKind::Connection,
        u"No PostgreSQL cluster for tests. Run this test through ctest, or start one by hand:\n"
        "  tests/support/postgres-cluster.sh start /tmp/zelmor-mine\n"
        "  export ZELMOR_TEST_POSTGRES_FILE=/tmp/zelmor-mine/uri\n"
        "  …\n"
        "  tests/support/postgres-cluster.sh stop /tmp/zelmor-mine"_s);
}

QString UriOf(QString clusterUri, const QString& database)
{
    return clusterUri.replace(u"/postgres?"_s, u'/' + database + u'?');
}

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

Result RunOn(const QString& uri, const QString& sql)
{
    const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(
        PQconnectdb(uri.toUtf8().constData()), PQfinish);
    const auto fail = [&] {
        throw wire::Error(
            wire::ErrorKind::Storage, QString::fromUtf8(PQerrorMessage(connection.get())).trimmed(), sql);
    };
    if (PQstatus(connection.get()) != CONNECTION_OK)
        fail();
    PQsetNoticeProcessor(
        connection.get(), [](void*, const char*) {}, nullptr);
    Result result(PQexec(connection.get(), sql.toUtf8().constData()), PQclear);
    if (PQresultStatus(result.get()) == PGRES_FATAL_ERROR)
        fail();
    return result;
}

} // namespace

PostgresDatabase::PostgresDatabase(Orafce orafce)
    : clusterUri_(ClusterUri())
{
    static std::atomic<int> count = 0;
    name_ = u"test_%1_%2"_s.arg(QCoreApplication::applicationPid()).arg(++count);
    RunOn(clusterUri_, u"create database %1 template template0"_s.arg(name_));
    if (orafce == Orafce::With)
        Run(u"create extension orafce"_s);
}

PostgresDatabase::~PostgresDatabase()
{
    try {
        RunOn(clusterUri_, u"drop database if exists %1 with (force)"_s.arg(name_));
    } catch (const wire::Error& error) {
        qWarning("%s", error.what());
    }
}

QString PostgresDatabase::Uri() const
{
    return UriOf(clusterUri_, name_);
}

void PostgresDatabase::Run(const QString& sql) const
{
    RunOn(Uri(), sql);
}

std::vector<std::optional<QString>> PostgresDatabase::Texts(const QString& sql) const
{
    const Result result = RunOn(Uri(), sql);
    std::vector<std::optional<QString>> texts;
    texts.reserve(static_cast<size_t>(PQntuples(result.get())));
    for (int row = 0; row < PQntuples(result.get()); ++row) {
        texts.push_back(PQgetisnull(result.get(), row, 0)
                ? std::nullopt
                : std::optional(QString::fromUtf8(PQgetvalue(result.get(), row, 0))));
    }
    return texts;
}

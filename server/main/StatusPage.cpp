#include "server/main/StatusPage.h"

#include "server/monitoring/Process.h"

#include <QDateTime>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

// "3 d 04:12:09"
QString Duration(std::chrono::seconds time)
{
    const qint64 seconds = time.count();
    const qint64 days = seconds / 86'400;
    const QString clock = u"%1:%2:%3"_s.arg(seconds / 3600 % 24, 2, 10, QChar(u'0'))
                              .arg(seconds / 60 % 60, 2, 10, QChar(u'0'))
                              .arg(seconds % 60, 2, 10, QChar(u'0'));
    return days > 0 ? u"%1 d %2"_s.arg(days).arg(clock) : clock;
}

QString CertificateText(qint64 end)
{
    if (end == 0)
        return u"none"_s;
    const QDateTime date = QDateTime::fromSecsSinceEpoch(end);
    return u"valid until %1, %2 days left"_s.arg(date.toString(u"yyyy-MM-dd HH:mm:ss"_s))
        .arg(QDateTime::currentDateTime().daysTo(date));
}

} // namespace

StatusPage::StatusPage(ApplicationServer& server, const Listener& listener, const ListenerOptions& options,
    const monitoring::Monitor& monitor)
    : server_(server)
    , listener_(listener)
    , options_(options)
    , monitor_(monitor)
{
}

QByteArray StatusPage::Text() const
{
    const monitoring::Metrics& metrics = monitor_.metrics;
    const storage::PoolState pool = server_.Pool();
    QString text;
    const auto line = [&text](const char* name, const QString& value) {
        text += QLatin1StringView(name).toString().leftJustified(13) + value + u'\n';
    };
    line("version", QLatin1StringView(monitoring::Version()));
    line("uptime", Duration(metrics.Uptime()));
    line("address", u"%1:%2"_s.arg(options_.address.toString()).arg(listener_.Port()));
    line("certificate", CertificateText(metrics.certificateEnd.Value()));
    line("storage", server_.StorageDescription());
    line("connections",
        u"%1 of %2 in use, %3 idle, %4 requests waiting"_s.arg(pool.lent).arg(pool.most).arg(pool.idle).arg(
            pool.waiting));
    line("sessions",
        u"%1 of %2 connected, %3 logged in"_s.arg(metrics.sessions.Value())
            .arg(options_.maxConnections)
            .arg(metrics.loggedIn.Value()));
    line("requests",
        u"%1 answered, %2 refused, %3 failed, %4 abandoned"_s.arg(metrics.Requests(monitoring::Outcome::Ok))
            .arg(metrics.Requests(monitoring::Outcome::Refused))
            .arg(metrics.Requests(monitoring::Outcome::Failed))
            .arg(metrics.Requests(monitoring::Outcome::Abandoned)));
    line("refusals", QString::number(metrics.Refused()));
    line("memory", u"%1 MB"_s.arg(monitoring::ResidentBytes() >> 20));
    return text.toUtf8();
}

void RegisterPool(monitoring::Registry& registry, ApplicationServer& server)
{
    const auto gauge = [&](const char* name, const char* help, int storage::PoolState::*figure) {
        registry.NewGauge(name, help, {}, [&server, figure] { return server.Pool().*figure; });
    };
    const auto counter = [&](const char* name, const char* help, const QByteArray& labels,
                             qint64 storage::PoolState::*figure) {
        registry.NewCounter(
            name, help, labels, [&server, figure] { return static_cast<double>(server.Pool().*figure); });
    };
    gauge(
        "zelmor_database_connections_max", "Connections to the database at most.", &storage::PoolState::most);
    gauge("zelmor_database_connections_in_use", "Database connections lent to requests.",
        &storage::PoolState::lent);
    gauge(
        "zelmor_database_connections_idle", "Database connections open and free.", &storage::PoolState::idle);
    gauge("zelmor_database_connections_waiting", "Requests that wait for a database connection.",
        &storage::PoolState::waiting);
    counter("zelmor_database_connections_opened_total", "Database connections opened.", {},
        &storage::PoolState::opened);
    counter("zelmor_database_connections_dropped_total",
        "Database connections given up because they had broken.", {}, &storage::PoolState::dropped);
    const char* const statements = "Statements of clients, by whether their translation was at hand.";
    counter("zelmor_statements_total", statements, "cache=\"hit\"", &storage::PoolState::statementsFound);
    counter("zelmor_statements_total", statements, "cache=\"miss\"", &storage::PoolState::statementsMade);
}

} // namespace server

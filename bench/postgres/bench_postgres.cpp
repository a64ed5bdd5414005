// The server over PostgreSQL, each figure against libpq by itself in the same run. Needs a cluster:
// tests/support/postgres-cluster.sh start /tmp/… --durable, and its address in ZELMOR_TEST_POSTGRES_FILE.
// An argument says how many orders (10,000 at least); 100,000 unless given.

#include "bench/postgres/PostgresFloor.h"
#include "bench/system/Measure.h"
#include "demo/Generator.h"
#include "module/data/SqlText.h"
#include "reports/ServiceFigures.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "server/dialect/Dialect.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/postgres/PostgresStorage.h"
#include "tests/support/PostgresDatabase.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kEveryOrder = u"select a.* from tab_zelmor_bill a"_s;
constexpr int kRounds = 7;

QString Headquarters()
{
    return demo::Logins().front().account;
}

void BenchOpen(TSocketConnectionEx& connection, PostgresFloor& floor)
{
    TClientDataSetEx dataSet;
    dataSet.SetRemoteServer(&connection);
    dataSet.SetCommandText(kEveryOrder);
    dataSet.Open();
    const QString rows =
        QString::number(dataSet.RecordCount()) + u" × "_s + QString::number(dataSet.FieldCount());
    QStringList columns;
    for (int field = 0; field < dataSet.FieldCount(); ++field)
        columns << u"a."_s + dataSet.FieldInfo(field).name;
    const QString same = u"select %1 from tab_zelmor_bill a"_s.arg(columns.join(u", "_s));
    const Comparison opened = Compare(
        kRounds,
        [&] {
            dataSet.Close();
            return MillisecondsOf([&] { dataSet.Open(); });
        },
        [&] { return MillisecondsOf([&] { floor.ReadEveryCell(same); }); });
    PrintRow(u"open %1 from PostgreSQL into a dataset"_s.arg(rows), Milliseconds(opened.subject),
        u"libpq row by row, every cell, not kept: "_s + Milliseconds(opened.peer), opened.ratio, 1.5);
}

void BenchApply(TSocketConnectionEx& connection, PostgresFloor& floor, const PostgresDatabase& database)
{
    constexpr int kRows = 10'000;
    TClientDataSetEx dataSet;
    dataSet.SetRemoteServer(&connection);
    dataSet.SetCommandText(kEveryOrder + u" where rownum<=%1"_s.arg(kRows));
    int round = 0;
    // Both write new versions of the same rows; neither pays for what the other leaves behind.
    const auto open = [&] {
        dataSet.Close();
        database.Run(u"vacuum tab_zelmor_bill"_s);
        database.Run(u"checkpoint"_s);
        dataSet.Open();
        ++round;
    };
    const auto subject = [&] {
        open();
        EditEveryOrder(dataSet, round);
        const double time = MillisecondsOf([&] { dataSet.ApplyUpdates(-1); });
        if (dataSet.ChangeCount() != 0)
            throw wire::Error(wire::ErrorKind::Usage, u"not every row was saved"_s);
        return time;
    };
    const auto peer = [&] {
        open();
        const std::vector<OrderEdit> edits = EditsOfEveryOrder(dataSet, round);
        int changed = 0;
        const double time = MillisecondsOf([&] { changed = floor.Update(edits); });
        if (changed != kRows)
            throw wire::Error(wire::ErrorKind::Usage, u"the peer changed %1 rows"_s.arg(changed));
        return time;
    };
    const Comparison applied = Compare(kRounds, subject, peer);
    PrintRow(u"10,000 edited rows in one save on PostgreSQL, audit included"_s, Milliseconds(applied.subject),
        u"pipelined libpq, savepoint a row, same check, no audit: "_s + Milliseconds(applied.peer),
        applied.ratio, 1.5);
}

// The translation with its literals written into it, for libpq.
QString WithLiterals(const dialect::Translated& translated)
{
    static constexpr const char* kTypes[] = {"text", "int8", "float8", "timestamp"};
    const std::vector<dialect::Parameter>& parameters = translated.translation->parameters;
    QString sql = QString::fromStdString(translated.translation->sql);
    for (size_t i = parameters.size(); i-- > 0;) {
        QString said = wire::ToText(translated.literals[size_t(parameters[i].literal)]);
        said = u'\'' + said.replace(u'\'', u"''"_s) + u"'::"_s
            + QString::fromLatin1(kTypes[int(parameters[i].type) - 1]);
        sql.replace(u'$' + QString::number(i + 1), said);
    }
    return sql;
}

void BenchStatistics(TSocketConnectionEx& connection, PostgresFloor& floor, const PostgresDatabase& database)
{
    TClientDataSetEx sites;
    sites.SetRemoteServer(&connection);
    sites.SetCommandText(u"select a.SITE_NAME from tab_site a"_s);
    sites.Open();
    const TFiguresConditions conditions = FiguresConditions({
        .from = u"2024-05-31 00:00:00"_s,
        .to = u"2024-06-30 23:59:59"_s,
        .sites = BuildInList(sites, u"SITE_NAME"_s, u"a.duty_site"_s),
    });
    const QStringList texts{RegionFiguresQuery(conditions), SiteFiguresQuery(conditions)};
    dialect::Translator translator(
        storage::PostgresAt(database.Uri())({})->Catalog(), dialect::Target::Postgres);
    QStringList bare;
    for (const QString& text : texts)
        bare << WithLiterals(translator.Translate(text));
    TClientDataSetEx figures;
    figures.SetRemoteServer(&connection);
    const Comparison statistics = Compare(
        kRounds,
        [&] {
            return MillisecondsOf([&] {
                for (const QString& text : texts)
                    figures.OpenQuery(text);
            });
        },
        [&] {
            return MillisecondsOf([&] {
                for (const QString& text : bare)
                    floor.ReadEveryCell(text);
            });
        });
    PrintRow(u"both queries of the statistics of 31 days on PostgreSQL"_s, Milliseconds(statistics.subject),
        u"the same text in libpq, not kept: "_s + Milliseconds(statistics.peer), statistics.ratio, 1.2);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    try {
        const PostgresDatabase database;
        server::Options options;
        options.demo = QCoreApplication::arguments().value(1, u"medium"_s);
        options.now = wire::DateTime::FromParts(2024, 6, 30, 15, 0, 0);
        options.open = storage::PostgresAt(database.Uri());
        std::unique_ptr<server::ApplicationServer> server;
        const double made =
            MillisecondsOf([&] { server = std::make_unique<server::ApplicationServer>(options); });
        std::fprintf(stderr, "%s orders made and loaded in %.1f s\n", qPrintable(options.demo), made / 1000);
        database.Run(u"vacuum analyze"_s);
        PostgresFloor floor(database.Uri());
        TSocketConnectionEx connection;
        connection.SetTransport(server->NewTransport());
        connection.Open(Headquarters(), demo::DemoPassword());
        PrintHead();
        BenchStatistics(connection, floor, database);
        BenchOpen(connection, floor);
        BenchApply(connection, floor, database);
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}

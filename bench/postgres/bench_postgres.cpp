// The server over PostgreSQL, each figure against libpq by itself in the same run. Needs a cluster:
// tests/support/postgres-cluster.sh start /tmp/… --durable, and its address in ZELMOR_TEST_POSTGRES_FILE.

#include "bench/postgres/PostgresFloor.h"
#include "bench/system/Measure.h"
#include "demo/Generator.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
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

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    try {
        const PostgresDatabase database;
        server::Options options;
        options.demo = u"medium"_s;
        options.now = wire::DateTime::FromParts(2024, 6, 30, 15, 0, 0);
        options.open = storage::PostgresAt(database.Uri());
        std::unique_ptr<server::ApplicationServer> server;
        const double made =
            MillisecondsOf([&] { server = std::make_unique<server::ApplicationServer>(options); });
        std::fprintf(stderr, "100,000 orders made and loaded in %.1f s\n", made / 1000);
        database.Run(u"vacuum analyze"_s);
        PostgresFloor floor(database.Uri());
        TSocketConnectionEx connection;
        connection.SetTransport(server->NewTransport());
        connection.Open(Headquarters(), demo::DemoPassword());
        PrintHead();
        BenchOpen(connection, floor);
        BenchApply(connection, floor, database);
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}

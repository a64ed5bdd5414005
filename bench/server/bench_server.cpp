// The server in process against the database's own C interface. Usage: bench_server [CACHE-FOLDER [WORK…]],
// the works being fill, open, lookups and apply

#include "bench/system/Databases.h"
#include "bench/system/Floor.h"
#include "bench/system/Measure.h"
#include "demo/Generator.h"
#include "tests/support/RowKeeper.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlQueryModel>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kEveryOrder = u"select * from tab_zelmor_bill a"_s;

class Client {
public:
    explicit Client(server::ApplicationServer& server)
        : transport_(server.NewTransport())
    {
        transport_->Connect();
        wire::Request login;
        login.kind = wire::RequestKind::Login;
        login.account = demo::Logins().front().account;
        login.password = demo::DemoPassword();
        RowKeeper keeper;
        transport_->Exchange(login, keeper);
    }

    const wire::RowSet& Query(const QString& text)
    {
        request_.kind = wire::RequestKind::Query;
        request_.text = text;
        transport_->Exchange(request_, keeper_);
        return keeper_.rows;
    }
    wire::ApplyOutcome Apply(const wire::Request& request)
    {
        return transport_->Exchange(request, keeper_).outcome;
    }

private:
    std::unique_ptr<wire::Transport> transport_;
    wire::Request request_;
    RowKeeper keeper_;
};

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "bench: %s\n", what);
        std::exit(1);
    }
}

void BenchFill()
{
    QTemporaryDir folder;
    const double elapsed = MillisecondsOf([&] { Medium(folder.path()); });
    PrintRow(u"make a database of 100,000 orders"_s, Milliseconds(elapsed), u"seconds"_s, elapsed / 1000, 60);
}

void BenchOpen(const MeasuredDatabase& database, Client& client)
{
    Floor floor(database.file);
    const auto open = [&] { return MillisecondsOf([&] { client.Query(kEveryOrder); }); };
    const auto cells =
        Compare(5, open, [&] { return MillisecondsOf([&] { floor.ReadEveryCell(kEveryOrder); }); });
    const QString work = u"%1 × %2 into columns"_s.arg(client.Query(kEveryOrder).RowCount())
                             .arg(client.Query(kEveryOrder).columns.size());
    PrintRow(work, Milliseconds(cells.subject), u"every cell, not kept: "_s + Milliseconds(cells.peer),
        cells.ratio, 1.6);

    QSqlDatabase peer = QSqlDatabase::addDatabase(u"QSQLITE"_s);
    peer.setDatabaseName(database.file);
    Require(peer.open(), "the peer cannot open the database");
    // Millions of small pieces that the peer gave back are swept up by whoever allocates next: not on our
    // time.
    const auto sweptOpen = [&] {
        malloc_trim(0);
        return open();
    };
    const auto model = Compare(3, sweptOpen, [&] {
        QSqlQueryModel rows;
        const double elapsed = MillisecondsOf([&] {
            rows.setQuery(QSqlQuery(kEveryOrder, peer));
            while (rows.canFetchMore())
                rows.fetchMore();
        });
        Require(rows.rowCount() == client.Query(kEveryOrder).RowCount(), "the peer read other rows");
        return elapsed;
    });
    PrintRow(work, Milliseconds(model.subject), u"QSqlQueryModel: "_s + Milliseconds(model.peer), model.ratio,
        0.55);
}

void BenchLookUps(const MeasuredDatabase& database, Client& client)
{
    constexpr int kCount = 40'000;
    const wire::RowSet areas = client.Query(
        u"select a.* from TAB_AREA_DETAIL a where a.TOWN is not null and a.ROAD_NAME is not null"_s);
    Require(areas.RowCount() > 0, "no delivery areas");
    std::vector<Floor::AreaKey> keys;
    std::vector<QString> texts;
    for (int i = 0; i < kCount; ++i) {
        const auto text = [&](QStringView name) {
            return QString::fromUtf8(areas.columns[size_t(areas.IndexOf(name))].TextAt(i % areas.RowCount()));
        };
        const qint64 number =
            areas.columns[size_t(areas.IndexOf(u"STARTNO"))].IntegerAt(i % areas.RowCount());
        const Floor::AreaKey& key = keys.emplace_back(text(u"PROVICE"), text(u"CITY"), text(u"COUNTY"),
            text(u"TOWN"), text(u"ROAD_NAME"), int(number) + i % 7);
        texts.push_back(
            u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and (a.PROVICE='%1' or "
            "a.PROVICE='%2') and (a.CITY='%3' or a.CITY='%4') and a.COUNTY = '%5' and a.TOWN = '%6' and "
            "a.ROAD_NAME = '%7' and a.STARTNO <= %8 and a.ENDNO >= %8 and a.BL_NO in (0,2)  and rownum=1 "_s
                .arg(key.province, key.province.chopped(1), key.city, key.city.chopped(1), key.county,
                    key.town, key.road)
                .arg(key.number));
    }
    Floor floor(database.file);
    qint64 hits = 0;
    qint64 floorHits = 0;
    const auto lookUps = Compare(
        5,
        [&] {
            hits = 0;
            return MillisecondsOf([&] {
                for (const QString& text : texts)
                    hits += client.Query(text).RowCount();
            });
        },
        [&] { return MillisecondsOf([&] { floorHits = floor.LookUp(keys); }); });
    Require(hits == floorHits, "look-ups differ");
    PrintRow(u"40,000 small look-ups"_s, Milliseconds(lookUps.subject),
        u"prepared by the C interface: "_s + Milliseconds(lookUps.peer), lookUps.ratio, 2.0);
}

// The change log of a dataset in which three columns of every row were edited, and the same edits for the
// floor.
struct Edits {
    wire::ChangeLog log;
    std::vector<OrderEdit> bare;
};

Edits EditEveryRow(const QString& text, const wire::RowSet& rows, int round)
{
    Edits edits;
    edits.log.commandText = text;
    edits.log.columns = rows.infos;
    const auto position = [&](QStringView name) { return quint16(rows.IndexOf(name)); };
    const quint16 status = position(u"STATUS");
    const quint16 remark = position(u"REMARK");
    const quint16 message = position(u"MESSAGE");
    const quint16 weight = position(u"TOTAL_WEIGHT");
    for (qsizetype row = 0; row < rows.RowCount(); ++row) {
        wire::RowChange change;
        change.rowId = quint32(row + 1);
        for (quint16 column = 0; column < rows.columns.size(); ++column) {
            const wire::Value original = rows.columns[column].ValueAt(row);
            if (column == remark)
                change.cells.push_back({column, original, u"第%1次修改"_s.arg(round)});
            else if (column == message)
                change.cells.push_back({column, original, u"员工%1"_s.arg(round)});
            else if (column == weight)
                change.cells.push_back({column, original, round + 0.5});
            else if (rows.infos[column].key || rows.infos[column].guard)
                change.cells.push_back({column, original, original});
        }
        edits.log.rows.push_back(std::move(change));
        const auto value = [&](QStringView name) { return rows.columns[position(name)].ValueAt(row); };
        edits.bare.push_back({.order = wire::ToText(value(u"TX_LOGISTIC_ID")),
            .status = rows.columns[status].IsNull(row) ? std::nullopt
                                                       : std::optional(rows.columns[status].IntegerAt(row)),
            .receivingSite = wire::ToText(value(u"REC_SITE")),
            .candidates = wire::ToText(value(u"PREPARE_SITE")),
            .oldRemark = wire::ToText(value(u"REMARK")),
            .oldMessage = wire::ToText(value(u"MESSAGE")),
            .remark = u"第%1次修改"_s.arg(round),
            .message = u"员工%1"_s.arg(round),
            .oldWeight = rows.columns[weight].IsNull(row) ? std::nullopt
                                                          : std::optional(rows.columns[weight].NumberAt(row)),
            .weight = round + 0.5});
    }
    return edits;
}

void BenchApply(const MeasuredDatabase& database, Client& client)
{
    const QString text = kEveryOrder + u" where rownum<=10000"_s;
    Floor floor(database.file);
    int round = 0;
    const auto edit = [&] {
        const wire::RowSet rows = client.Query(text);
        return EditEveryRow(text, rows, ++round);
    };
    const auto applied = Compare(
        5,
        [&] {
            wire::Request request;
            request.kind = wire::RequestKind::ApplyUpdates;
            request.changes = edit().log;
            request.name = {{42}, QRandomGenerator::global()->generate64()};
            wire::ApplyOutcome outcome;
            const double elapsed = MillisecondsOf([&] { outcome = client.Apply(request); });
            Require(outcome.rows.size() == 10'000 && outcome.Rejected() == 0, "rows were refused");
            return elapsed;
        },
        [&] {
            const Edits edits = edit();
            int changed = 0;
            const double elapsed = MillisecondsOf([&] { changed = floor.Update(edits.bare); });
            Require(changed == 10'000, "the bare update missed rows");
            return elapsed;
        });
    PrintRow(u"10,000 edited rows in one save"_s, Milliseconds(applied.subject),
        u"bare prepared update, same check: "_s + Milliseconds(applied.peer), applied.ratio, 1.5);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString cache = arguments.size() > 1 ? arguments[1] : QDir::temp().filePath(u"zelmor-bench"_s);
    const auto wanted = [&](const QString& work) { return arguments.size() < 3 || arguments.contains(work); };
    PrintHead();
    const MeasuredDatabase database = Medium(cache);
    const auto server = database.Serve();
    Client client(*server);
    if (wanted(u"fill"_s))
        BenchFill();
    if (wanted(u"open"_s))
        BenchOpen(database, client);
    if (wanted(u"lookups"_s))
        BenchLookUps(database, client);
    if (wanted(u"apply"_s))
        BenchApply(database, client);
}

// The dataset alone, against Qt's own models over the same 100,000 rows: order, memory, search, filter, sums,
// edits, and what a small query costs beyond its transport. Medians of five; figures depend on the machine,
// ratios less so.

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"

#include <QCoreApplication>
#include <QFile>
#include <QSortFilterProxyModel>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlQueryModel>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>

#ifdef Q_OS_LINUX
#include <malloc.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRows = 100'000;
constexpr int kColumns = 75;
constexpr int kRounds = 5;

// Of processor time: everything here runs on one thread, and a busy machine disturbs it less.
template <typename Work> double MillisecondsOf(Work&& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) * 1000 / CLOCKS_PER_SEC;
}

double Median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void Print(const char* what, const QString& figure, const QString& peer, double ratio)
{
    std::printf("%-44s %16s   %-44s ", what, qPrintable(figure), qPrintable(peer));
    if (ratio > 0)
        std::printf("%8.4f", ratio);
    std::printf("\n");
    std::fflush(stdout);
}

QString Ms(double milliseconds)
{
    return QString::number(milliseconds, 'f', 2) + u" ms"_s;
}

// Orders with the mixture of the company's: a third of the texts repeat by the thousand, some hardly ever,
// many are empty.
class OrderMaker {
public:
    OrderMaker()
    {
        static const QStringList syllables{u"上"_s, u"海"_s, u"北"_s, u"京"_s, u"广"_s, u"州"_s, u"深"_s,
            u"圳"_s, u"杭"_s, u"安"_s, u"江"_s, u"宁"_s, u"山"_s, u"东"_s, u"河"_s, u"南"_s, u"长"_s, u"春"_s,
            u"张"_s, u"王"_s};
        for (int i = 0; i < 4000; ++i)
            names_.push_back(syllables[i % 20] + syllables[i / 20 % 20] + syllables[i / 400 % 20]
                + (i < 400 ? u"网点"_s : QString()));
    }

    static std::vector<wire::ColumnInfo> Infos()
    {
        std::vector<wire::ColumnInfo> infos(kColumns);
        for (int field = 0; field < kColumns; ++field) {
            auto& info = infos[static_cast<size_t>(field)];
            info.name = u"COLUMN_%1"_s.arg(field);
            info.type = TypeOf(field);
            info.key = field == 0;
            info.guard = field == 1;
            info.stored = true;
        }
        infos[2].name = u"REC_SITE"_s;
        infos[3].name = u"REC_MAN"_s;
        infos[4].name = u"CREATE_DATE"_s;
        infos[5].name = u"ITEMS_VALUE"_s;
        return infos;
    }
    wire::Value Cell(int row, int field)
    {
        switch (field) {
        case 0:
            return u"D20240501%1"_s.arg(row, 6, 10, QChar(u'0'));
        case 1:
            return Random(6);
        case 2:
            return names_[Random(400)];
        case 3:
            return names_[Random(4000)];
        case 4:
            return wire::DateTime{1'700'000'000 + Random(31'536'000)};
        case 5:
            return static_cast<double>(Random(100'000)) / 100;
        default:
            break;
        }
        if (field % 4 == 3)
            return {};
        switch (TypeOf(field)) {
        case wire::ColumnType::Integer:
            return Random(3);
        case wire::ColumnType::Number:
            return static_cast<double>(Random(1000)) / 10;
        case wire::ColumnType::DateTime:
            return wire::DateTime{1'700'000'000 + Random(31'536'000)};
        case wire::ColumnType::Text:
            break;
        }
        if (field % 8 == 0)
            return u"地址%1号"_s.arg(Random(90'000));
        return names_[Random(field % 3 == 0 ? 40 : 4000)];
    }

private:
    static wire::ColumnType TypeOf(int field)
    {
        if (field == 1 || field % 10 == 7)
            return wire::ColumnType::Integer;
        if (field == 4 || field % 15 == 9)
            return wire::ColumnType::DateTime;
        return field == 5 ? wire::ColumnType::Number : wire::ColumnType::Text;
    }

    QStringList names_;
    qint64 Random(qint64 below) { return static_cast<qint64>(random_() % static_cast<quint64>(below)); }

    std::mt19937 random_{1};
};

wire::RowSet MakeRows()
{
    OrderMaker maker;
    wire::RowSet rows;
    rows.infos = OrderMaker::Infos();
    for (const wire::ColumnInfo& info : rows.infos)
        rows.columns.emplace_back(info.type);
    for (int row = 0; row < kRows; ++row)
        for (int field = 0; field < kColumns; ++field)
            rows.columns[static_cast<size_t>(field)].AppendValue(maker.Cell(row, field));
    for (wire::Column& column : rows.columns)
        column.Squeeze();
    return rows;
}

// Resident bytes of this process; 0 where the system does not tell.
qint64 Resident()
{
#ifdef Q_OS_LINUX
    malloc_trim(0);
    QFile file(u"/proc/self/statm"_s);
    if (file.open(QIODevice::ReadOnly))
        return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
#endif
    return 0;
}

// The same rows in a database file, for the peers.
void FillDatabase(QSqlDatabase& database)
{
    QSqlQuery query(database);
    QStringList columns;
    QStringList marks;
    for (const wire::ColumnInfo& info : OrderMaker::Infos()) {
        columns.append(info.name);
        marks.append(u"?"_s);
    }
    query.exec(u"create table orders (%1)"_s.arg(columns.join(u',')));
    database.transaction();
    query.prepare(u"insert into orders values (%1)"_s.arg(marks.join(u',')));
    OrderMaker maker;
    for (int row = 0; row < kRows; ++row) {
        for (int field = 0; field < kColumns; ++field) {
            const wire::Value value = maker.Cell(row, field);
            QVariant cell;
            if (const auto* integer = std::get_if<qint64>(&value))
                cell = *integer;
            else if (const auto* number = std::get_if<double>(&value))
                cell = *number;
            else if (!wire::IsNull(value))
                cell = wire::ToText(value);
            query.bindValue(field, cell);
        }
        if (!query.exec())
            qFatal("%s", qPrintable(query.lastError().text()));
    }
    database.commit();
}

// Compares two texts and a date, as users of the proxy do for several columns.
class ThreeColumnProxy : public QSortFilterProxyModel {
protected:
    bool lessThan(const QModelIndex& a, const QModelIndex& b) const override
    {
        for (int field = 2; field < 4; ++field) {
            const int order = a.siblingAtColumn(field).data().toString().localeAwareCompare(
                b.siblingAtColumn(field).data().toString());
            if (order != 0)
                return order < 0;
        }
        return a.siblingAtColumn(4).data().toString() < b.siblingAtColumn(4).data().toString();
    }
};

void BenchSort(TClientDataSetEx& set, QSqlQueryModel& peer)
{
    std::vector<double> first;
    std::vector<double> again;
    for (int round = 0; round < kRounds; ++round) {
        TClientDataSetEx fresh;
        fresh.CopyFrom(set);
        fresh.AddIndex(u"SortIndexEh"_s, u"REC_SITE;REC_MAN;CREATE_DATE");
        first.push_back(MillisecondsOf([&] { fresh.SetIndexName(u"SortIndexEh"_s); }));
        again.push_back(MillisecondsOf([&] { fresh.SetIndexName(u"SortIndexEh"_s); }));
    }
    std::vector<double> proxyTimes;
    for (int round = 0; round < 3; ++round) {
        ThreeColumnProxy proxy;
        proxy.setSourceModel(&peer);
        proxyTimes.push_back(MillisecondsOf([&] { proxy.sort(2); }));
    }
    const double proxyTime = Median(proxyTimes);
    const QString other = u"QSortFilterProxyModel "_s + Ms(proxyTime);
    Print("sort, two Chinese texts and a date", Ms(Median(first)), other, Median(first) / proxyTime);
    Print("the same again (texts ranked)", Ms(Median(again)), other, Median(again) / proxyTime);
    std::vector<double> plain;
    for (int round = 0; round < kRounds; ++round) {
        TClientDataSetEx fresh;
        fresh.CopyFrom(set);
        fresh.AddIndex(u"SortIndexEh"_s, u"COLUMN_8");
        plain.push_back(MillisecondsOf([&] { fresh.SetIndexName(u"SortIndexEh"_s); }));
    }
    Print("sort by addresses, nearly all different", Ms(Median(plain)), {}, 0);
}

void BenchPasses(TClientDataSetEx& set)
{
    std::vector<double> filter;
    std::vector<double> sum;
    for (int round = 0; round < kRounds; ++round) {
        filter.push_back(MillisecondsOf([&] {
            set.SetFilter(u"REC_MAN like '%海%' and COLUMN_1 >= %1"_s.arg(round % 3 + 1));
            set.SetFiltered(true);
        }));
        set.SetFiltered(false);
        sum.push_back(MillisecondsOf([&] { set.Sum(5); }));
    }
    set.SetFilter({});
    // By title: a column whose texts repeat, and one whose texts are all different; the first time of each
    // its values are numbered, too.
    std::vector<double> counts;
    std::vector<double> narrow;
    for (const QString& field : {u"REC_MAN"_s, u"COLUMN_0"_s}) {
        const int index = set.FieldIndex(field);
        counts.push_back(MillisecondsOf([&] { set.CountValues(index); }));
        narrow.push_back(MillisecondsOf([&] {
            set.FilterValues(
                field, [](const wire::Value& value) { return wire::ToText(value).size() % 2 == 0; });
        }));
        set.ClearValueFilters();
    }
    Print("values of a title's filter, few / all different", Ms(counts[0]) + u" / "_s + Ms(counts[1]), {}, 0);
    Print("apply it", Ms(narrow[0]) + u" / "_s + Ms(narrow[1]), {}, 0);
    Print("filter, a text pattern and a number", Ms(Median(filter)), {}, 0);
    Print("exact sum of amounts", Ms(Median(sum)), {}, 0);

    std::mt19937 random(3);
    set.Locate(u"COLUMN_0"_s, {wire::Value(u"-"_s)});
    set.Locate(u"COLUMN_0"_s, {wire::Value(u"-"_s)});
    const double locate = MillisecondsOf([&] {
        for (int i = 0; i < 10'000; ++i)
            set.Locate(u"COLUMN_0"_s,
                {wire::Value(u"D20240501%1"_s.arg(static_cast<int>(random() % kRows), 6, 10, QChar(u'0')))});
    });
    Print("locate by one text, each", QString::number(locate / 10, 'f', 2) + u" us"_s, {}, 0);

    const double edit = MillisecondsOf([&] {
        set.DisableControls();
        int row = 0;
        for (set.First(); row < 10'000; set.Next(), ++row) {
            set.Edit();
            set.FieldByName(u"COLUMN_1").SetAsInteger(9);
            set.FieldByName(u"REC_SITE").SetAsString(u"快运本部"_s);
            set.Post();
        }
        set.EnableControls();
    });
    Print("edit two fields and post, each of 10,000", QString::number(edit / 10, 'f', 2) + u" us"_s, {}, 0);
}

// Answers every query with one row of three columns, and accepts every change.
class OneRowTransport final : public wire::Transport {
public:
    OneRowTransport()
    {
        for (const char16_t* name : {u"SITE_NAME", u"SITE_CODE", u"TYPE_KIND"})
            infos_.push_back({QString::fromUtf16(name), wire::ColumnType::Text, 50, false, false, true});
    }
    void Connect() override { connected_ = true; }
    void Disconnect() noexcept override { connected_ = false; }
    bool IsConnected() const noexcept override { return connected_; }
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind == wire::RequestKind::Query) {
            sink.Columns(infos_);
            std::vector<wire::Column> block(3);
            for (wire::Column& column : block)
                column.AppendText("value");
            sink.Rows(std::move(block));
        }
        wire::Reply reply;
        for (const wire::RowChange& row : request.changes.rows)
            reply.outcome.rows.push_back({row.rowId, true, {}, false, {}});
        return reply;
    }

private:
    std::vector<wire::ColumnInfo> infos_;
    bool connected_ = false;
};

class TakingSink final : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos& infos) override { infos_ = *infos; }
    void Rows(std::vector<wire::Column> block) override { block_ = std::move(block); }

private:
    std::vector<wire::ColumnInfo> infos_;
    std::vector<wire::Column> block_;
};

void BenchSmallOpens()
{
    constexpr int kOpens = 40'000;
    TSocketConnectionEx connection;
    connection.SetTransport(std::make_unique<OneRowTransport>());
    connection.Open(u"account"_s, u"password"_s);
    TClientDataSetEx set;
    set.SetRemoteServer(&connection);
    const QString texts[] = {u"select a from t where k='1'"_s, u"select a from t where k='2'"_s};
    std::vector<double> opens;
    std::vector<double> bare;
    for (int round = 0; round < kRounds; ++round) {
        opens.push_back(MillisecondsOf([&] {
            for (int i = 0; i < kOpens; ++i) {
                set.Close();
                set.SetCommandText(texts[i & 1]);
                set.Open();
            }
        }));
        bare.push_back(MillisecondsOf([&] {
            for (int i = 0; i < kOpens; ++i) {
                TakingSink sink;
                wire::Request request;
                request.kind = wire::RequestKind::Query;
                request.text = texts[i & 1];
                connection.Send(request, sink);
            }
        }));
    }
    const double each = Median(opens) * 1000 / kOpens;
    const double sent = Median(bare) * 1000 / kOpens;
    Print("small query: close, set text, open, each", QString::number(each, 'f', 2) + u" us"_s,
        u"the connection's send alone %1 us"_s.arg(sent, 0, 'f', 2), each / sent);
}

// What the dataset itself does to save the 10,000 rows edited before.
void BenchApply(TClientDataSetEx& set)
{
    TSocketConnectionEx connection;
    connection.SetTransport(std::make_unique<OneRowTransport>());
    connection.Open(u"account"_s, u"password"_s);
    set.SetRemoteServer(&connection);
    const double apply = MillisecondsOf([&] { set.ApplyUpdates(); });
    Print("save 10,000 edited rows, without the server", Ms(apply), {}, 0);
    if (set.ChangeCount() != 0)
        qFatal("rows were not accepted");
}

} // namespace

int main(int argc, char** argv)
{
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    // The peer's collation follows the environment.
    if (!qEnvironmentVariableIsSet("LC_ALL"))
        qputenv("LC_ALL", "zh_CN.UTF-8");
    const QCoreApplication application(argc, argv);
    BenchSmallOpens();

    TClientDataSetEx set;
    const qint64 before = Resident();
    {
        wire::RowSet rows = MakeRows();
        const double open = MillisecondsOf([&] { set.OpenRows(std::move(rows)); });
        Print("open 100,000 x 75 that have arrived", Ms(open), {}, 0);
    }
    const qint64 own = Resident() - before;

    const QTemporaryDir folder;
    QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s);
    database.setDatabaseName(folder.filePath(u"orders.db"_s));
    if (!database.open())
        qFatal("%s", qPrintable(database.lastError().text()));
    FillDatabase(database);
    {
        QSqlQueryModel peer;
        const qint64 beforePeer = Resident();
        peer.setQuery(u"select * from orders"_s, database);
        while (peer.canFetchMore())
            peer.fetchMore();
        const qint64 others = Resident() - beforePeer;
        Print("resident bytes a row", QString::number(own / kRows) + u" B"_s,
            u"QSqlQueryModel %1 B"_s.arg(others / kRows),
            static_cast<double>(own) / static_cast<double>(others));
        Print("bytes a row as the dataset counts them",
            QString::number(set.MemoryUse() / static_cast<size_t>(kRows)) + u" B"_s, {}, 0);
        BenchSort(set, peer);
    }
    BenchPasses(set);
    BenchApply(set);
    return EXIT_SUCCESS;
}

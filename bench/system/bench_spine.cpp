// Speed and size of the spine, each figure against a peer in the same run. Run by scripts/bench.sh.

#include "bench/system/Databases.h"
#include "bench/system/Floor.h"
#include "bench/system/Measure.h"
#include "bench/system/PaintedPage.h"
#include "demo/Generator.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"
#include "tests/support/ServerProcess.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlQueryModel>
#include <QStandardItemModel>
#include <QTcpServer>
#include <QTcpSocket>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <malloc.h>
#include <thread>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kEveryOrder = u"select * from tab_zelmor_bill a"_s;

[[noreturn]] void Fail(const QString& reason)
{
    std::fprintf(stderr, "bench: %s\n", qUtf8Printable(reason));
    std::exit(1);
}

// A dataset shown by a grid in a window, over a connection.
class ShownOrders {
public:
    explicit ShownOrders(TSocketConnectionEx& connection)
    {
        dataSet.SetRemoteServer(&connection);
        dataSet.SetCommandText(kEveryOrder);
        source.SetDataSet(&dataSet);
        grid.SetDataSource(&source);
        grid.setGeometry(0, 0, 1280, 720);
        dataSet.Open();
        std::vector<TColumnEh> columns;
        for (int field = 0; field < dataSet.FieldCount(); ++field)
            columns.push_back(
                {.fieldName = dataSet.FieldInfo(field).name, .title = dataSet.FieldInfo(field).name});
        grid.SetColumns(std::move(columns));
        grid.show();
        Paint();
    }

    void Paint()
    {
        QApplication::processEvents();
        grid.viewport()->repaint();
    }

    // Milliseconds from asking to painted. What the peer freed piece by piece is swept up first: that is its
    // bill, not that of whoever allocates next.
    double Open()
    {
        dataSet.Close();
        Paint();
        malloc_trim(0);
        return MillisecondsOf([this] {
            dataSet.Open();
            Paint();
        });
    }

    TClientDataSetEx dataSet;
    TDataSource source;
    TDBGridEh grid;
};

std::unique_ptr<TSocketConnectionEx> Connect(std::unique_ptr<wire::Transport> transport)
{
    auto connection = std::make_unique<TSocketConnectionEx>();
    connection->SetTransport(std::move(transport));
    connection->Open(DemoAccountOf(), demo::DemoPassword());
    return connection;
}

class PeerDatabase {
public:
    explicit PeerDatabase(const QString& file)
        : database_(QSqlDatabase::addDatabase(u"QSQLITE"_s, u"peer"_s))
    {
        database_.setDatabaseName(file);
        if (!database_.open())
            Fail(database_.lastError().text());
    }
    ~PeerDatabase()
    {
        database_ = {};
        QSqlDatabase::removeDatabase(u"peer"_s);
    }

    std::unique_ptr<QSqlQueryModel> EveryOrder()
    {
        auto model = std::make_unique<QSqlQueryModel>();
        QSqlQuery query(database_);
        query.exec(kEveryOrder);
        model->setQuery(std::move(query));
        while (model->canFetchMore())
            model->fetchMore();
        return model;
    }

private:
    QSqlDatabase database_;
};

// Resident bytes of this process.
double Resident()
{
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * double(sysconf(_SC_PAGESIZE));
}

// The database's own caches filled by one round of the work, what the round itself held given back.
double ResidentAfter(const std::function<void()>& round)
{
    round();
    malloc_trim(0);
    return Resident();
}

void MeasureMemory(const QString& which, const MeasuredDatabase& database)
{
    if (which == u"dataset"_s) {
        const auto server = database.Serve();
        const auto connection = Connect(server->NewTransport());
        TClientDataSetEx dataSet;
        dataSet.SetRemoteServer(connection.get());
        dataSet.SetCommandText(kEveryOrder);
        const double before = ResidentAfter([&] {
            dataSet.Open();
            dataSet.Close();
        });
        dataSet.Open();
        malloc_trim(0);
        std::printf("%f\n", (Resident() - before) / dataSet.RecordCount());
        return;
    }
    PeerDatabase peer(database.file);
    const double before = ResidentAfter([&] { peer.EveryOrder(); });
    const auto model = peer.EveryOrder();
    malloc_trim(0);
    std::printf("%f\n", (Resident() - before) / model->rowCount());
}

double BytesARow(const QString& which, const QString& cacheFolder)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {cacheFolder, u"--memory"_s, which});
    process.waitForFinished(-1);
    return process.readAllStandardOutput().trimmed().toDouble();
}

void BenchOpen(const MeasuredDatabase& database, TSocketConnectionEx& local, TSocketConnectionEx& network)
{
    ShownOrders shown(local);
    const QString rows =
        QString::number(shown.dataSet.RecordCount()) + u" × "_s + QString::number(shown.dataSet.FieldCount());
    Floor floor(database.file);
    const auto open = [&] { return shown.Open(); };
    const Comparison cells =
        Compare(5, open, [&] { return MillisecondsOf([&] { floor.ReadEveryCell(kEveryOrder); }); });
    PrintRow(u"open %1, in process, shown"_s.arg(rows), Milliseconds(cells.subject),
        u"every cell by the C interface, not kept: "_s + Milliseconds(cells.peer), cells.ratio, 2.0);

    {
        PeerDatabase peer(database.file);
        const Comparison model = Compare(5, open, [&] { return MillisecondsOf([&] { peer.EveryOrder(); }); });
        PrintRow(u"the same"_s, Milliseconds(model.subject),
            u"QSqlQueryModel, all rows: "_s + Milliseconds(model.peer), model.ratio, 0.55);
    }

    ShownOrders remote(network);
    const Comparison tcp = Compare(
        5, [&] { return remote.Open(); }, open);
    PrintRow(u"the same over loopback TCP"_s, Milliseconds(tcp.subject),
        u"in process: "_s + Milliseconds(tcp.peer), tcp.ratio, 1.3);
}

void BenchMemory(const QString& cacheFolder)
{
    const double subject = BytesARow(u"dataset"_s, cacheFolder);
    const double peer = BytesARow(u"model"_s, cacheFolder);
    const QString measured = QString::number(subject, 'f', 0) + u" B a row"_s;
    PrintRow(u"resident memory of those rows"_s, measured, u"bytes a row"_s, subject, 700);
    PrintRow(u"the same"_s, measured, u"QSqlQueryModel: "_s + QString::number(peer, 'f', 0) + u" B a row"_s,
        subject / peer, 0.2);
}

// Compares two texts and a date, as QSortFilterProxyModel's users do for several columns.
class LocaleAwareProxy : public QSortFilterProxyModel {
protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override
    {
        for (int column = 0; column < 2; ++column) {
            const int order = QString::localeAwareCompare(left.siblingAtColumn(column).data().toString(),
                right.siblingAtColumn(column).data().toString());
            if (order != 0)
                return order < 0;
        }
        return left.siblingAtColumn(2).data().toLongLong() < right.siblingAtColumn(2).data().toLongLong();
    }
};

void BenchSort(TSocketConnectionEx& local)
{
    TClientDataSetEx dataSet;
    dataSet.SetRemoteServer(&local);
    dataSet.SetCommandText(kEveryOrder);
    dataSet.Open();
    const QString fields = u"REC_SITE;REC_BILL_MAN;CREATE_DATE"_s;
    QStandardItemModel model(dataSet.RecordCount(), 3);
    const QStringList names = fields.split(u';');
    for (int column = 0; column < 3; ++column) {
        const int field = dataSet.FieldIndex(names[column]);
        for (int row = 0; row < dataSet.RecordCount(); ++row) {
            const QVariant value = column < 2
                ? QVariant(dataSet.ViewText(row, field))
                : QVariant(std::get<wire::DateTime>(dataSet.ViewValue(row, field)).seconds);
            model.setData(model.index(row, column), value);
        }
    }
    const Comparison sorted = Compare(
        5,
        [&] {
            // Fresh rows, whose texts have not been ranked yet.
            dataSet.Close();
            dataSet.Open();
            return MillisecondsOf([&] {
                dataSet.AddIndex(u"SortIndexEh"_s, fields);
                dataSet.SetIndexName(u"SortIndexEh"_s);
            });
        },
        [&] {
            LocaleAwareProxy proxy;
            proxy.setSourceModel(&model);
            return MillisecondsOf([&] { proxy.sort(0); });
        });
    PrintRow(u"sort them by two Chinese texts and a date"_s, Milliseconds(sorted.subject),
        u"QSortFilterProxyModel, locale-aware: "_s + Milliseconds(sorted.peer), sorted.ratio, 0.03);
}

// Milliseconds of this thread's processor: a frame is so short that on a busy machine the wait for it is
// mostly that for other programs.
double ProcessorMillisecondsOf(const std::function<void()>& work)
{
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    };
    const double start = now();
    work();
    return now() - start;
}

// Pages of a list one after the other, none near the one before: nothing of it is laid out yet.
class Pages {
public:
    Pages(TSocketConnectionEx& connection, int rows)
        : shown_(connection)
    {
        shown_.dataSet.Close();
        shown_.dataSet.SetCommandText(kEveryOrder + u" where rownum<=%1"_s.arg(rows));
        shown_.dataSet.Open();
        shown_.Paint();
        bare_.show();
    }

    // From the scroll bar to painted.
    double NextFrame()
    {
        constexpr int kPages = 60;
        QScrollBar& bar = *shown_.grid.verticalScrollBar();
        const int step = std::max(bar.pageStep(), bar.maximum() / kPages);
        const int next = bar.value() + step > bar.maximum() ? 0 : bar.value() + step;
        return ProcessorMillisecondsOf([&] {
            bar.setValue(next);
            QApplication::processEvents();
        });
    }

    // The texts of the frame last painted, once more, without a grid.
    double BareFrame()
    {
        bare_.Take(shown_.grid);
        QApplication::processEvents();
        return ProcessorMillisecondsOf([&] {
            bare_.update();
            QApplication::processEvents();
        });
    }

private:
    ShownOrders shown_;
    PaintedPage bare_;
};

void BenchScroll(TSocketConnectionEx& local)
{
    constexpr int kFrames = 120;
    Pages few(local, 1'000);
    Pages many(local, 1'000'000);
    const auto frame = [&] { return many.NextFrame(); };
    const Comparison bare = Compare(kFrames, frame, [&] { return many.BareFrame(); });
    PrintRow(u"scroll a page in them, to painted, processor time"_s, Milliseconds(bare.subject),
        u"the same texts, by QPainter alone: "_s + Milliseconds(bare.peer), bare.ratio, 1.5);
    const Comparison growth = Compare(kFrames, frame, [&] { return few.NextFrame(); });
    PrintRow(u"the same"_s, Milliseconds(growth.subject), u"with 1,000 rows: "_s + Milliseconds(growth.peer),
        growth.ratio, 1.5);
}

void BenchApply(const MeasuredDatabase& database, TSocketConnectionEx& local)
{
    constexpr int kRows = 10'000;
    TClientDataSetEx dataSet;
    dataSet.SetRemoteServer(&local);
    dataSet.SetCommandText(kEveryOrder + u" where rownum<=%1"_s.arg(kRows));
    Floor floor(database.file);
    int round = 0;
    const auto open = [&] {
        dataSet.Close();
        dataSet.Open();
        ++round;
    };
    const auto subject = [&] {
        open();
        EditEveryOrder(dataSet, round);
        return MillisecondsOf([&] { dataSet.ApplyUpdates(-1); });
    };
    const auto peer = [&] {
        open();
        const std::vector<OrderEdit> edits = EditsOfEveryOrder(dataSet, round);
        int changed = 0;
        const double elapsed = MillisecondsOf([&] { changed = floor.Update(edits); });
        if (changed != kRows)
            Fail(u"the peer changed %1 of %2 rows"_s.arg(changed).arg(kRows));
        return elapsed;
    };
    const Comparison applied = Compare(5, subject, peer);
    PrintRow(u"10,000 edited rows in one save, in process"_s, Milliseconds(applied.subject),
        u"bare prepared update, same check, one transaction: "_s + Milliseconds(applied.peer), applied.ratio,
        1.5);
}

std::vector<Floor::AreaKey> AreaKeys(TSocketConnectionEx& local, int count)
{
    TClientDataSetEx areas;
    areas.SetRemoteServer(&local);
    areas.SetCommandText(
        u"select a.* from TAB_AREA_DETAIL a where a.TOWN is not null and a.ROAD_NAME is not null"_s);
    areas.Open();
    if (areas.IsEmpty())
        Fail(u"the demo company has no delivery areas"_s);
    std::vector<Floor::AreaKey> keys;
    for (int i = 0; i < count; ++i, areas.Next()) {
        if (areas.Eof())
            areas.First();
        keys.push_back({areas.FieldByName(u"PROVICE").AsString(), areas.FieldByName(u"CITY").AsString(),
            areas.FieldByName(u"COUNTY").AsString(), areas.FieldByName(u"TOWN").AsString(),
            areas.FieldByName(u"ROAD_NAME").AsString(),
            int(areas.FieldByName(u"STARTNO").AsInteger()) + i % 7});
    }
    return keys;
}

QString AreaQuery(const Floor::AreaKey& key)
{
    return u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and (a.PROVICE='%1' or "
           "a.PROVICE='%2') and (a.CITY='%3' or a.CITY='%4') and a.COUNTY = '%5' and a.TOWN = '%6' and "
           "a.ROAD_NAME = "
           "'%7' and a.STARTNO <= %8 and a.ENDNO >= %8 and a.BL_NO in (0,2)  and rownum=1 "_s
               .arg(key.province, key.province.chopped(1), key.city, key.city.chopped(1), key.county,
                   key.town, key.road)
               .arg(key.number);
}

double LookUps(TSocketConnectionEx& connection, const QStringList& texts)
{
    TClientDataSetEx scratch;
    scratch.SetRemoteServer(&connection);
    return MillisecondsOf([&] {
        for (const QString& text : texts) {
            scratch.Close();
            scratch.SetCommandText(text);
            scratch.Open();
            if (!scratch.IsEmpty())
                (void)scratch.FieldByName(u"SITE_NAME").AsString();
        }
    });
}

// One byte there and back, as often as asked: what waking the other end costs.
double EmptyRoundTrips(int count)
{
    QTcpServer listener;
    listener.listen(QHostAddress::LocalHost);
    const quint16 port = listener.serverPort();
    std::thread client;
    double elapsed = 0;
    client = std::thread([&elapsed, port, count] {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        socket.waitForConnected();
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        elapsed = MillisecondsOf([&] {
            char byte = 0;
            for (int i = 0; i < count; ++i) {
                socket.write(&byte, 1);
                socket.flush();
                while (socket.bytesAvailable() == 0)
                    socket.waitForReadyRead();
                socket.read(&byte, 1);
            }
        });
    });
    listener.waitForNewConnection(-1);
    QTcpSocket* socket = listener.nextPendingConnection();
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    while (socket->waitForReadyRead(10'000)) {
        char byte = 0;
        while (socket->read(&byte, 1) == 1)
            socket->write(&byte, 1);
        socket->flush();
    }
    client.join();
    return elapsed;
}

void BenchLookUps(const MeasuredDatabase& database, TSocketConnectionEx& local, TSocketConnectionEx& network)
{
    constexpr int kCount = 40'000;
    const std::vector<Floor::AreaKey> keys = AreaKeys(local, kCount);
    QStringList texts;
    for (const Floor::AreaKey& key : keys)
        texts.append(AreaQuery(key));
    Floor floor(database.file);
    const Comparison process = Compare(
        3, [&] { return LookUps(local, texts); },
        [&] { return MillisecondsOf([&] { floor.LookUp(keys); }); });
    const auto each = [](double milliseconds) {
        return QString::number(milliseconds * 1000 / kCount, 'f', 1) + u" µs each"_s;
    };
    PrintRow(u"40,000 look-ups, in process"_s, each(process.subject),
        u"prepared, by the C interface: "_s + each(process.peer), process.ratio, 2.0);
    const Comparison tcp = Compare(
        3, [&] { return LookUps(network, texts); }, [] { return EmptyRoundTrips(kCount); });
    PrintRow(u"the same over loopback TCP"_s, each(tcp.subject),
        u"one byte there and back: "_s + each(tcp.peer), tcp.ratio, 1.3);
}

void BenchGrowth(const MeasuredDatabase& medium, const MeasuredDatabase& grown)
{
    const auto small = medium.Serve();
    const auto large = grown.Serve();
    const auto smallConnection = Connect(small->NewTransport());
    const auto largeConnection = Connect(large->NewTransport());
    const QString today =
        u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
        "to_date('2024-06-29 00:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-06-30 "
        "23:59:59','yyyy-mm-dd "
        "hh24:mi:ss')   and a.bl_dispart=1  and (nvl(a.status, 0)=0 or nvl(a.status, 0)=1) order by "
        "a.CREATE_DATE desc"_s;
    const auto open = [&today](TSocketConnectionEx& connection) {
        TClientDataSetEx orders;
        orders.SetRemoteServer(&connection);
        orders.SetCommandText(today);
        return MillisecondsOf([&] { orders.Open(); });
    };
    const Comparison growth = Compare(
        9, [&] { return open(*largeConnection); }, [&] { return open(*smallConnection); });
    PrintRow(u"two days' orders among 1,000,000"_s, Milliseconds(growth.subject),
        u"the same among 100,000: "_s + Milliseconds(growth.peer), growth.ratio, 1.2);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    TApplication runtimeApplication;
    Application = &runtimeApplication;
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        Fail(u"usage: bench_spine CACHE_FOLDER [open|memory|sort|scroll|save|look-ups|growth …]"_s);
    const QString& cacheFolder = arguments[1];
    try {
        const MeasuredDatabase medium = Medium(cacheFolder);
        if (arguments.value(2) == u"--memory"_s) {
            MeasureMemory(arguments.value(3), medium);
            return 0;
        }
        const auto wanted = [parts = arguments.mid(2)](
                                const QString& part) { return parts.isEmpty() || parts.contains(part); };
        PrintHead();
        {
            const ServerProcess process(medium.folder, {u"--log-level"_s, u"warn"_s});
            const auto server = medium.Serve();
            const auto local = Connect(server->NewTransport());
            const auto network = Connect(MakeTcpTransport(u"127.0.0.1"_s, process.Port()));
            if (wanted(u"open"_s))
                BenchOpen(medium, *local, *network);
            if (wanted(u"memory"_s))
                BenchMemory(cacheFolder);
            if (wanted(u"sort"_s))
                BenchSort(*local);
            if (wanted(u"scroll"_s))
                BenchScroll(*local);
            if (wanted(u"save"_s))
                BenchApply(medium, *local);
            if (wanted(u"look-ups"_s))
                BenchLookUps(medium, *local, *network);
        }
        if (wanted(u"growth"_s))
            BenchGrowth(medium, Grown(cacheFolder));
    } catch (const wire::Error& error) {
        Fail(error.Message());
    }
    return 0;
}

// Dispatch of many orders: a batch at the window against the same edits without one, the match of delivery
// sites against its look-ups alone, and the query that names every site against the same over a temporary
// table. Usage: bench_dispatch [CACHE-FOLDER [batch|match|sites]]

#include "bench/system/Databases.h"
#include "bench/system/Floor.h"
#include "bench/system/Measure.h"
#include "company/OrderStatus.h"
#include "demo/Generator.h"
#include "demo/Network.h"
#include "dispatch/AddressMatch.h"
#include "dispatch/DispatchQuery.h"
#include "dispatch/frm_UnDispartBill.h"
#include "dispatch/frm_order_pda_control.h"
#include "orders/record/OrderStamps.h"
#include "runtime/ui/Style.h"
#include "tests/orders/OrderDesk.h"

#include <QApplication>
#include <QDir>

#include <array>
#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kOrders = 10'000;
constexpr int kSites = 4'000;
constexpr int kRounds = 7;

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "bench: %s\n", what);
        std::exit(1);
    }
}

// What the batch makes of an order, the stamp of every post included.
void Offer(TClientDataSetEx& orders)
{
    orders.Edit();
    SetText(orders, u"PREPARE_SITE", u";浦东二部;"_s);
    for (const QStringView field : {u"CANCEL_DESC", u"REC_SITE", u"ACCEPT_DATE"})
        ClearField(orders, field);
    orders.FieldByName(u"BL_DISPART").SetAsInteger(1);
    orders.FieldByName(u"STATUS").SetAsInteger(company::kStatusAccepted);
    orders.Post();
}

void BenchBatch()
{
    OrderDesk desk;
    for (int i = 0; i < kOrders; ++i) {
        desk.orders.push_back({{u"TX_LOGISTIC_ID"_s, u"D%1"_s.arg(i, 14, 10, QChar(u'0'))}, {u"STATUS"_s, 0},
            {u"CREATER_SITE"_s, u"浦东一部"_s}, {u"CANCEL_DESC"_s, u"旧原因"_s}, {u"PIECE"_s, i % 9}});
    }
    const wire::RowSet rows = OrderRows(desk.orders);
    desk.host.Server.OnQuery = [&rows, answer = desk.host.Server.OnQuery](const QString& sqlText) {
        if (sqlText.contains(u"TAB_PAY_MODE"_s))
            return MakeTextRows({u"MODE_NAME"_s}, {});
        return sqlText.contains(u"from tab_zelmor_bill"_s) ? rows : answer(sqlText);
    };
    auto* screen = MakeScreen<Tfrm_order_pda_control>(&desk.host.App);
    desk.host.MainForm.resize(1280, 800);
    desk.host.MainForm.show();
    screen->Show();
    auto* orders = screen->findChild<TClientDataSetEx*>(u"CDS_ORDER_PDA"_s);
    auto* grid = screen->findChild<TDataView*>(u"DataView1"_s)->DataViewGrid;
    screen->findChild<TDBLookupComboboxEh*>(u"SITE_NAME"_s)->SetText(u"浦东二部"_s);
    screen->findChild<QAbstractButton*>(u"btn_open"_s)->click();
    auto* button = screen->findChild<QAbstractButton*>(u"btn_Select"_s);

    TClientDataSetEx bare;
    bare.BeforePost = [&bare] { StampModifier(bare); };
    const auto batch = Compare(
        kRounds,
        [&] {
            orders->CancelUpdates();
            grid->selectAll();
            QCoreApplication::processEvents();
            desk.host.App.QueueAnswer({u"yes"_s});
            const double elapsed = MillisecondsOf([&] { button->click(); });
            Require(orders->ChangeCount() == kOrders, "the batch left orders");
            return elapsed;
        },
        [&] {
            bare.Close();
            bare.OpenRows(rows);
            const double elapsed = MillisecondsOf([&] {
                for (; !bare.Eof(); bare.Next())
                    Offer(bare);
            });
            Require(bare.ChangeCount() == kOrders, "the bare edits left orders");
            return elapsed;
        });
    PrintRow(u"10,000 selected orders offered to a site, until the summary"_s, Milliseconds(batch.subject),
        u"the same edits without a window: "_s + Milliseconds(batch.peer), batch.ratio, 1.5);
}

// The texts of the look-ups that the match of the listed orders makes, one after the other.
QStringList LookUpsOf(const TClientDataSetEx& orders, TClientDataSetEx& scratch)
{
    QStringList texts;
    const auto field = [&](QStringView name) { return orders.FieldIndex(name); };
    const std::array columns{
        field(u"SEND_PROV"), field(u"SEND_CITY"), field(u"SEND_COUNTY"), field(u"SEND_ADDRESS")};
    for (int row = 0; row < orders.RecordCount(); ++row) {
        const auto text = [&](size_t column) { return orders.ViewText(row, columns[column]); };
        FindDeliverySite({text(0), text(1), text(2), text(3)}, [&](const QString& sqlText) {
            texts.append(sqlText);
            scratch.OpenQuery(sqlText);
            return scratch.IsEmpty() ? QString() : scratch.Field(0).AsString();
        });
    }
    return texts;
}

void BenchMatch(const QString& cache)
{
    const MeasuredDatabase database = Medium(cache);
    const auto server = database.Serve();
    TSocketConnectionEx connection;
    connection.SetTransport(server->NewTransport());
    connection.Open(demo::Logins().front().account, demo::DemoPassword());
    OrderDesk desk;
    auto* screen = MakeScreen<Tfrm_UnDispartBill>(&desk.host.App);
    desk.host.MainForm.resize(1280, 800);
    desk.host.MainForm.show();
    screen->Show();
    auto* orders = screen->findChild<TClientDataSetEx*>(u"cds"_s);
    for (TClientDataSetEx* rows : {orders, screen->findChild<TClientDataSetEx*>(u"cds_Temp"_s)}) {
        rows->Close();
        rows->SetRemoteServer(&connection);
    }
    orders->OpenQuery(
        u"select a.* from tab_zelmor_bill a where a.SEND_ADDRESS is not null and rownum<=%1"_s.arg(kOrders));
    auto* button = screen->findChild<QAbstractButton*>(u"SpeedButton3"_s);

    TClientDataSetEx scratch;
    scratch.SetRemoteServer(&connection);
    const QStringList texts = LookUpsOf(*orders, scratch);
    Require(texts.size() == 4 * kOrders, "not every order was looked up four times");
    const auto match = Compare(
        kRounds,
        [&] {
            orders->CancelUpdates();
            QCoreApplication::processEvents();
            const double elapsed = MillisecondsOf([&] { button->click(); });
            Require(orders->ChangeCount() > 0, "no order found a site");
            return elapsed;
        },
        [&] {
            return MillisecondsOf([&] {
                for (const QString& text : texts)
                    scratch.OpenQuery(text);
            });
        });
    PrintRow(u"sites matched to 10,000 listed orders, %1 found"_s.arg(orders->ChangeCount()),
        Milliseconds(match.subject), u"the same 40,000 look-ups alone: "_s + Milliseconds(match.peer),
        match.ratio, 1.3);
}

// The sites that there are, and others that there might be.
wire::RowSet Sites()
{
    std::vector<QStringList> sites;
    for (const demo::Site& site : demo::TheNetwork().sites)
        sites.push_back({site.name});
    while (sites.size() < kSites)
        sites.push_back({u"新网点%1"_s.arg(sites.size())});
    sites.resize(kSites);
    return MakeTextRows({u"SITE_NAME"_s}, sites);
}

void BenchSites(const QString& cache)
{
    const MeasuredDatabase database = Grown(cache);
    const auto server = database.Serve();
    TSocketConnectionEx connection;
    connection.SetTransport(server->NewTransport());
    connection.Open(demo::Logins().front().account, demo::DemoPassword());
    TClientDataSetEx sites;
    sites.OpenRows(Sites());
    const wire::DateTime to = wire::DateTime::FromParts(2024, 6, 30, 15);
    const wire::DateTime from = to.AddDays(-31);
    const QString text = DispatchQuery({.from = from.Format(u"yyyy-mm-dd hh:nn:ss"),
        .to = to.Format(u"yyyy-mm-dd hh:nn:ss"),
        .sites = MadeAtOrOfferedTo(sites, u"合肥中心"_s)});
    TClientDataSetEx orders;
    orders.SetRemoteServer(&connection);

    Floor floor(database.file);
    floor.Run(u"create temporary table sites (name text primary key) without rowid"_s);
    for (int row = 0; row < sites.RecordCount(); ++row)
        floor.Run(u"insert into sites values ('%1')"_s.arg(sites.ViewText(row, 0)));
    const QString floorText =
        u"select a.* from tab_zelmor_bill a where a.create_date between %1 and %2 and (CREATER_SITE in "
        u"(select "
        "name from sites) or substr(a.PREPARE_SITE, 2, length(a.PREPARE_SITE) - 2)='合肥中心') order by "
        "create_date"_s.arg(from.seconds)
            .arg(to.seconds);

    qint64 floorRows = 0;
    const auto query = Compare(
        kRounds, [&] { return MillisecondsOf([&] { orders.OpenQuery(text); }); },
        [&] { return MillisecondsOf([&] { floorRows = floor.ReadEveryCell(floorText); }); });
    Require(floorRows > 0 && floorRows == orders.RecordCount(), "the peer read other rows");
    PrintRow(u"%1 orders of 4,000 sites among 1,000,000, 31 days"_s.arg(floorRows),
        Milliseconds(query.subject), u"sqlite3, sites in a temporary table: "_s + Milliseconds(query.peer),
        query.ratio, 1.5);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    const QStringList arguments = QCoreApplication::arguments();
    const QString cache = arguments.size() > 1 ? arguments[1] : QDir::temp().filePath(u"zelmor-bench"_s);
    const auto wanted = [&](const QString& work) { return arguments.size() < 3 || arguments.contains(work); };
    PrintHead();
    if (wanted(u"batch"_s))
        BenchBatch();
    if (wanted(u"match"_s))
        BenchMatch(cache);
    if (wanted(u"sites"_s))
        BenchSites(cache);
}

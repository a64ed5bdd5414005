// Importing 10,000 orders from an XLSX file, until every one has passed its rules and stands in the dataset.
// The peer is liborcus alone, which reads the same file into its own document. Saving is the server's time
// and is not counted.

#include "dispatch/EntryQueries.h"
#include "dispatch/EntryRules.h"
#include "import/ImportRun.h"
#include "tests/import/SheetFiles.h"
#include "tests/orders/OrderDesk.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>

#include <orcus/orcus_xlsx.hpp>
#include <orcus/spreadsheet/document.hpp>
#include <orcus/spreadsheet/factory.hpp>

#include <algorithm>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kOrders = 10'000;
constexpr int kRuns = 5;
constexpr double kTarget = 4.0; // times the peer
constexpr QStringView kFields[] = {u"REC_GOODS_MAN", u"PAY_TYPE", u"TOTAL_WEIGHT", u"PIECE",
    u"SEND_START_TIME", u"PHONE", u"NAME", u"COMPANYNAME", u"PROV", u"CITY", u"COUNTY", u"ADDRESS",
    u"SEND_PROV", u"SEND_CITY", u"SEND_COUNTY", u"SEND_ADDRESS", u"REMARK"};

QByteArray MakeFile(int orders)
{
    std::vector<QStringList> rows(1);
    for (const QStringView field : kFields)
        rows[0] += field.toString();
    for (int i = 0; i < orders; ++i) {
        rows.push_back({u"韩梅梅%1"_s.arg(i % 40), u"现付"_s, u"=%1.5"_s.arg(i % 30), u"=1"_s, u"@50000.5"_s,
            u"=%1"_s.arg(13'800'000'000 + i), u"王芳%1"_s.arg(i % 700), u"晨光文具%1有限公司"_s.arg(i % 900),
            u"江苏"_s, u"南京市"_s, u"玄武区"_s, u"中山路%1号"_s.arg(i), u"上海"_s, u"上海市"_s,
            u"浦东新区"_s, u"世纪大道%1号"_s.arg(i), i % 3 == 0 ? u"易碎"_s : QString()});
    }
    return XlsxOf(rows);
}

template <typename TWork> double Best(TWork&& work)
{
    double best = 1e9;
    for (int run = 0; run < kRuns; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        best = std::min(best, static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    return best;
}

double PeerMilliseconds(const QByteArray& file)
{
    return Best([&] {
        orcus::spreadsheet::range_size_t size{1'048'576, 16'384};
        orcus::spreadsheet::document document{size};
        orcus::spreadsheet::import_factory factory{document};
        orcus::orcus_xlsx(&factory).read_stream({file.constData(), static_cast<size_t>(file.size())});
    });
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const int orders = argc > 1 ? QByteArray(argv[1]).toInt() : kOrders;
    const OrderDesk desk;
    const QByteArray bytes = MakeFile(orders);
    const QString path = desk.host.Folder.filePath(u"orders.xlsx"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return 1;
    file.close();

    TDBGridEh view;
    TDataSource source;
    std::vector<TColumnEh> columns;
    for (const QStringView field : kFields)
        columns.push_back({.fieldName = field.toString(), .title = field.toString()});
    view.SetColumns(std::move(columns));
    view.SetDataSource(&source);

    double reading = 1e9;
    int entered = 0;
    const double whole = Best([&] {
        TClientDataSetEx rows;
        rows.OpenRows(OrderRows({}));
        std::optional<wire::DateTime> given;
        const auto now = wire::DateTime::FromParts(2024, 1, 31);
        rows.AfterInsert = [&] {
            BeginOrder(rows, NextNumber({}, now), now, {u"浦东一部"_s, u"李雷"_s, u"E001"_s});
        };
        rows.BeforePost = [&] {
            CheckNewOrder(rows, {u"^[0-9]{11}$"_s, now, given});
            StampModifier(rows);
        };
        source.SetDataSet(&rows);
        rows.DisableControls();
        QElapsedTimer timer;
        timer.start();
        const TSheet sheet = ReadSheet(path);
        reading = std::min(reading, static_cast<double>(timer.nsecsElapsed()) / 1e6);
        TImportGrid grid(view);
        const TImportPlan plan = PlanImport(sheet, grid.targets, 2, 2);
        entered = ImportOrders(sheet, plan, grid, nullptr, [](int) { return true; }).saved;
        source.SetDataSet(nullptr);
    });
    const double peer = PeerMilliseconds(bytes);
    std::printf(
        "import of %d orders, rules included: %.0f ms (reading %.0f ms) | liborcus alone: %.0f ms | ratio "
        "%.2f (target %.0f)\n",
        entered, whole, reading, peer, whole / peer, kTarget);
    return entered == orders ? 0 : 1;
}

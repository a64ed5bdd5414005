// A list on paper: 100,000 rows of 72 columns laid out, its pages painted one by one as the preview does, and
// 1,000 of them written as PDF beside a window's events.

#include "framework/print/PrintJob.h"
#include "runtime/ui/Style.h"
#include "wire/Error.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kColumns = 72;
constexpr int kRows = 100'000;
constexpr int kPages = 1'000;
constexpr int kBeatMilliseconds = 2;

// Numbers of orders, names of sites, addresses, statuses; each in its column.
QByteArray TextAt(int row, int column)
{
    switch (column % 4) {
    case 0:
        return "ZM20261101" + QByteArray::number(10'000'000 + row * 37 + column);
    case 1:
        return u"安徽合肥%1部"_s.arg(row % 400).toUtf8();
    case 2:
        return u"包河区屯溪路%1号院内综合楼底层"_s.arg(row % 900).toUtf8();
    default:
        return QByteArray::number(row % 9);
    }
}

wire::RowSet Orders()
{
    wire::RowSet set;
    for (int column = 0; column < kColumns; ++column) {
        set.infos.push_back({u"F%1"_s.arg(column), wire::ColumnType::Text});
        wire::Column& cells = set.columns.emplace_back(wire::ColumnType::Text);
        for (int row = 0; row < kRows; ++row)
            cells.AppendText(TextAt(row, column));
    }
    return set;
}

class List {
public:
    List()
    {
        orders_.OpenRows(Orders());
        source_.SetDataSet(&orders_);
        std::vector<TColumnEh> columns;
        for (int i = 0; i < kColumns; ++i)
            columns.push_back({.fieldName = u"F%1"_s.arg(i), .title = u"客户信息|栏目%1"_s.arg(i)});
        grid_.setFont(ScreenFont());
        grid_.SetColumns(std::move(columns));
        grid_.SetDataSource(&source_);
        grid_.SetFrozenCols(1);
    }
    TListPages Pages() const
    {
        return {grid_, TPrintDBGridEh(),
            {.paper = QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Landscape, {20, 20, 20, 20},
                 QPageLayout::Millimeter)},
            {u"网点接单"_s, u"订单时间 2026-11-20"_s, u"打印 2026-11-20"_s}};
    }

private:
    TClientDataSetEx orders_;
    TDataSource source_;
    TDBGridEh grid_{nullptr, u"DataViewGrid"_s};
};

const List& TheList()
{
    static const List list;
    return list;
}

qint64 Resident()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ')[1].toLongLong() * 4096 : 0;
}

void BM_Layout(benchmark::State& state)
{
    const List& list = TheList();
    for (auto _ : state)
        state.counters["pages"] = list.Pages().Count();
}
BENCHMARK(BM_Layout)->Unit(benchmark::kMillisecond);

void BM_PreviewPage(benchmark::State& state)
{
    TListPages pages = TheList().Pages();
    const QSize sheet = pages.SheetSize() * 96 / kPageUnits;
    int page = 0;
    for (auto _ : state) {
        QImage image(sheet, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.scale(96.0 / kPageUnits, 96.0 / kPageUnits);
        painter.translate(pages.Corner());
        TPagePainter(pages, page++ % pages.Count()).Paint(painter);
    }
}
BENCHMARK(BM_PreviewPage)->Unit(benchmark::kMillisecond);

// The longest time that the window's events wait is measured by a timer that beats beside the job.
void BM_Pdf(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"list.pdf"_s);
    TListPages pages = TheList().Pages();
    for (auto _ : state) {
        const qint64 before = Resident();
        qint64 most = before;
        double freeze = 0;
        QElapsedTimer beat;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            freeze = std::max(freeze, double(beat.nsecsElapsed()) / 1e6);
            beat.start();
        });
        QElapsedTimer whole;
        whole.start();
        beat.start();
        timer.start(kBeatMilliseconds);
        QEventLoop loop;
        TPrintJob job(pages, NewPdfTarget(path, pages.Paper(), u"网点接单"_s), 0, kPages - 1);
        QObject::connect(&job, &TPrintJob::Advanced, &loop, [&] { most = std::max(most, Resident()); });
        QObject::connect(&job, &TPrintJob::Finished, &loop, [&](const QString& failure) {
            if (!failure.isEmpty())
                state.SkipWithError("the file is not there");
            QTimer::singleShot(2 * kBeatMilliseconds, &loop, &QEventLoop::quit); // the last step counts, too
        });
        loop.exec();
        state.counters["pages_per_s"] = kPages * 1e9 / double(whole.nsecsElapsed());
        state.counters["freeze_ms"] = freeze;
        state.counters["growth_mb"] = double(most - before) / 1e6;
        state.counters["megabytes"] = double(QFile(path).size()) / 1e6;
    }
}
BENCHMARK(BM_Pdf)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

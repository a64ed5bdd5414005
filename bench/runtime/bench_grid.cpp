// Scrolling the grid: how long a frame takes, repaint included, and whether it grows with the rows. The peer
// is a plain table view over the same model, in the same run and of the same size.

#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QRandomGenerator>
#include <QScrollBar>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kColumns = 75;
constexpr int kFrames = 150;
constexpr double kFrameTarget = 16.0; // milliseconds

// Orders as they look: names that repeat by the thousand, numbers and addresses that do not.
wire::RowSet MakeOrders(int rows)
{
    wire::RowSet set;
    QRandomGenerator random(7);
    const QString places = u"上海北京广州深圳杭州南京苏州成都武汉西安重庆天津浦东朝阳天河南山西湖鼓楼"_s;
    QList<QByteArray> sites;
    for (int i = 0; i < 400; ++i)
        sites += (places.mid(random.bounded(30), 4) + u"网点"_s).toUtf8() + QByteArray::number(i);
    for (int column = 0; column < kColumns; ++column) {
        const auto type = column % 5 == 3 ? wire::ColumnType::DateTime
            : column % 5 == 4             ? wire::ColumnType::Number
                                          : wire::ColumnType::Text;
        set.infos.push_back({u"F%1"_s.arg(column), type});
        wire::Column& cells = set.columns.emplace_back(type);
        for (int row = 0; row < rows; ++row) {
            if (type == wire::ColumnType::DateTime)
                cells.AppendInteger(1'700'000'000 + row * 37 + column);
            else if (type == wire::ColumnType::Number)
                cells.AppendNumber(random.bounded(100'000) / 100.0);
            else if (column % 5 == 0)
                cells.AppendText("LP" + QByteArray::number(random.bounded(1'000'000'000)));
            else
                cells.AppendText(sites[random.bounded(sites.size())]);
        }
    }
    return set;
}

struct Frames {
    double median = 0;
    double p99 = 0;
    double longest = 0;
    double processor = 0; // median processor time: what a machine busy with other work does not blur
};

// Pages down, jumps and steps sideways; each frame is the scrolling and the whole repaint after it.
Frames Scroll(QTableView& view)
{
    QRandomGenerator random(11);
    std::vector<double> times, processor;
    for (int frame = 0; frame < kFrames; ++frame) {
        QElapsedTimer timer;
        timer.start();
        const std::clock_t began = std::clock();
        QScrollBar& down = *view.verticalScrollBar();
        if (frame % 10 == 9)
            view.horizontalScrollBar()->setValue(random.bounded(view.horizontalScrollBar()->maximum() + 1));
        else if (frame % 10 == 8)
            down.setValue(random.bounded(down.maximum() + 1));
        else
            down.setValue(down.value() + down.pageStep());
        view.viewport()->repaint();
        view.horizontalHeader()->viewport()->repaint();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
        processor.push_back(double(std::clock() - began) * 1e3 / CLOCKS_PER_SEC);
    }
    std::sort(times.begin(), times.end());
    std::sort(processor.begin(), processor.end());
    return {times[times.size() / 2], times[times.size() * 99 / 100], times.back(),
        processor[processor.size() / 2]};
}

void Settle(QWidget& window)
{
    window.show();
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

// Longest frames of a run, by rows.
std::vector<std::pair<int, Frames>> GridRuns()
{
    std::vector<std::pair<int, Frames>> runs;
    for (const int rows : {1'000, 10'000, 100'000}) {
        TClientDataSetEx orders;
        orders.OpenRows(MakeOrders(rows));
        TDataSource source;
        source.SetDataSet(&orders);
        TDBGridEh grid(nullptr, u"DataViewGrid"_s);
        std::vector<TColumnEh> columns;
        for (int i = 0; i < kColumns; ++i) {
            TColumnEh column;
            column.fieldName = u"F%1"_s.arg(i);
            column.title = i % 4 ? u"客户信息|栏目%1"_s.arg(i) : u"栏目%1"_s.arg(i);
            column.width = 90;
            column.titleButton = true;
            columns.push_back(column);
        }
        columns[0].footers = {{TFooterValueType::StaticText, u"记录数"_s}, {TFooterValueType::Count}};
        grid.SetColumns(columns);
        grid.SetFrozenCols(1);
        grid.SetFooterRowCount(2);
        grid.SetSumListActive(true);
        // The striped background of list screens.
        grid.OnGetCellParams = [](const TColumnEh&, int row, TCellParams& params) {
            params.background = row % 2 ? QColor(0xdd, 0xdd, 0xff) : QColor(0xc4, 0xc4, 0xff);
        };
        grid.resize(1600, 900);
        QElapsedTimer timer;
        timer.start();
        grid.SetDataSource(&source);
        const double bound = double(timer.nsecsElapsed()) / 1e6;
        Settle(grid);
        const Frames frames = Scroll(grid);
        QTableView peer;
        peer.setModel(grid.model());
        peer.resize(1600, 900);
        peer.setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
        peer.setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
        peer.verticalHeader()->setDefaultSectionSize(grid.RowHeight());
        peer.setFont(grid.font());
        Settle(peer);
        const Frames peerFrames = Scroll(peer);
        std::printf(
            "%7d rows: grid median %5.2f (processor %5.2f)  p99 %5.2f  longest %5.2f ms | plain view median "
            "%5.2f (%5.2f)  longest %5.2f ms | ratio of processor times %.2f | bound in %.2f ms\n",
            rows, frames.median, frames.processor, frames.p99, frames.longest, peerFrames.median,
            peerFrames.processor, peerFrames.longest, frames.processor / peerFrames.processor, bound);
        runs.emplace_back(rows, frames);
    }
    return runs;
}

void BM_ScrollPage(benchmark::State& state)
{
    for (auto _ : state) {
        const auto runs = GridRuns();
        const Frames& few = runs.front().second;
        const Frames& many = runs.back().second;
        state.counters["longest_ms"] = many.longest;
        state.counters["target_ms"] = kFrameTarget;
        state.counters["growth"] = many.processor / few.processor;
    }
}
BENCHMARK(BM_ScrollPage)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

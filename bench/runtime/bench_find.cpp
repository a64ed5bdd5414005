// Finding in a list of 100,000 orders of 72 columns, and filtering it by titles whose values are all
// different: how long the whole takes, and the longest time that the window stands still meanwhile.

#include "runtime/grid/FindBar.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QListWidget>
#include <QPushButton>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRows = 100'000;
constexpr int kColumns = 72;
constexpr int kAmounts = 4; // a column of them, all different
constexpr int kMoments = 3;
constexpr double kFreezeTarget = 100; // milliseconds

QByteArray NumberOf(int row)
{
    return "LP" + QByteArray::number(qint64(row) * 7919 % 1'000'003 + 500'000'000);
}

wire::RowSet Orders()
{
    wire::RowSet set;
    for (int column = 0; column < kColumns; ++column) {
        const auto type = column % 5 == 3 ? wire::ColumnType::DateTime
            : column % 5 == 4             ? wire::ColumnType::Number
                                          : wire::ColumnType::Text;
        set.infos.push_back({u"F%1"_s.arg(column), type});
        wire::Column& cells = set.columns.emplace_back(type);
        for (int row = 0; row < kRows; ++row) {
            if (type == wire::ColumnType::DateTime)
                cells.AppendInteger(1'700'000'000 + row * 37 + column);
            else if (type == wire::ColumnType::Number)
                cells.AppendNumber((row * 31 + column) % 100'000 / 100.0);
            else if (column == kColumns - 1)
                cells.AppendText(NumberOf(row));
            else
                cells.AppendText("浦东网点" + QByteArray::number((row * 17 + column) % 400));
        }
    }
    return set;
}

struct Spent {
    double all = 0;
    double longest = 0; // at once
    double busiest = 0; // of processor time at once, which other work leaves alone
};

Spent Until(const std::function<void()>& begin, const std::function<bool()>& running)
{
    Spent spent;
    QElapsedTimer whole, step;
    std::clock_t busy = 0;
    const auto start = [&] {
        step.start();
        busy = std::clock();
    };
    const auto stop = [&] {
        spent.longest = std::max(spent.longest, double(step.nsecsElapsed()) / 1e6);
        spent.busiest = std::max(spent.busiest, double(std::clock() - busy) * 1e3 / CLOCKS_PER_SEC);
    };
    whole.start();
    start();
    begin();
    do {
        stop();
        start();
        QCoreApplication::processEvents();
    } while (running());
    stop();
    spent.all = double(whole.nsecsElapsed()) / 1e6;
    return spent;
}

using Print = std::function<void(const char* what, const Spent& spent, int found)>;

// A title's funnel: opened, all but one value chosen, opened again, the choice taken back.
void UseFunnel(TDBGridEh& grid, int column, const Print& print)
{
    const auto popup = [&] { return grid.findChild<QWidget*>(u"FilterPopup"_s); };
    const auto list = [&] { return popup()->findChild<QListWidget*>(u"FilterList"_s); };
    const auto measure = [&](const char* what, const std::function<void()>& begin, bool open) {
        const Spent spent = Until(begin, [&] { return open ? list()->count() == 0 : popup() != nullptr; });
        print(what, spent, grid.DataSet()->RecordCount());
    };
    const auto press = [&](const QString& name) { popup()->findChild<QPushButton*>(name)->click(); };
    measure(
        "a funnel over 100,000 values, opened", [&] { grid.ShowFilter(column); }, true);
    list()->item(0)->setCheckState(Qt::Unchecked);
    measure(
        "all but one chosen", [&] { press(u"FilterOk"_s); }, false);
    measure(
        "opened again", [&] { grid.ShowFilter(column); }, true);
    measure(
        "its choice taken back", [&] { press(u"FilterClear"_s); }, false);
    grid.SetSelectedIndex(column);
    measure(
        "this value alone", [&] { grid.FilterByCurrentValue(); }, false);
    grid.ClearFilters();
}

void BM_Find(benchmark::State& state)
{
    TClientDataSetEx orders;
    orders.OpenRows(Orders());
    TDataSource source;
    source.SetDataSet(&orders);
    TDBGridEh grid(nullptr, u"DataViewGrid"_s);
    std::vector<TColumnEh> columns;
    columns.reserve(kColumns);
    for (int i = 0; i < kColumns; ++i)
        columns.push_back({.fieldName = u"F%1"_s.arg(i), .title = u"栏目%1"_s.arg(i)});
    grid.SetColumns(columns);
    grid.SetDataSource(&source);
    grid.resize(1600, 900);
    grid.show();
    for (auto _ : state) {
        const Print print = [&state](const char* what, const Spent& spent, int found) {
            std::printf("%-42s %7.0f ms, longest freeze %5.1f ms (%5.1f of the processor), %d\n", what,
                spent.all, spent.longest, spent.busiest, found);
            state.counters["freeze_ms"] = std::max(double(state.counters["freeze_ms"]), spent.longest);
            state.counters["busy_ms"] = std::max(double(state.counters["busy_ms"]), spent.busiest);
        };
        for (const int column : {kColumns - 1, kAmounts, kMoments})
            UseFunnel(grid, column, print);
        TGridFind find(grid);
        for (const auto& [what, text] : {std::pair("a text of digits, all columns", u"99"_s),
                 std::pair("a text with letters, all columns", u"lp5"_s)}) {
            const Spent spent =
                Until([&, &sought = text] { find.FindText(sought, {}); }, [&] { return find.IsRunning(); });
            print(what, spent, find.Hits());
        }
        find.FindText({}, {});
        QStringList numbers;
        for (int row = kRows; row-- > 0;)
            numbers += QString::fromLatin1(NumberOf(row));
        QApplication::clipboard()->setText(numbers.join(u'\n'));
        const Spent spent = Until([&] { TFindBar::ShowPasted(grid); },
            [&] { return orders.GatheredCount() == 0 || grid.findChild<TFindBar*>()->Find().IsRunning(); });
        print("100,000 pasted numbers, the last column", spent, orders.GatheredCount());
    }
    state.counters["target_ms"] = kFreezeTarget;
}
BENCHMARK(BM_Find)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

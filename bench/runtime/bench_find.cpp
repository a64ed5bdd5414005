// Finding in a list of 100,000 orders of 72 columns: how long the whole search takes, and the longest time
// that the window stands still meanwhile.

#include "runtime/grid/FindBar.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRows = 100'000;
constexpr int kColumns = 72;
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
};

template <typename Running> Spent Until(const std::function<void()>& begin, const Running& running)
{
    Spent spent;
    QElapsedTimer whole, step;
    whole.start();
    step.start();
    begin();
    do {
        spent.longest = std::max(spent.longest, double(step.nsecsElapsed()) / 1e6);
        step.start();
        QCoreApplication::processEvents();
    } while (running());
    spent.longest = std::max(spent.longest, double(step.nsecsElapsed()) / 1e6);
    spent.all = double(whole.nsecsElapsed()) / 1e6;
    return spent;
}

void BM_Find(benchmark::State& state)
{
    TClientDataSetEx orders;
    orders.OpenRows(Orders());
    TDataSource source;
    source.SetDataSet(&orders);
    TDBGridEh grid(nullptr, u"DataViewGrid"_s);
    std::vector<TColumnEh> columns;
    for (int i = 0; i < kColumns; ++i)
        columns.push_back({.fieldName = u"F%1"_s.arg(i), .title = u"栏目%1"_s.arg(i)});
    grid.SetColumns(columns);
    grid.SetDataSource(&source);
    grid.resize(1600, 900);
    grid.show();
    for (auto _ : state) {
        const auto print = [&state](const char* what, const Spent& spent, int found) {
            std::printf(
                "%-42s %7.0f ms, longest freeze %5.1f ms, %d\n", what, spent.all, spent.longest, found);
            state.counters["freeze_ms"] = std::max(double(state.counters["freeze_ms"]), spent.longest);
        };
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

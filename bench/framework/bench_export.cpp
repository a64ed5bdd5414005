// A list into a file: 500,000 rows of 72 columns from a grid over a dataset. The peers are the library that
// packs workbooks, given the same cells from memory, and a plain write of the file's own bytes. And 34,000 of
// them to the clipboard.

#include "framework/export/GridRows.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kColumns = 72;
constexpr int kCopiedRows = 34'000;
constexpr int kPairs = 7; // of a list and its peer
constexpr int kDistinctRows = 2'000; // they come round again
constexpr wire::DateTime kFirst{1'700'000'000};

// ZELMOR_EXPORT_ROWS: fewer, for a look whether it works.
int Rows()
{
    const int wanted = qEnvironmentVariableIntValue("ZELMOR_EXPORT_ROWS");
    return wanted > 0 ? wanted : 500'000;
}

wire::ColumnType TypeOf(int column)
{
    return column % 6 == 4 ? wire::ColumnType::DateTime
        : column % 6 == 5  ? wire::ColumnType::Number
                           : wire::ColumnType::Text;
}

// Numbers of orders, names of sites, addresses; each in its column.
QByteArray TextAt(int row, int column)
{
    switch (column % 6) {
    case 0:
        return "ZM20261101" + QByteArray::number(10'000'000 + row * 37 + column);
    case 1:
        return u"安徽合肥%1部"_s.arg(row % 400).toUtf8();
    case 2:
        return u"包河区屯溪路%1号"_s.arg(row % 900).toUtf8();
    default:
        return QByteArray::number(row % 9);
    }
}

double NumberAt(int row, int column)
{
    return (row * 17 + column) % 9'000 / 100.0;
}

wire::DateTime MomentAt(int row, int column)
{
    return {kFirst.seconds + row * 61 + column};
}

wire::RowSet Orders(int rows)
{
    wire::RowSet set;
    for (int column = 0; column < kColumns; ++column) {
        set.infos.push_back({u"F%1"_s.arg(column), TypeOf(column)});
        wire::Column& cells = set.columns.emplace_back(TypeOf(column));
        for (int i = 0; i < rows; ++i) {
            const int row = i % kDistinctRows;
            if (TypeOf(column) == wire::ColumnType::DateTime)
                cells.AppendInteger(MomentAt(row, column).seconds);
            else if (TypeOf(column) == wire::ColumnType::Number)
                cells.AppendNumber(NumberAt(row, column));
            else
                cells.AppendText(TextAt(row, column));
        }
    }
    return set;
}

qint64 Resident()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ')[1].toLongLong() * 4096 : 0;
}

double Seconds(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e9;
}

void WriteBare(const QString& path)
{
    const int rows = Rows();
    std::vector<QByteArray> texts;
    for (int row = 0; row < kDistinctRows; ++row) {
        for (int column = 0; column < kColumns; ++column)
            texts.push_back(TypeOf(column) == wire::ColumnType::Text ? TextAt(row, column) : QByteArray());
    }
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    options.use_zip64 = LXW_TRUE;
    lxw_workbook* book = workbook_new_opt(QFile::encodeName(path).constData(), &options);
    lxw_worksheet* sheet = workbook_add_worksheet(book, nullptr);
    lxw_format* moment = workbook_add_format(book);
    format_set_num_format(moment, "yyyy-mm-dd hh:mm:ss");
    lxw_format* text = workbook_add_format(book);
    format_set_num_format(text, "@");
    for (int i = 0; i < rows; ++i) {
        const int row = i % kDistinctRows;
        const auto to = static_cast<lxw_row_t>(i);
        for (int column = 0; column < kColumns; ++column) {
            const auto place = static_cast<lxw_col_t>(column);
            if (TypeOf(column) == wire::ColumnType::DateTime)
                worksheet_write_number(sheet, to, place, MomentAt(row, column).ToSerial(), moment);
            else if (TypeOf(column) == wire::ColumnType::Number)
                worksheet_write_number(sheet, to, place, NumberAt(row, column), nullptr);
            else
                worksheet_write_string(
                    sheet, to, place, texts[size_t(row * kColumns + column)].constData(), text);
        }
    }
    workbook_close(book);
}

class List {
public:
    explicit List(int rows)
    {
        orders_.OpenRows(Orders(rows));
        source_.SetDataSet(&orders_);
        std::vector<TColumnEh> columns;
        for (int i = 0; i < kColumns; ++i)
            columns.push_back({.fieldName = u"F%1"_s.arg(i), .title = u"客户信息|栏目%1"_s.arg(i)});
        grid_.SetColumns(std::move(columns));
        grid_.SetDataSource(&source_);
    }
    TDBGridEh& Grid() { return grid_; }

private:
    TClientDataSetEx orders_;
    TDataSource source_;
    TDBGridEh grid_{nullptr, u"DataViewGrid"_s};
};

void BM_Xlsx(benchmark::State& state)
{
    const QTemporaryDir folder;
    List list(Rows());
    for (auto _ : state) {
        const qint64 before = Resident();
        qint64 most = before;
        const double ours = Seconds([&] {
            TGridRows rows(list.Grid(), false);
            WriteXlsx(rows, folder.filePath(u"list.xlsx"_s), [&most](int) {
                most = std::max(most, Resident());
                return true;
            });
        });
        const double bare = Seconds([&] { WriteBare(folder.filePath(u"bare.xlsx"_s)); });
        state.counters["seconds"] = ours;
        state.counters["ratio"] = ours / bare;
        state.counters["growth_mb"] = double(most - before) / 1e6;
    }
}
BENCHMARK(BM_Xlsx)->Iterations(1)->Unit(benchmark::kMillisecond);

void WritePlain(const QString& path, const QByteArray& bytes)
{
    FILE* to = fopen(QFile::encodeName(path).constData(), "wb");
    fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
    fclose(to);
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::ranges::nth_element(values, middle);
    return *middle;
}

// In turn with its peer, both into files that are new.
void BM_Csv(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"list.csv"_s);
    List list(Rows());
    QByteArray bytes;
    std::vector<double> ours;
    std::vector<double> ratios;
    for (auto _ : state) {
        ours.push_back(Seconds([&] {
            TGridRows rows(list.Grid(), false);
            WriteCsv(rows, path, TCsvEncoding::Utf8, {});
        }));
        if (bytes.isEmpty()) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                state.SkipWithError("the list is not there");
                return;
            }
            bytes = file.readAll();
        }
        QFile::remove(path);
        ratios.push_back(ours.back() / Seconds([&] { WritePlain(path, bytes); }));
        QFile::remove(path);
    }
    state.counters["seconds"] = Median(ours);
    state.counters["ratio"] = Median(ratios);
    state.counters["megabytes"] = double(bytes.size()) / 1e6;
}
BENCHMARK(BM_Csv)->Iterations(kPairs)->Unit(benchmark::kMillisecond);

// The longest time that the event loop was not come back to.
class Gaps {
public:
    Gaps()
    {
        QObject::connect(&beat_, &QTimer::timeout, &beat_, [this] { Note(); });
        beat_.start(1);
        since_.start();
    }
    double Longest()
    {
        Note();
        return longest_;
    }

private:
    void Note()
    {
        longest_ = std::max(longest_, double(since_.nsecsElapsed()) / 1e6);
        since_.restart();
    }

    QTimer beat_;
    QElapsedTimer since_;
    double longest_ = 0;
};

void BM_Copy(benchmark::State& state)
{
    List list(std::min(Rows(), kCopiedRows));
    list.Grid().selectAll();
    for (auto _ : state) {
        Gaps gaps;
        QKeyEvent key(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        const double seconds = Seconds([&] { QApplication::sendEvent(&list.Grid(), &key); });
        state.counters["copied_ms"] = seconds * 1000;
        state.counters["longest_gap_ms"] = gaps.Longest();
        state.counters["lines"] = double(QApplication::clipboard()->text().count(u'\n'));
    }
}
BENCHMARK(BM_Copy)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

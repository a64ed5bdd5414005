#include "tests/wire/Cells.h"
#include "wire/Error.h"

#include <QSet>

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace Qt::Literals::StringLiterals;
using namespace wire;

namespace {

// What a column is asked to hold in the tests: how often null, how many different values.
struct Shape {
    int nullPercent;
    int distinct;
};

class Source {
public:
    Source(ColumnType type, Shape shape, unsigned seed)
        : type_(type)
        , shape_(shape)
        , random_(seed)
    {
    }

    Value Next()
    {
        if (int(random_() % 100) < shape_.nullPercent)
            return {};
        const auto pick = qint64(random_() % unsigned(shape_.distinct));
        switch (type_) {
        case ColumnType::Text:
            return u"值"_s + QString::number(pick) + QString(pick % 30, u'x');
        case ColumnType::Integer:
            return pick % 2 == 0 ? pick : -(pick << (pick % 50));
        case ColumnType::Number:
            return double(pick) / 8;
        case ColumnType::DateTime:
            return DateTime{1'700'000'000 + pick};
        }
        return {};
    }
    std::vector<Value> Take(int count)
    {
        std::vector<Value> values;
        for (int i = 0; i < count; ++i)
            values.push_back(Next());
        return values;
    }

private:
    ColumnType type_;
    Shape shape_;
    std::mt19937 random_;
};

template <typename T> std::string BytesOf(T value)
{
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

template <typename T> T ValueOf(std::string_view bytes)
{
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

// The same, some rows at once.
CellBlock CellsAtOnce(ColumnType type, const std::vector<Value>& values)
{
    constexpr size_t kSome = 33;
    std::vector<std::string> bytes;
    for (const Value& value : values) {
        if (const auto* text = std::get_if<QString>(&value))
            bytes.push_back(text->toStdString());
        else if (const auto* integer = std::get_if<qint64>(&value))
            bytes.push_back(BytesOf(*integer));
        else if (const auto* number = std::get_if<double>(&value))
            bytes.push_back(BytesOf(*number));
        else if (const auto* time = std::get_if<DateTime>(&value))
            bytes.push_back(BytesOf(time->seconds));
        else
            bytes.emplace_back();
    }
    const std::vector<std::string_view> all(bytes.begin(), bytes.end());
    CellBlock cells(type);
    for (size_t first = 0; first < all.size(); first += kSome) {
        const auto some = std::span(all).subspan(first, std::min(kSome, all.size() - first));
        if (type == ColumnType::Text)
            cells.AddTexts(some);
        else if (type == ColumnType::Number)
            cells.AddNumbers(some, ValueOf<double>);
        else
            cells.AddIntegers(some, ValueOf<qint64>);
    }
    return cells;
}

void ExpectHolds(const Column& column, const std::vector<Value>& expected)
{
    ASSERT_EQ(column.RowCount(), qsizetype(expected.size()));
    for (qsizetype row = 0; row < column.RowCount(); ++row) {
        const Value& value = expected[size_t(row)];
        ASSERT_EQ(column.ValueAt(row), value) << "row " << row;
        ASSERT_EQ(column.IsNull(row), IsNull(value));
        if (column.Type() != ColumnType::Text)
            continue;
        const qint64 entry = column.EntryAt(row);
        ASSERT_EQ(entry < 0, IsNull(value));
        if (entry >= 0) {
            ASSERT_EQ(column.Entry(entry), column.TextAt(row));
        }
    }
    if (column.Type() == ColumnType::Text && column.IsDictionary()) {
        QSet<QByteArray> entries;
        for (qsizetype entry = 0; entry < column.EntryCount(); ++entry)
            entries.insert(column.Entry(entry).toByteArray());
        ASSERT_EQ(entries.size(), column.EntryCount());
    }
}

constexpr ColumnType kTypes[] = {
    ColumnType::Text, ColumnType::Integer, ColumnType::Number, ColumnType::DateTime};
constexpr Shape kShapes[] = {{0, 1}, {0, 5}, {30, 300}, {0, 1'000'000}, {60, 1'000'000}, {100, 1}};

} // namespace

TEST(ColumnTest, HoldsWhatEveryWayOfWritingPutIn)
{
    unsigned seed = 1;
    for (const ColumnType type : kTypes) {
        for (const Shape first : kShapes) {
            for (const Shape second : kShapes) {
                SCOPED_TRACE(testing::Message()
                    << "type " << int(type) << ", shapes " << first.distinct << "/" << first.nullPercent
                    << " then " << second.distinct << "/" << second.nullPercent);
                Source before(type, first, ++seed);
                Source after(type, second, ++seed);
                std::vector<Value> expected;
                const auto keep = [&](const std::vector<Value>& values) {
                    expected.insert(expected.end(), values.begin(), values.end());
                    return values;
                };

                Column column(type);
                column.AppendCells(CellsOf(type, keep(before.Take(1024))));
                for (const Value& value : keep(after.Take(1100)))
                    column.AppendValue(value);
                Column other(type);
                for (int i = 0; i < 3; ++i)
                    other.AppendCells(
                        CellsAtOnce(type, keep(i % 2 == 0 ? after.Take(1024) : before.Take(700))));
                column.AppendColumn(std::move(other));
                ExpectHolds(column, expected);
                EXPECT_EQ(other.RowCount(), 0);

                const Column copy = column;
                column.Squeeze();
                for (const Value& value : keep(before.Take(10)))
                    column.AppendValue(value);
                ExpectHolds(column, expected);
                ExpectHolds(column.Slice(900, 300), {expected.begin() + 900, expected.begin() + 1200});
                expected.resize(expected.size() - 10);
                ExpectHolds(copy, expected);
            }
        }
    }
}

TEST(ColumnTest, TakenRowsLeaveAnEmptyColumnThatGoesOn)
{
    for (const ColumnType type : kTypes) {
        Source source(type, {20, 1'000'000}, 7);
        Column column(type);
        Column whole(type);
        std::vector<Value> expected;
        for (int part = 0; part < 4; ++part) {
            const std::vector<Value> values = source.Take(2048);
            column.AppendCells(CellsOf(type, values));
            expected.insert(expected.end(), values.begin(), values.end());
            Column rows = column.TakeRows();
            ExpectHolds(rows, values);
            EXPECT_EQ(column.RowCount(), 0);
            whole.AppendColumn(std::move(rows));
        }
        ExpectHolds(whole, expected);
    }
}

TEST(ColumnTest, TextIsADictionaryExactlyWhileItRepeats)
{
    Source names(ColumnType::Text, {10, 400}, 1); // sites: nearly every value of the first block is new
    Source streets(ColumnType::Text, {0, 1 << 30}, 2); // addresses: every value is new
    Column sites(ColumnType::Text);
    Column addresses(ColumnType::Text);
    for (int block = 0; block < 8; ++block) {
        sites.AppendCells(CellsOf(ColumnType::Text, names.Take(CellBlock::kRows)));
        addresses.AppendCells(CellsOf(ColumnType::Text, streets.Take(CellBlock::kRows)));
    }
    EXPECT_TRUE(sites.IsDictionary());
    EXPECT_LE(sites.EntryCount(), 400);
    EXPECT_FALSE(addresses.IsDictionary());
    // A dictionary merged with plain rows is no dictionary any more.
    sites.AppendColumn(std::move(addresses));
    EXPECT_FALSE(sites.IsDictionary());
    EXPECT_EQ(sites.RowCount(), 16 * CellBlock::kRows);
}

TEST(ColumnTest, TextsThatDifferInOneByteAreDifferentEntries)
{
    std::vector<std::string> texts;
    for (size_t size = 1; size <= 70; ++size) {
        texts.emplace_back(size, 'a');
        for (size_t at = 0; at < size; ++at)
            texts.emplace_back(size, 'a')[at] = 'b';
    }
    const std::vector<std::string_view> all(texts.begin(), texts.end());
    CellBlock cells(ColumnType::Text);
    for (int time = 0; time < 3; ++time)
        cells.AddTexts(all);
    Column column(ColumnType::Text);
    column.AppendCells(cells);
    for (const std::string& text : texts)
        column.AppendText({text.data(), qsizetype(text.size())});
    ASSERT_TRUE(column.IsDictionary());
    EXPECT_EQ(column.EntryCount(), qsizetype(texts.size()));
    for (qsizetype row = 0; row < column.RowCount(); ++row) {
        const std::string& text = texts[size_t(row) % texts.size()];
        ASSERT_EQ(column.TextAt(row), QByteArrayView(text.data(), qsizetype(text.size()))) << row;
    }
}

TEST(ColumnTest, UniformColumnsCostNoMemoryARow)
{
    for (const ColumnType type : kTypes) {
        Column column(type);
        const size_t empty = column.MemoryUse();
        for (int i = 0; i < 100'000; ++i)
            column.AppendNull();
        EXPECT_EQ(column.MemoryUse(), empty);
    }
    Column flags(ColumnType::Integer);
    Column large(ColumnType::Integer);
    for (int i = 0; i < 100'000; ++i) {
        flags.AppendInteger(i % 2);
        large.AppendInteger(
            i % 2 == 0 ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max());
    }
    flags.Squeeze();
    large.Squeeze();
    EXPECT_LT(flags.MemoryUse(), 101'000u);
    EXPECT_LT(large.MemoryUse(), 801'000u);
    EXPECT_EQ(large.IntegerAt(99'999), std::numeric_limits<qint64>::max());
}

TEST(ColumnTest, ConvertsOrRefusesValuesOfOtherTypes)
{
    Column column(ColumnType::Integer);
    column.AppendValue(u"12"_s);
    EXPECT_EQ(column.IntegerAt(0), 12);
    EXPECT_THROW(column.AppendValue(u"x"_s), Error);
    EXPECT_EQ(column.RowCount(), 1);

    Column text(ColumnType::Text);
    text.AppendText("");
    EXPECT_TRUE(text.IsNull(0));
}

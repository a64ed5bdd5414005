// Chinese order of texts and rows, pinyin initials, lengths in code page 936.

#include "runtime/data/Collation.h"
#include "tests/runtime/DataSetRows.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<quint32> RanksOf(const QStringList& texts)
{
    std::vector<QByteArray> bytes;
    for (const QString& text : texts)
        bytes.push_back(text.toUtf8());
    return CollationRanks({bytes.begin(), bytes.end()});
}

TEST(Collation, DigitsLettersThenPinyin)
{
    const QStringList ordered{u"1"_s, u"2"_s, u"A"_s, u"b"_s, u"Z"_s, u"安徽"_s, u"北京"_s, u"广州"_s,
        u"上海"_s, u"深圳"_s, u"张家口"_s};
    const std::vector<quint32> ranks = RanksOf(ordered);
    for (size_t i = 0; i < ranks.size(); ++i)
        EXPECT_EQ(ranks[i], i) << ordered[static_cast<int>(i)];
    for (qsizetype i = 1; i < ordered.size(); ++i)
        EXPECT_LT(CompareChinese(ordered[i - 1], ordered[i]), 0);
    EXPECT_EQ(CompareChinese(u"上海"_s, u"上海"_s), 0);
}

TEST(Collation, RanksAgreeWithComparison)
{
    QStringList texts{u"D20240101000002"_s, u"D20240101000001"_s, u"D2"_s, u"D"_s, u"D20240101000001"_s};
    for (int pass = 0; pass < 2; ++pass) {
        const std::vector<quint32> ranks = RanksOf(texts);
        for (qsizetype i = 0; i < texts.size(); ++i)
            for (qsizetype k = 0; k < texts.size(); ++k)
                EXPECT_EQ(CompareChinese(texts[i], texts[k]) < 0,
                    ranks[static_cast<size_t>(i)] < ranks[static_cast<size_t>(k)])
                    << texts[i] << ' ' << texts[k];
        texts += {u"d2"_s, u"上海市"_s, u"上海"_s, u"重庆"_s, u"a-b"_s, u"ab"_s, u"!"_s, u"𠀀"_s};
    }
}

TEST(Collation, PinyinInitials)
{
    EXPECT_EQ(PinyinInitials(u"上海a1"), u"sha1"_s);
    EXPECT_EQ(PinyinInitials(u"北京市朝阳区"), u"bjscyq"_s);
    EXPECT_EQ(PinyinInitials(u"重庆长沙"), u"cqcs"_s);
    EXPECT_EQ(PinyinInitials(u"安徽（ABC）"), u"ah（abc）"_s);
    EXPECT_EQ(PinyinInitials(u""), QString());
}

TEST(Collation, CodePage936Length)
{
    EXPECT_EQ(CodePage936Length(u"abc"), 3);
    EXPECT_EQ(CodePage936Length(u"快运本部"), 8);
    EXPECT_EQ(CodePage936Length(u"a；b"), 4);
    EXPECT_EQ(CodePage936Length(u"한"), 1);
    EXPECT_EQ(CodePage936Length(u"😀"), 1);
    EXPECT_EQ(CodePage936Length(u""), 0);
}

class OrderTest : public testing::Test {
protected:
    QString Sorted(const QString& fields, const QString& descending = {})
    {
        set.AddIndex(u"SortIndexEh"_s, fields, descending);
        set.SetIndexName(u"SortIndexEh"_s);
        return Joined(set, u"ID");
    }
    TClientDataSetEx set;
};

TEST_F(OrderTest, NullsFirstAscendingLastDescending)
{
    set.OpenRows(ThreeOrders());
    EXPECT_EQ(Sorted(u"SITE"_s), u"D3 D2 D1"_s);
    EXPECT_EQ(Sorted(u"SITE"_s, u"site"_s), u"D1 D2 D3"_s);
    EXPECT_EQ(Sorted(u"AMOUNT"_s), u"D2 D3 D1"_s);
    EXPECT_EQ(Sorted(u"CREATE_DATE"_s, u"CREATE_DATE"_s), u"D2 D1 D3"_s);
    EXPECT_EQ(RaisedBy([&] { Sorted(u"NOPE"_s); }), wire::ErrorKind::Usage);
    EXPECT_EQ(RaisedBy([&] { set.SetIndexName(u"none"_s); }), wire::ErrorKind::Usage);
    set.DeleteIndex(u"SortIndexEh"_s);
    EXPECT_EQ(Joined(set, u"ID"), u"D1 D2 D3"_s);
}

TEST_F(OrderTest, PostedRowsKeepTheirPlaceUntilSortedAgain)
{
    set.OpenRows(ThreeOrders());
    Sorted(u"SITE"_s);
    set.First();
    set.SetFieldAndPost(u"SITE", T(u"重庆"));
    EXPECT_EQ(Joined(set, u"ID"), u"D3 D2 D1"_s);
    set.SetIndexName(u"SortIndexEh"_s);
    EXPECT_EQ(Joined(set, u"ID"), u"D2 D3 D1"_s);
    EXPECT_EQ(set.FieldByName(u"ID").AsString(), u"D3"_s);
    // The order stays with the dataset, and is given up where its fields are missing.
    set.OpenRows(ThreeOrders());
    EXPECT_EQ(Joined(set, u"ID"), u"D3 D2 D1"_s);
    set.CreateDataSet({Column(u"ID", wire::ColumnType::Text)});
    EXPECT_EQ(set.IndexName(), QString());
}

TEST_F(OrderTest, WideKeysNeedSeveralWords)
{
    // Extreme values leave no room for null in a word, and no two of them fit in one.
    constexpr qint64 kLeast = std::numeric_limits<qint64>::min();
    constexpr qint64 kMost = std::numeric_limits<qint64>::max();
    set.OpenRows(MakeRows({Column(u"ID", wire::ColumnType::Text), Column(u"A", wire::ColumnType::Integer),
                              Column(u"B", wire::ColumnType::Number)},
        {
            {T(u"1"), I(kMost), N(-1e300)},
            {T(u"2"), I(kLeast), N(1e300)},
            {T(u"3"), Null, N(-0.0)},
            {T(u"4"), I(kLeast), Null},
            {T(u"5"), I(0), N(1e-300)},
            {T(u"6"), Null, N(0.0)},
        }));
    EXPECT_EQ(Sorted(u"A"_s), u"3 6 2 4 5 1"_s);
    EXPECT_EQ(Sorted(u"A;B"_s), u"3 6 4 2 5 1"_s);
    EXPECT_EQ(Sorted(u"A;B"_s, u"A;B"_s), u"1 5 2 4 3 6"_s);
    EXPECT_EQ(Sorted(u"B;A"_s), u"4 1 3 6 5 2"_s);
}

TEST_F(OrderTest, ManyRowsAgreeWithAStableSort)
{
    const QStringList sites{u"上海"_s, u"北京"_s, u"广州"_s, u"a"_s, u"B"_s, u"重庆"_s, u"A"_s, QString()};
    std::vector<Row> rows;
    quint32 seed = 7;
    const auto random = [&seed](
                            quint32 below) { return (seed = seed * 1664525 + 1013904223) / 65536 % below; };
    for (int i = 0; i < 5000; ++i)
        rows.push_back({I(i), wire::TextValue(sites[random(8)]), random(9) ? N(random(50) / 8.0 - 3) : Null,
            wire::Value{wire::DateTime{1700000000 + random(90)}}});
    set.OpenRows(
        MakeRows({Column(u"ID", wire::ColumnType::Integer), Column(u"SITE", wire::ColumnType::Text),
                     Column(u"AMOUNT", wire::ColumnType::Number), Column(u"AT", wire::ColumnType::DateTime)},
            rows));
    const auto order = [](const wire::Value& a, const wire::Value& b) {
        if (wire::IsNull(a) || wire::IsNull(b))
            return static_cast<int>(wire::IsNull(b)) - static_cast<int>(wire::IsNull(a));
        if (const auto* text = std::get_if<QString>(&a))
            return CompareChinese(*text, std::get<QString>(b));
        return a < b ? -1 : b < a ? 1 : 0;
    };
    std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        if (const int site = order(a[1], b[1]))
            return site < 0;
        if (const int amount = order(a[2], b[2]))
            return amount > 0;
        return order(a[3], b[3]) < 0;
    });
    set.AddIndex(u"x"_s, u"SITE; AMOUNT;AT", u"AMOUNT");
    set.SetIndexName(u"x"_s);
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(set.ViewValue(i, 0), rows[static_cast<size_t>(i)][0]) << i;
}

} // namespace

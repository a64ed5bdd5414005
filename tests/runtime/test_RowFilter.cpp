// Filter texts: what they pass, and where they are wrong.

#include "tests/runtime/DataSetRows.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

class RowFilterTest : public testing::Test {
protected:
    RowFilterTest()
    {
        set.OpenRows(ThreeOrders());
        set.SetFiltered(true);
    }
    QString Passing(const QString& condition)
    {
        set.SetFilter(condition);
        return Joined(set, u"ID");
    }
    QString ErrorOf(const QString& condition)
    {
        try {
            set.SetFilter(condition);
        } catch (const wire::Error& error) {
            EXPECT_EQ(error.Kind(), wire::ErrorKind::Usage);
            return error.Message();
        }
        return {};
    }

    TClientDataSetEx set;
};

TEST_F(RowFilterTest, PassesTheRowsThatMeetItsConditions)
{
    set.SetRecNo(2);
    set.SetFieldAndPost(u"SITE_PHONE", T(u"O'Hara"));
    const std::pair<QString, QString> cases[] = {
        {u"SITE='上海'"_s, u"D1"_s},
        {u"site <> '上海'"_s, u"D2"_s}, // null is unknown
        {u"not site = '上海'"_s, u"D2"_s},
        {u"ID >= 'D2'"_s, u"D2 D3"_s},
        {u"STATUS<0.5"_s, u"D1"_s},
        {u"STATUS = '1'"_s, u"D2"_s},
        {u"AMOUNT <= -2"_s, u"D3"_s},
        {u"CREATE_DATE > '2024-01-01'"_s, u"D2"_s},
        {u"SITE is null"_s, u"D3"_s},
        {u"\"SITE\" IS NOT NULL"_s, u"D1 D2"_s},
        {u"[SITE] = ''"_s, {}},
        {u" "_s, u"D1 D2 D3"_s},
        {u"SITE_PHONE = 'O''Hara'"_s, u"D2"_s},
        // Patterns count characters.
        {u"SITE like '_海'"_s, u"D1"_s},
        {u"SITE like '%京%'"_s, u"D2"_s},
        {u"SITE not like '%京%'"_s, u"D1"_s},
        {u"ID like '%'"_s, u"D1 D2 D3"_s},
        {u"ID like 'd%'"_s, {}},
        {u"STATUS like '1%'"_s, u"D2"_s},
        // And binds closer than or.
        {u"ID='D1' or ID='D2' and STATUS=9"_s, u"D1"_s},
        {u"(ID='D1' or ID='D2') and STATUS=1"_s, u"D2"_s},
        {u"not (ID='D1' or STATUS is null)"_s, u"D2"_s},
    };
    for (const auto& [condition, rows] : cases)
        EXPECT_EQ(Passing(condition), rows) << condition;
}

TEST_F(RowFilterTest, MistakesNameTheirPlace)
{
    Passing(u"ID='D1'"_s);
    const std::pair<QString, QString> cases[] = {
        {u"STATUS ="_s, u"第9个"_s},
        {u"STATUS = 1 x"_s, u"第12个"_s},
        {u"SITE = 'abc"_s, u"第8个"_s},
        {u"(STATUS = 1"_s, u"第12个"_s},
        {u"1 = STATUS"_s, u"第1个"_s},
        {u"STATUS is nothing"_s, u"第11个"_s},
        {u"STATUS not = 1"_s, u"第12个"_s},
        {u"ID = 'D1' and NOPE = 1"_s, u"“NOPE”"_s},
        {u"STATUS = 'abc'"_s, u"第10个"_s},
        {QString(5000, u'('), u"过深"_s},
        {QStringList(100'000, u"STATUS=1"_s).join(u" or "_s), u"条件超过5000个"_s},
    };
    for (const auto& [condition, told] : cases)
        EXPECT_TRUE(ErrorOf(condition).contains(told)) << condition.left(40);
    // The filter before stays.
    EXPECT_EQ(set.Filter(), u"ID='D1'"_s);
    EXPECT_EQ(Joined(set, u"ID"), u"D1"_s);
}

TEST_F(RowFilterTest, HandlerHasItsSay)
{
    set.OnFilterRecord = [](const TClientDataSetEx& row) {
        return row.FieldByName(u"STATUS").AsInteger() == 0;
    };
    set.SetFiltered(true);
    EXPECT_EQ(Joined(set, u"ID"), u"D1 D3"_s);
    EXPECT_EQ(Passing(u"SITE is null"_s), u"D3"_s);
    set.SetFiltered(false);
    EXPECT_EQ(set.RecordCount(), 3);
    EXPECT_EQ(set.FieldByName(u"ID").AsString(), u"D3"_s); // the cursor stays on its row
}

TEST_F(RowFilterTest, PostedRowsThatNoLongerPassLeave)
{
    Passing(u"SITE is not null"_s);
    set.Last();
    set.Edit();
    set.FieldByName(u"SITE").Clear();
    EXPECT_EQ(set.RecordCount(), 2);
    set.Post();
    EXPECT_EQ(Joined(set, u"ID"), u"D1"_s);
    EXPECT_TRUE(set.Eof());
    EXPECT_EQ(set.ChangeCount(), 1);
    set.SetFiltered(false);
    EXPECT_EQ(Joined(set, u"ID"), u"D1 D2 D3"_s);
}

TEST_F(RowFilterTest, StaysOverReopening)
{
    Passing(u"STATUS = 1"_s);
    set.OpenRows(ThreeOrders());
    EXPECT_EQ(Joined(set, u"ID"), u"D2"_s);
    set.SetFiltered(false);
    set.SetFiltered(true);
    EXPECT_EQ(Joined(set, u"ID"), u"D2"_s);
    // Columns without the field cannot be opened under it.
    const auto other = [&] { set.CreateDataSet({Column(u"X", wire::ColumnType::Text)}); };
    EXPECT_EQ(RaisedBy(other), wire::ErrorKind::Usage);
    EXPECT_FALSE(set.Active());
    set.SetFilter({});
    EXPECT_EQ(RaisedBy(other), std::nullopt);
}

// Against counting and comparing row by row: texts that repeat and texts that do not, integers, numbers,
// times.
TEST_F(RowFilterTest, ValuesAreCountedAndNarrowTheRowsWhateverTheirColumn)
{
    std::vector<Row> rows;
    for (int i = 0; i < 3000; ++i) {
        const int site = i * 7 % 5;
        rows.push_back({wire::Value{u"D%1"_s.arg(i)}, site == 0 ? Null : I(site),
            site == 4 ? Null : wire::Value{u"网点%1"_s.arg(i * 3 % 7)}, i % 11 == 0 ? Null : N(i % 13 / 4.0),
            wire::Value{wire::DateTime{1'700'000'000 + i % 17}}, Null});
    }
    set.OpenRows(MakeRows(OrderColumns(), rows));
    const auto passes = [](const wire::Value& value) { return wire::ToText(value).endsWith(u'1'); };
    set.FilterValues(u"site"_s, passes);
    for (int field = 0; field < 5; ++field) {
        std::map<QString, int> expected;
        for (const Row& row : rows)
            expected[wire::ToText(row[size_t(field)])] += field == 2 || passes(row[2]) ? 1 : 0;
        std::erase_if(expected, [](const auto& count) { return count.second == 0; });
        std::map<QString, int> counted;
        for (const auto& count : set.CountValues(field))
            counted[wire::ToText(count.value)] += count.rows;
        EXPECT_EQ(counted, expected) << field;
        if (field == 2)
            continue;
        set.FilterValues(OrderColumns()[size_t(field)].name, passes);
        EXPECT_EQ(set.RecordCount(), std::ranges::count_if(rows, [&](const Row& row) {
            return passes(row[2]) && passes(row[size_t(field)]);
        })) << field;
        set.FilterValues(OrderColumns()[size_t(field)].name, {});
    }
    EXPECT_EQ(set.UnnarrowedCount(), 3000);
}

TEST_F(RowFilterTest, WhatIsNotSavedStaysInSightAndTheFilterStaysOverReopening)
{
    const auto shanghai = [](const wire::Value& value) { return value == T(u"上海"); };
    set.FilterValues(u"SITE"_s, shanghai);
    set.SetFieldAndPost(u"SITE", T(u"广州"));
    EXPECT_EQ(Joined(set, u"ID"), u"D1"_s);
    set.FilterValues(u"SITE"_s, shanghai);
    EXPECT_EQ(Joined(set, u"ID"), u"D1"_s) << "asked anew, too";
    EXPECT_EQ(set.CountValues(2).size(), 3u) << "the typed one among them";
    set.MergeChangeLog();
    set.FilterValues(u"STATUS"_s, {});
    EXPECT_EQ(set.RecordCount(), 0);
    EXPECT_TRUE(set.HasRow(1));
    set.OpenRows(ThreeOrders());
    EXPECT_EQ(Joined(set, u"ID"), u"D1"_s);
    set.OpenRows(MakeRows({Column(u"ID", wire::ColumnType::Text)}, {{T(u"a")}, {T(u"b")}}));
    EXPECT_EQ(set.RecordCount(), 2) << "nothing to narrow by";
}

} // namespace

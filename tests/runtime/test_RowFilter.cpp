// Filter texts: what they pass, and where they are wrong.

#include "tests/runtime/DataSetRows.h"

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

TEST_F(RowFilterTest, Comparisons)
{
    EXPECT_EQ(Passing(u"SITE='上海'"_s), u"D1"_s);
    EXPECT_EQ(Passing(u"site <> '上海'"_s), u"D2"_s); // null is unknown
    EXPECT_EQ(Passing(u"not site = '上海'"_s), u"D2"_s);
    EXPECT_EQ(Passing(u"ID >= 'D2'"_s), u"D2 D3"_s);
    EXPECT_EQ(Passing(u"STATUS<0.5"_s), u"D1"_s);
    EXPECT_EQ(Passing(u"STATUS = '1'"_s), u"D2"_s);
    EXPECT_EQ(Passing(u"AMOUNT <= -2"_s), u"D3"_s);
    EXPECT_EQ(Passing(u"CREATE_DATE > '2024-01-01'"_s), u"D2"_s);
    EXPECT_EQ(Passing(u"SITE is null"_s), u"D3"_s);
    EXPECT_EQ(Passing(u"\"SITE\" IS NOT NULL"_s), u"D1 D2"_s);
    EXPECT_EQ(Passing(u"[SITE] = ''"_s), QString());
    EXPECT_EQ(Passing(u" "_s), u"D1 D2 D3"_s);
}

TEST_F(RowFilterTest, LikeCountsCharacters)
{
    EXPECT_EQ(Passing(u"SITE like '_海'"_s), u"D1"_s);
    EXPECT_EQ(Passing(u"SITE like '%京%'"_s), u"D2"_s);
    EXPECT_EQ(Passing(u"SITE not like '%京%'"_s), u"D1"_s);
    EXPECT_EQ(Passing(u"ID like '%'"_s), u"D1 D2 D3"_s);
    EXPECT_EQ(Passing(u"ID like 'd%'"_s), QString());
    EXPECT_EQ(Passing(u"STATUS like '1%'"_s), u"D2"_s);
}

TEST_F(RowFilterTest, PrecedenceAndParentheses)
{
    EXPECT_EQ(Passing(u"ID='D1' or ID='D2' and STATUS=9"_s), u"D1"_s);
    EXPECT_EQ(Passing(u"(ID='D1' or ID='D2') and STATUS=1"_s), u"D2"_s);
    EXPECT_EQ(Passing(u"not (ID='D1' or STATUS is null)"_s), u"D2"_s);
}

TEST_F(RowFilterTest, QuotesDouble)
{
    set.Edit();
    set.FieldByName(u"SITE").SetAsString(u"O'Hara"_s);
    set.Post();
    EXPECT_EQ(Passing(u"SITE = 'O''Hara'"_s), u"D1"_s);
}

TEST_F(RowFilterTest, MistakesNameTheirPlace)
{
    Passing(u"ID='D1'"_s);
    EXPECT_TRUE(ErrorOf(u"STATUS ="_s).contains(u"第9个"));
    EXPECT_TRUE(ErrorOf(u"STATUS = 1 x"_s).contains(u"第12个"));
    EXPECT_TRUE(ErrorOf(u"SITE = 'abc"_s).contains(u"第8个"));
    EXPECT_TRUE(ErrorOf(u"(STATUS = 1"_s).contains(u"第12个"));
    EXPECT_TRUE(ErrorOf(u"1 = STATUS"_s).contains(u"第1个"));
    EXPECT_TRUE(ErrorOf(u"STATUS is nothing"_s).contains(u"第11个"));
    EXPECT_TRUE(ErrorOf(u"STATUS not = 1"_s).contains(u"第12个"));
    EXPECT_TRUE(ErrorOf(u"ID = 'D1' and NOPE = 1"_s).contains(u"“NOPE”"));
    EXPECT_TRUE(ErrorOf(u"STATUS = 'abc'"_s).contains(u"第10个"));
    EXPECT_TRUE(ErrorOf(QString(5000, u'(')).contains(u"过深"));
    EXPECT_TRUE(ErrorOf(QStringList(100'000, u"STATUS=1"_s).join(u" or "_s)).contains(u"条件超过5000个"));
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

} // namespace

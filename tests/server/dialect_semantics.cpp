#include "tests/server/dialect_database.h"

using namespace Qt::Literals::StringLiterals;

namespace {

struct Expectation {
    const char* expression;
    const char* value; // as text; empty: null
};

// What texts mean, on every database alike.
class DialectSemantics : public ::testing::TestWithParam<DialectDatabase::Kind> {
protected:
    std::string Evaluate(const std::string& expression)
    {
        try {
            return database.Cell(QString::fromStdString("select " + expression + " as v from dual"))
                .toStdString();
        } catch (const wire::Error& error) {
            return "error: " + error.Message().toStdString();
        }
    }
    void Expect(std::initializer_list<Expectation> expectations)
    {
        for (const Expectation& each : expectations) {
            EXPECT_EQ(Evaluate(each.expression), each.value) << each.expression;
            // An empty text would come as null as well, but is none to the database.
            if (*each.value != '\0')
                continue;
            EXPECT_EQ(Evaluate("nvl2(" + std::string(each.expression) + ", 'a value', 'null')"), "null")
                << each.expression;
        }
    }
    // One row when the condition holds, as a where clause sees it.
    void ExpectHolds(std::initializer_list<std::pair<const char*, bool>> conditions)
    {
        for (const auto& [condition, holds] : conditions) {
            const QString sql = u"select 1 from dual where "_s + QString::fromUtf8(condition);
            EXPECT_EQ(database.Query(sql).RowCount(), holds ? 1 : 0) << condition;
        }
    }

    DialectDatabase& database = DialectDatabase::Of(GetParam());
};

class OnCompany : public DialectSemantics {
protected:
    void SetUp() override { database.Load(conformance::ReadTables(), conformance::Now()); }

    // The first column of all rows with commas between, or what is said instead.
    std::string Column(const std::string& sql)
    {
        try {
            const wire::RowSet rows = database.Query(QString::fromStdString(sql));
            QStringList cells;
            for (qsizetype row = 0; row < rows.RowCount(); ++row)
                cells.push_back(wire::ToText(rows.columns.front().ValueAt(row)));
            return cells.join(u',').toStdString();
        } catch (const wire::Error& error) {
            return "error: " + error.Message().toStdString();
        }
    }
    void ExpectColumns(std::initializer_list<std::pair<std::string, const char*>> statements)
    {
        for (const auto& [sql, column] : statements)
            EXPECT_EQ(Column(sql), column) << sql;
    }
};

INSTANTIATE_TEST_SUITE_P(Databases, DialectSemantics, DialectDatabase::AllKinds(), DialectDatabase::NameOf);
INSTANTIATE_TEST_SUITE_P(Databases, OnCompany, DialectDatabase::AllKinds(), DialectDatabase::NameOf);

TEST_P(DialectSemantics, EmptyTextIsNull)
{
    Expect({
        {"''", ""},
        {"nvl('', 'x')", "x"},
        {"nvl2('', 'full', 'empty')", "empty"},
        {"'a'||null", "a"},
        {"'a'||''||'b'", "ab"},
        {"null||''", ""},
        {"length('')", ""},
        {"trim('   ')", ""},
        {"nvl(rtrim('xx', 'x'), 'gone')", "gone"},
        {"nvl(substr('abc', 5), 'none')", "none"},
        {"nvl(replace('aaa', 'a'), 'none')", "none"},
        {"case '' when '' then 1 else 2 end", "2"},
        {"decode('', null, 1, 2)", "1"},
        {"greatest(1, null, 3)", ""},
        {"least('a', '')", ""},
        {"nullif('a', 'a')", ""},
        {"coalesce('', null, 'c')", "c"},
    });
    ExpectHolds({{"'' = ''", false}, {"'' is null", true}, {"'a' <> ''", false}, {"not ('a' = '')", false},
        {"'a' in ('', 'a')", true}, {"'a' not in ('', 'b')", false}, {"'a' like ''", false}});
}

TEST_P(DialectSemantics, Numbers)
{
    Expect({
        {"1/24", "0.041666666666666664"},
        {"7/2", "3.5"},
        {"10/5", "2"},
        {"1/0", "error: 除数为零！"},
        {"2+3*4-1", "13"},
        {"-2-(-3)", "1"},
        {"round(2.5)", "3"},
        {"round(-2.5)", "-3"},
        {"round(1.005, 2)", "1.01"},
        {"round(1234.5, -2)", "1200"},
        {"round(30.499999999999996)", "31"},
        {"round(0.49999999999999994)", "1"},
        {"trunc(2.9)", "2"},
        {"trunc(2.9999999999999996)", "3"},
        {"trunc(-2.9)", "-2"},
        {"trunc(2.987, 2)", "2.98"},
        {"trunc(8.7, 1)", "8.7"},
        {"mod(-7, 3)", "-1"},
        {"mod(7, 0)", "7"},
        {"abs(-3.5)", "3.5"},
        {"sign(-0.1)", "-1"},
        {"ceil(1.2)", "2"},
        {"floor(-1.2)", "-2"},
        {"power(2, 10)", "1024"},
        {"to_number(' 12.50 ')", "12.5"},
        {"to_number('12a')", "error: “12a”不是有效的数字！"},
        {"to_number('1,234.5', '9,999.9')", "1234.5"},
        {"'3'+4", "7"},
        {"greatest(2, 10, 9.5)", "10"},
    });
    // Compared as numbers, whichever side is text.
    ExpectHolds({{"'10' > 9", true}, {"9 < to_char(10)", true}, {"'1' = 1.0", true}, {"'10' > '9'", false},
        {"2 in ('1', '2')", true}, {"'07' in (6, 7)", true}, {"'5' between 1 and 10", true}});
}

TEST_P(DialectSemantics, Text)
{
    Expect({
        {"substr('合肥一部', 2, 2)", "肥一"},
        {"substr('abcdef', 0, 2)", "ab"},
        {"substr('abcdef', -3, 2)", "de"},
        {"substr('abc', -4)", ""},
        {"substr('abc', 2, 0)", ""},
        {"substr('abc', 2, -1)", ""},
        {"length('合肥')", "2"},
        {"length(12345)", "5"},
        {"instr('合肥一部', '一')", "3"},
        {"instr('abcabc', 'c', 4)", "6"},
        {"instr('abcabc', 'a', -1)", "4"},
        {"instr('abcabc', 'b', 1, 2)", "5"},
        {"instr('abc', 'z')", "0"},
        {"upper('aé')", "AÉ"},
        {"lower('ABC')", "abc"},
        {"lpad('7', 3, '0')", "007"},
        {"rpad('合', 3, '*')", "合**"},
        {"lpad('abcd', 2)", "ab"},
        {"ltrim('xxabc', 'x')", "abc"},
        {"trim(both 'x' from 'xaxx')", "a"},
        {"trim(leading '0' from '0070')", "70"},
        {"replace('a-b-c', '-', '+')", "a+b+c"},
        {"replace('abc', '', 'x')", "abc"},
        {"'n'||0.5", "n.5"},
        {"'n'||12", "n12"},
        {"to_char(1234567)", "1234567"},
        {"to_char(1234.5, '9,999.00')", " 1,234.50"},
        {"to_char(7, 'fm000')", "007"},
        {"to_char(12345, '999')", "####"},
        {"to_char(-3, '99')", " -3"},
        {"to_char(0, '99.9')||to_char(0, '99')||to_char(0, 'fm99.9')", "   .0  00."},
        {"to_char(-0.001, '9990.99')", "   -0.00"},
        {"lpad('a', null)||substr('abc', 1, null)||round(2.5, null)", ""},
    });
}

TEST_P(DialectSemantics, LikeDistinguishesCaseAndCharacters)
{
    ExpectHolds({{"'合肥一部' like '合%部'", true}, {"'abc' like 'ABC'", false}, {"'合肥' like '__'", true},
        {"'合肥' like '_'", false}, {"'a%c' like 'a\\%c' escape '\\'", true},
        {"'abc' like 'a\\%c' escape '\\'", false}, {"'aXbXc' like '%X%X%'", true},
        {"'ab' like '%b%b'", false}, {"'abab' like '%a_'", true}, {"'abc' not like 'b%'", true},
        {"null not like 'b%'", false}, {"'x合y' like '%_合_'", true}, {"123 like '1%'", true},
        {"'a' like 'a%'", true}, {"'a' like '%%'", true}});
}

// Texts that a statement builds are as long as they need be for the company, and no longer.
TEST_P(DialectSemantics, BuiltTextsHaveAnEnd)
{
    constexpr auto kTooLong = "error: 计算得到的文本超过65536个字节！";
    const auto joined = [](int count) {
        std::string text = "length('x'";
        for (int i = 0; i < count; ++i)
            text += "||lpad('a', 4000, '合')";
        return text + ")";
    };
    EXPECT_EQ(Evaluate(joined(5)), "20001");
    EXPECT_EQ(Evaluate(joined(6)), kTooLong);
    Expect({
        {"length(replace(lpad('a', 4000, 'a'), 'a', 'bb'))", "8000"},
        {"length(replace(lpad('a', 4000, 'a'), 'a', lpad('b', 4000, 'b')))", kTooLong},
        {"length(replace(replace('aaaa', 'a', lpad('b', 4000)), ' ', ''))", "4"},
        {"length(lpad('a', 1000000000, 'b'))", "4000"},
        {"rtrim('ab合合', '肥合')||ltrim('合肥b', '肥合')||trim(both '合' from '合肥合')", "abb肥"},
        {"instr(lpad('a', 4000, 'a')||'合ab', rpad('a', 60, 'a')||'合')", "3941"},
    });
    // Every place of the text begins what the pattern asks for.
    ExpectHolds({{"lpad('b', 4000, 'a') like '%'||rpad('a', 100, 'a')||'b'", true},
        {"lpad('b', 4000, 'a') like '%'||rpad('a', 100, 'a')||'b%'", true},
        {"lpad('b', 4000, 'a') like '%'||rpad('a', 100, 'a')||'c%'", false},
        {"lpad('b', 4000, 'a') like '%'||rpad('a', 100, 'a_')||'b%'", true},
        {"lpad('b', 4000, 'a') like '%'||rpad('a', 100, 'a_')||'c%'", false},
        {"lpad('b', 4000, '合') like '%'||rpad('合', 100, '_合')||'b'", true},
        {"'合肥一部甲站' like '%_部_%站' and '合肥一部' like '%合__部%'", true},
        {"'合肥' like '%___' or '合肥一部' like '合%_肥%'", false}});
}

TEST_P(DialectSemantics, Dates)
{
    Expect({
        {"sysdate", "2024-03-05 12:00:00"},
        {"sysdate - 1", "2024-03-04 12:00:00"},
        {"sysdate + 1/24", "2024-03-05 13:00:00"},
        {"1/24/60 + sysdate", "2024-03-05 12:01:00"},
        {"sysdate - (0.5/24) - 3", "2024-03-02 11:30:00"},
        {"sysdate - to_date('2024-03-04 18:00:00', 'yyyy-mm-dd hh24:mi:ss')", "0.75"},
        {"round((sysdate - to_date('2024-03-05 11:29:30', 'yyyy-mm-dd hh24:mi:ss')) * 24 * 60)", "31"},
        {"trunc(sysdate)", "2024-03-05 00:00:00"},
        {"trunc(sysdate, 'mm')", "2024-03-01 00:00:00"},
        {"trunc(sysdate, 'q')", "2024-01-01 00:00:00"},
        {"trunc(to_date('1969-12-31 23:00:00', 'yyyy-mm-dd hh24:mi:ss'))", "1969-12-31 00:00:00"},
        {"round(sysdate)", "2024-03-06 00:00:00"},
        {"add_months(to_date('2024-01-31', 'yyyy-mm-dd'), 1)", "2024-02-29 00:00:00"},
        {"add_months(to_date('2024-02-29', 'yyyy-mm-dd'), 1)", "2024-03-31 00:00:00"},
        {"add_months(sysdate, -3)", "2023-12-05 12:00:00"},
        {"last_day(to_date('2023-02-10', 'yyyy-mm-dd'))", "2023-02-28 00:00:00"},
        {"months_between(to_date('2024-03-31', 'yyyy-mm-dd'), to_date('2024-02-29', 'yyyy-mm-dd'))", "1"},
        {"to_char(sysdate, 'yyyymmdd')", "20240305"},
        {"to_char(sysdate, 'YYYY\"年\"MM\"月\" HH:MI:SS PM')", "2024年03月 12:00:00 下午"},
        {"to_char(sysdate, 'fmmm/dd')", "3/5"},
        {"to_char(sysdate, 'd ddd q ww')", "3 065 1 10"},
        {"to_char(sysdate, 'dd-MON-rr')", "05-3月 -24"},
        {"to_char(sysdate, 'Month|Day|dy')", "3月 |星期二|星期二"},
        {"to_char(sysdate, 'fmMonth dd, Day')", "3月 5, 星期二"},
        {"to_char(sysdate, 'MONTH|Month|month|MON|Mon|mon', 'NLS_DATE_LANGUAGE=AMERICAN')",
            "MARCH    |March    |march    |MAR|Mar|mar"},
        {"to_char(sysdate, 'DAY|Day|day|DY|Dy|dy', 'nls_date_language = english')",
            "TUESDAY  |Tuesday  |tuesday  |TUE|Tue|tue"},
        {"to_char(sysdate, 'fmDay, Month', 'nls_date_language=american')", "Tuesday, March"},
        {"to_char(sysdate, 'bc')", "error: SQL语句第1行第8列：不支持日期格式中的“bc”！"},
        {"greatest(sysdate, to_date('2024-03-06', 'yyyy-mm-dd'))", "2024-03-06 00:00:00"},
    });
}

TEST_P(DialectSemantics, DatesAreReadLeniently)
{
    constexpr auto kMask = ", 'yyyy-mm-dd hh24:mi:ss')";
    const auto read = [&](const std::string& text) { return Evaluate("to_date('" + text + "'" + kMask); };
    EXPECT_EQ(read("2024-01-31 08:05:09"), "2024-01-31 08:05:09");
    EXPECT_EQ(read("2024-1-31 8:5:9"), "2024-01-31 08:05:09");
    EXPECT_EQ(read("2024/01/31"), "2024-01-31 00:00:00");
    EXPECT_EQ(read("20240131 080509"), "2024-01-31 08:05:09");
    EXPECT_EQ(read(" 2024-01-31   08:05 "), "2024-01-31 08:05:00");
    EXPECT_EQ(read(""), "");
    for (const char* wrong : {"2024-02-30", "2024-13-01", "2024-01-31 24:00:00", "2024-01-31 08:60:00",
             "yesterday", "2024-01-31 08:05:09 x", "2024"}) {
        EXPECT_EQ(
            read(wrong), "error: “" + std::string(wrong) + "”不是格式为“yyyy-mm-dd hh24:mi:ss”的有效日期！");
        // The same while the statement runs, where the text is not a literal of its own.
        EXPECT_EQ(read(std::string(wrong) + "'||'"), read(wrong));
    }
    EXPECT_EQ(Evaluate("to_date('01.02.24 03:04 pm', 'dd.mm.yy hh:mi am')"), "2024-02-01 15:04:00");
    EXPECT_EQ(Evaluate("to_date('240201', 'rrmmdd')"), "2024-02-01 00:00:00");
    struct Named {
        const char* text;
        const char* mask;
        const char* date;
    };
    for (const auto& [text, mask, date] : {Named{"05-MAR-2024", "dd-mon-yyyy", "2024-03-05 00:00:00"},
             Named{"05-3月 -24", "dd-MON-rr", "2024-03-05 00:00:00"},
             Named{"5 september 2024", "dd Month yyyy", "2024-09-05 00:00:00"},
             Named{"May 2024 08:30", "mon yyyy hh24:mi", "2024-05-01 08:30:00"},
             Named{"星期二 2024-03-05", "day yyyy-mm-dd", "2024-03-05 00:00:00"},
             Named{"Tue, 2024 12月 31", "dy, yyyy month dd", "2024-12-31 00:00:00"},
             Named{"Mon, 2024 12月 31", "dy, yyyy month dd", nullptr},
             Named{"05-Maz-2024", "dd-mon-yyyy", nullptr}, Named{"05-13月-2024", "dd-mon-yyyy", nullptr}}) {
        const std::string wrong = std::string("error: “") + text + "”不是格式为“" + mask + "”的有效日期！";
        for (const char* const joined : {"", "'||'"})
            EXPECT_EQ(Evaluate(std::string("to_date('") + text + joined + "', '" + mask + "')"),
                date ? date : wrong);
    }
}

TEST_P(OnCompany, OrderGroupsAndSets)
{
    const std::string kinds = "select type_kind from tab_site where site_code in ('000','102','301')";
    const std::string sites = "select site_code from tab_site where site_code";
    ExpectColumns({
        // Nulls are the greatest.
        {kinds + " order by type_kind", "二级网点,总部,"},
        {kinds + " order by type_kind desc", ",总部,二级网点"},
        {kinds + " and site_code<>'102' order by 1 nulls first", ",总部"},
        {"select sum(status) from tab_zelmor_bill where 1=2", ""},
        {"select count(*) from tab_zelmor_bill where 1=2", "0"},
        {"select count(distinct a.superior_site) from tab_site a", "4"},
        {"select superior_site from tab_site group by superior_site having count(*) > 1 order by count(*)",
            "华东中心,快运本部"},
        {"select avg(piece) from TAB_ZELMOR_BILL_ITEMS", "2.3333333333333335"},
        {"select province from tab_site where site_code='100' union select province from tab_site where "
         "site_code='101'",
            "安徽"},
        {"select site_code from tab_site minus " + sites + "<>'301'", "301"},
        {"(select site_code c from tab_site where site_code='100') union all (select mode_code from "
         "TAB_PAY_MODE) order by c desc",
            "100,03,02,01"},
        // The inner a hides the outer one; an unknown name is looked for outside.
        {"select a.site_code from tab_site a where exists (select 1 from tab_employee a where a.owner_site = "
         "site_name and bl_goods_market=1) order by 1",
            "102,201"},
        {"select x from (select site_code x from tab_site where rownum=1)", "000"},
    });
}

TEST_P(OnCompany, TreesAreWalkedDepthFirst)
{
    const std::string down = " connect by prior site_name = superior_site";
    ExpectColumns({
        {"select lpad('*', level, '*')||site_code from tab_site start with superior_site is null" + down,
            "*000,**200,***201,**100,***102,***101,****111,**300,**301"},
        // The where clause picks from the finished walk: what is below a row left out stays.
        {"select site_code from tab_site where site_code <> '100' start with site_code = '100' connect by "
         "superior_site = prior site_name",
            "102,101,111"},
        {"select site_code from tab_site" + down + " and level <= 2 start with site_code = '000'",
            "000,200,100,300,301"},
        {"select count(*) from tab_site start with site_code = '100'" + down, "4"},
        {"select employee_code from tab_employee where owner_site in (select site_name from tab_site start "
         "with site_code = '200'"
                + down + ") order by 1",
            "E04,E05"},
    });
    database.Execute(u"update tab_site set SUPERIOR_SITE = '合肥一部甲站' where SITE_CODE = '100'"_s);
    constexpr auto kLoop = "error: connect by的数据中存在循环！";
    ExpectColumns({
        {"select site_code from tab_site start with site_code = '101'" + down, kLoop},
        {"select 1 from dual where '合肥一部' in (select site_name from tab_site start with site_code = '101'"
                + down + ")",
            kLoop},
        // Cut at the start site, as the screens do it, there is none.
        {"select site_code from tab_site start with SITE_NAME='合肥一部' connect by prior SITE_NAME=(case "
         "SITE_NAME when '合肥一部' then '' else SUPERIOR_SITE end)",
            "101,111,100,102"},
    });
}

TEST_P(OnCompany, RownumLimitsBeforeAnythingElse)
{
    const std::string codes = "select mode_code from TAB_PAY_MODE";
    ExpectColumns({
        {"select mode_name from TAB_PAY_MODE where rownum<=2", "到付,现金"},
        {"select mode_name from TAB_PAY_MODE where rownum<2", "到付"},
        {codes + " where rownum=1 and mode_code>'01'", "02"},
        {codes + " where rownum=2", ""},
        {codes + " where rownum<=0", ""},
        {"select * from (" + codes + " order by mode_code) where rownum<=2", "01,02"},
        {codes + " where rownum<=1 and mode_code='01' union all select 'x' from dual", "01,x"},
    });
    for (const std::string& sql : {codes + " where rownum>1", codes + " where rownum=1 or mode_code='01'",
             codes + " where rownum<=2 order by mode_code",
             std::string("select count(*) from TAB_PAY_MODE where rownum<=2"),
             std::string("select rownum from TAB_PAY_MODE")})
        EXPECT_NE(Column(sql).find("rownum"), std::string::npos) << sql;
}

TEST_P(OnCompany, ScalarSubqueriesGiveOneRow)
{
    constexpr auto kSeveral = "error: 单行子查询返回多行！";
    ExpectColumns({
        {"select (select b.superior_site from tab_site b where b.superior_site=a.site_name) from tab_site a",
            kSeveral},
        {"select (select area_name from tab_site group by area_name) from dual", kSeveral},
        {"select a.site_code from tab_site a where a.site_code=(select a.site_code from tab_site b)",
            kSeveral},
        {"select (select site_name from tab_site b where b.site_code='nowhere') from dual", ""},
        {"select (select distinct area_name from tab_site where area_name='华东') from dual", "华东"},
        // What it gives may be of the outer row alone.
        {"select (select a.site_code||'x' from tab_site b where b.site_code='101') from tab_site a where "
         "a.site_code='100'",
            "100x"},
    });
}

TEST_P(OnCompany, ResultColumnsAreDescribed)
{
    const wire::RowSet rows = database.Query(
        u"select a.*, a.status, b.site_code, nvl(b.type, a.status) t, 1+1, max_date.d from tab_zelmor_bill a "
        u"left join tab_site b"
        " on b.site_name=a.rec_site, (select max(create_date) d from tab_zelmor_bill) max_date"_s);
    const auto info = [&](const QString& name) {
        return rows.infos[static_cast<size_t>(rows.IndexOf(name))];
    };
    EXPECT_TRUE(info(u"TX_LOGISTIC_ID"_s).key);
    EXPECT_TRUE(info(u"TX_LOGISTIC_ID"_s).stored);
    EXPECT_EQ(info(u"TX_LOGISTIC_ID"_s).width, 32);
    for (const QString& guard : {u"STATUS"_s, u"REC_SITE"_s, u"PREPARE_SITE"_s})
        EXPECT_TRUE(info(guard).guard && info(guard).stored);
    EXPECT_FALSE(info(u"STATUS_1"_s).stored) << "the second time it is not the column to be changed";
    EXPECT_FALSE(info(u"SITE_CODE"_s).stored);
    EXPECT_FALSE(info(u"SITE_CODE"_s).key);
    EXPECT_EQ(info(u"t"_s).type, wire::ColumnType::Text);
    EXPECT_EQ(info(u"1+1"_s).type, wire::ColumnType::Integer);
    EXPECT_EQ(info(u"D"_s).type, wire::ColumnType::DateTime);
    const auto grouped =
        database.Query(u"select tx_logistic_id, max(status) from tab_zelmor_bill group by tx_logistic_id"_s);
    EXPECT_FALSE(grouped.infos[0].stored || grouped.infos[0].key);
}

} // namespace

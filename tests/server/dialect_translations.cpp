#include "tests/server/dialect_database.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const void* Shape(dialect::Translator& translator, const QString& sql)
{
    return translator.Translate(sql).translation.get();
}

TEST(DialectTranslations, TextsThatDifferInLiteralsShareOne)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const auto same = [&](const QString& a, const QString& b) {
        return Shape(translator, a) == Shape(translator, b);
    };
    EXPECT_TRUE(same(u"select * from tab_site a where a.site_name='A'"_s,
        u"select * from tab_site a where a.site_name='B'"_s));
    EXPECT_TRUE(same(u"select * from tab_site a where a.site_name='A'"_s,
        u"select /*+index(a,X)*/  *  from tab_site a\n where a.site_name = 'A'"_s));
    EXPECT_TRUE(same(u"select 1 as x from dual where sysdate > to_date('2024-01-01','yyyy-mm-dd')"_s,
        u"select 2 as x from dual where sysdate > to_date('2024-01-02','yyyy-mm-dd')"_s));
    // What the translation depends on is no parameter.
    EXPECT_FALSE(same(u"select 1 from dual"_s, u"select 2 from dual"_s)) << "another column name";
    EXPECT_FALSE(same(u"select 1 from dual"_s, u"select 01 from dual"_s));
    EXPECT_FALSE(same(u"select 1.5 from dual"_s, u"select 1.50 from dual"_s));
    EXPECT_FALSE(
        same(u"select to_char(sysdate,'yyyy') x from dual"_s, u"select to_char(sysdate,'mm') x from dual"_s));
    EXPECT_FALSE(
        same(u"select type from tab_site where rownum<=1"_s, u"select type from tab_site where rownum<=2"_s));
    EXPECT_FALSE(same(
        u"select type, city from tab_site order by 1"_s, u"select type, city from tab_site order by 2"_s));
    EXPECT_FALSE(
        same(u"select type from tab_site where type='x'"_s, u"select type from tab_site where type=''"_s));
    EXPECT_FALSE(same(u"select type from tab_site where type like 'x%'"_s,
        u"select type from tab_site where type like '%x'"_s));
    EXPECT_FALSE(same(u"select type from tab_site where bl_material=1"_s,
        u"select type from tab_site where bl_material=1.5"_s));
    // Two operators are not one.
    EXPECT_NO_THROW(translator.Translate(u"select type from tab_site where 1<=2"_s));
    EXPECT_THROW(translator.Translate(u"select type from tab_site where 1< =2"_s), wire::Error);
}

TEST(DialectTranslations, LiteralsTravelAsTyped)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const auto once = [&](const QString& number, const QString& date) {
        return translator.Translate(u"select * from tab_zelmor_bill where status='"_s + number
            + u"' and create_date>=to_date('"_s + date + u"','yyyy-mm-dd') and name='O''Brien'"_s);
    };
    for (int round = 0; round < 2; ++round) { // translated, then remembered
        const dialect::Translated translated = once(u"3"_s, u"2024-03-05"_s);
        ASSERT_EQ(translated.translation->parameters.size(), 3U);
        std::vector<wire::Value> bound;
        for (const dialect::Parameter& parameter : translated.translation->parameters)
            bound.push_back(translated.literals[static_cast<size_t>(parameter.literal)]);
        EXPECT_EQ(bound[0], wire::Value(3.0));
        EXPECT_EQ(bound[1], wire::Value(wire::DateTime::FromParts(2024, 3, 5)));
        EXPECT_EQ(bound[2], wire::Value(u"O'Brien"_s));
        EXPECT_EQ(translated.translation->parameters[1].type, wire::ColumnType::DateTime);
    }
    EXPECT_THROW(once(u"3x"_s, u"2024-03-05"_s), wire::Error);
    EXPECT_THROW(once(u"3"_s, u"2024-02-30"_s), wire::Error);
}

TEST(DialectTranslations, LongListsAreOneLiteral)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const auto list = [&](int count) {
        QStringList values;
        for (int i = 0; i < count; ++i)
            values.push_back(u"'N%1'"_s.arg(i));
        return translator.Translate(
            u"select * from tab_zelmor_bill where bill_code in ("_s + values.join(u',') + u")"_s);
    };
    const dialect::Translated many = list(999);
    EXPECT_EQ(many.literals.size(), 1U);
    EXPECT_EQ(many.translation, list(9).translation);
    EXPECT_NE(many.translation, list(8).translation);
}

class DialectBulk : public ::testing::TestWithParam<DialectDatabase::Kind> { };
INSTANTIATE_TEST_SUITE_P(Databases, DialectBulk, DialectDatabase::AllKinds(), DialectDatabase::NameOf);

TEST_P(DialectBulk, ThousandsOfListItemsAndConditionsRun)
{
    DialectDatabase& database = DialectDatabase::Of(GetParam());
    database.Load(conformance::ReadTables(), conformance::Now());
    QString lists;
    QString likes;
    for (int chunk = 0; chunk < 6; ++chunk) {
        QStringList values;
        for (int i = 0; i < 999; ++i)
            values.push_back(u"'站点%1'"_s.arg(chunk * 999 + i));
        values[500] = u"'合肥一部甲站'"_s;
        lists +=
            (chunk == 0 ? u"(a.duty_site in ("_s : u"or(a.duty_site in ("_s) + values.join(u',') + u"))"_s;
    }
    for (int i = 0; i < 3000; ++i)
        likes += u" or a.PREPARE_SITE like '%;站点%1;%'"_s.arg(i);
    EXPECT_EQ(
        database.Cell(u"select tx_logistic_id from tab_zelmor_bill a where ("_s + lists + u")"_s), u"L005"_s);
    EXPECT_EQ(database.Cell(u"select count(*) from tab_zelmor_bill a where (1=2"_s + likes + u")"_s), u"0"_s);
}

TEST(DialectTranslations, FewAreKept)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const QString often = u"select site_name from tab_site"_s;
    const QString once = u"select site_code from tab_site"_s;
    const std::shared_ptr<const dialect::Translation> kept = translator.Translate(often).translation;
    const std::weak_ptr<const dialect::Translation> forgotten = translator.Translate(once).translation;
    for (int i = 0; i < 2000; ++i) {
        translator.Translate(u"select type as t%1 from tab_site"_s.arg(i));
        translator.Translate(often);
    }
    EXPECT_EQ(translator.Translate(often).translation, kept);
    EXPECT_TRUE(forgotten.expired());
}

TEST(DialectTranslations, OfLongOnesFewerAreKept)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    std::vector<std::weak_ptr<const dialect::Translation>> translations;
    const QString longOne = u" from tab_site where"_s + QStringList(7000, u" type=city"_s).join(u" or"_s);
    for (int i = 0; i < 26; ++i) // each of some 400 KB
        translations.push_back(translator.Translate(u"select type as t%1"_s.arg(i) + longOne).translation);
    EXPECT_LT(std::ranges::count_if(translations, [](const auto& each) { return !each.expired(); }), 24);
    EXPECT_FALSE(translations.back().expired());
}

// The plans that keep the screens fast while the order table grows.
TEST(DialectTranslations, IndexesServe)
{
    DialectDatabase& database = DialectDatabase::Of(DialectDatabase::Kind::Sqlite);
    const QString orders = u"select * from tab_zelmor_bill a where "_s;
    const auto uses = [&](const QString& sql, const QString& step) {
        const QString plan = database.Plan(sql);
        EXPECT_TRUE(plan.contains(step) && !plan.contains(u"SCAN tab_"_s)) << sql.toStdString() << "\n"
                                                                           << plan.toStdString();
        return plan;
    };
    const QString range = u"a.create_date between to_date('2024-03-05','yyyy-mm-dd') and sysdate "_s;
    const QString byDate = uses(orders + range + u"and a.bl_dispart=1 order by a.create_date desc"_s,
        u"TAB_ZELMOR_BILL_I3 (CREATE_DATE>? AND CREATE_DATE<?)"_s);
    EXPECT_FALSE(byDate.contains(u"TEMP B-TREE"_s)) << "the first row must not wait for the last";
    uses(orders + u"a.create_date between (sysdate-(0.5/24)-3) and (sysdate-(0.5/24))"_s,
        u"TAB_ZELMOR_BILL_I3"_s);
    uses(orders + u"a.bill_code='1'"_s, u"TAB_ZELMOR_BILL_I (BILL_CODE=?)"_s);
    uses(orders + u"a.tx_logistic_id in ('1','2')"_s, u"(TX_LOGISTIC_ID=?)"_s);
    uses(orders + u"a.tx_logistic_id in ('1','2','3','4','5','6','7','8','9','10')"_s,
        u"(TX_LOGISTIC_ID=?)"_s);
    uses(
        u"select max(tx_logistic_id) from tab_zelmor_bill a where tx_logistic_id like 'D'||to_char(sysdate,'yyyymmdd')||'%'"_s,
        u"(TX_LOGISTIC_ID>? AND TX_LOGISTIC_ID<?)"_s);
    uses(
        u"select 1 from tab_zelmor_instruction a where a.info_content='GOT' and a.bill_code='1' and a.tx_logistic_id='2'"_s,
        u"TAB_ZELMOR_INSTRUCTION_I2 (TX_LOGISTIC_ID=? AND BILL_CODE=?)"_s);
    uses(u"select * from tab_site start with SITE_NAME='X' connect by prior SITE_NAME="
         "(case SITE_NAME when 'X' then '' else SUPERIOR_SITE end)"_s,
        u"TAB_SITE_I3 (SUPERIOR_SITE=?"_s);
    // The tree is walked once, its sites looked up in the settings.
    uses(
        u"select a.* from tab_zelmor_site a where exists(select 1 from tab_site b where "
        u"b.site_name=a.site_name start with"
        " SITE_NAME='X' connect by prior SITE_NAME=(case SITE_NAME when 'X' then '' else SUPERIOR_SITE end))"_s,
        u"SEARCH t1 USING INDEX sqlite_autoindex_tab_zelmor_site_1 (SITE_NAME=?)"_s);
    const QString provinces = database.Plan(u"select distinct a.prov from tab_zelmor_bill a"_s);
    EXPECT_TRUE(
        provinces.contains(u"SEARCH tab_zelmor_bill USING COVERING INDEX TAB_ZELMOR_BILL_I7 (PROV>?)"_s));
    EXPECT_FALSE(provinces.contains(u"TEMP B-TREE"_s)) << provinces.toStdString();
}

TEST(DialectTranslations, IndexesServeInPostgres)
{
    DialectDatabase& database = DialectDatabase::Of(DialectDatabase::Kind::Postgres);
    database.Load(conformance::ReadTables(), conformance::Now());
    const QString orders = u"select * from tab_zelmor_bill a where "_s;
    const QString range = u"a.create_date between to_date('2024-03-05','yyyy-mm-dd') and sysdate "_s;
    const QString tree = u" start with SITE_NAME='X' connect by prior SITE_NAME="
                         "(case SITE_NAME when 'X' then '' else SUPERIOR_SITE end)"_s;
    for (const auto& [sql, step] : {
             std::pair(orders + range + u"order by a.create_date desc"_s,
                 u"Index Scan Backward using tab_zelmor_bill_i3"_s),
             std::pair(orders + u"a.create_date > sysdate-(0.5/24)-3"_s, u"Index Cond: (create_date > "_s),
             std::pair(u"select max(tx_logistic_id) from tab_zelmor_bill a where tx_logistic_id like"
                       " 'D'||to_char(sysdate,'yyyymmdd')||'%'"_s,
                 u"Index Cond: ((tx_logistic_id >= "_s),
             std::pair(u"select site_name from tab_site"_s + tree,
                 u"Index Cond: ((superior_site)::text = (p1.site_name)::text)"_s),
             std::pair(u"select distinct a.prov from tab_zelmor_bill a"_s,
                 u"Index Only Scan using tab_zelmor_bill_i7"_s),
             // The tree is walked once, its sites looked up in the settings.
             std::pair(u"select a.* from tab_zelmor_site a where exists(select 1 from tab_site b where"
                       " b.site_name=a.site_name"_s
                     + tree + u')',
                 u"Index Cond: ((site_name)::text = (\"ANY_subquery\".site_name)::text)"_s),
         }) {
        const QString plan = database.Plan(sql);
        EXPECT_TRUE(plan.contains(step) && !plan.contains(u"Sort Key: create_date"_s))
            << sql.toStdString() << "\n"
            << plan.toStdString();
    }
}

TEST(DialectTranslations, TextsForADatabaseThatUnderstandsThemStayAsTheyAre)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>(), dialect::Target::Verbatim);
    for (const char* name : {"A", "B"}) { // of one shape, each with its own text
        const QString sql =
            u"select /*+index(a,X)*/ a.site_name from tab_site a where a.site_name='%1' and rownum<=1"_s.arg(
                QLatin1String(name));
        const dialect::Translated translated = translator.Translate(sql + u" \n "_s);
        EXPECT_EQ(translated.translation->sql, sql.toStdString());
        EXPECT_TRUE(translated.translation->parameters.empty() && translated.literals.empty());
        EXPECT_EQ(translated.translation->columns->front().name, u"SITE_NAME"_s);
        EXPECT_EQ(translated.translation->tables, std::vector<QString>{u"tab_site"_s});
    }
    EXPECT_THROW(translator.Translate(u"delete from tab_site"_s), wire::Error);
}

} // namespace

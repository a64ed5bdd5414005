#include "tests/server/dialect_database.h"

#include <QRandomGenerator>

#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Refusal {
    const char* sql;
    wire::ErrorKind kind;
    const char* message; // part of it
};

TEST(DialectRefusals, SayWhatIsWrongAndWhere)
{
    constexpr auto kSyntax = wire::ErrorKind::Syntax;
    constexpr auto kPolicy = wire::ErrorKind::Policy;
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    for (const Refusal& each :
        std::initializer_list<Refusal>{
            {"", kSyntax, "SQL语句为空"},
            {"  -- nothing\n", kSyntax, "SQL语句为空"},
            {"insert into tab_site values(1)", kPolicy, "第1行第1列：只允许一条查询或修改语句，不允许insert"},
            {"DROP table tab_site", kPolicy, "不允许DROP"},
            {"begin delete from tab_site; end;", kPolicy, "不允许begin"},
            {"pragma writable_schema=1", kPolicy, "不允许pragma"},
            {"select 1 from dual; select 2 from dual", kPolicy, "第1行第19列：一次只能执行一条语句"},
            {"select 1 from dual;", kPolicy, "一次只能执行一条语句"},
            {"hello", kSyntax, "第1行第1列：应为“select”，却是“hello”"},
            {"with x as (select 1 from dual) select * from x", kSyntax, "却是“with”"},
            {"select 1 from dual for update", kSyntax, "第1行第20列：应为语句末尾，却是“for”"},
            {"select 1", kSyntax, "第1行第9列：应为“,”或“from”，却是语句末尾"},
            {"select from dual", kSyntax, "第1行第8列：应为表达式，却是“from”"},
            {"select 1\nfrom dual\n  where 1=", kSyntax, "第3行第11列：应为表达式，却是语句末尾"},
            {"select 1\r\nfrom dual where (1=1", kSyntax, "第2行第21列：应为“)”，却是语句末尾"},
            {"select 1 from dual where 1 not 2", kSyntax, "应为“in”、“like”或“between”"},
            {"select 'a from dual", kSyntax, "第1行第8列：引号没有配对"},
            {"select 1 /* from dual", kSyntax, "第1行第10列：注释没有结束"},
            {"select \"a from dual", kSyntax, "双引号没有配对"},
            {"select 1 ? from dual", kSyntax, "第1行第10列：不能识别的字符“?”"},
            {"select :1 from dual", kSyntax, "不能识别的字符“:”"},
            {"select type $$, '$$, 1 from tab_site --' from tab_site", kSyntax, "不能识别的字符“$”"},
            {"select 1#x from dual", kSyntax, "不能识别的字符“#”"},
            {"ſelect 1 from dual", kSyntax, "第1行第1列：不能识别的字符“ſ”"},
            {"select 1 from nowhere", kSyntax, "第1行第15列：表“nowhere”不存在"},
            {"select 1 from sqlite_schema", kSyntax, "表“sqlite_schema”不存在"},
            {"select a.nothing from tab_site a", kSyntax, "第1行第8列：列“a.nothing”不存在"},
            {"select nothing from tab_site a", kSyntax, "列“nothing”不存在"},
            {"select b.type from tab_site a", kSyntax, "“b”不是此处的表或别名"},
            {"select site_name from tab_site a, tab_site b", kSyntax, "列“site_name”有歧义"},
            {"select rowid from tab_site", kSyntax, "列“rowid”不存在"},
            {"select load_extension('x') from dual", kSyntax, "不支持函数“load_extension”"},
            {"select substr('a') from dual", kSyntax, "函数“substr”的参数个数不对"},
            {"select 1 from dual where 1", kSyntax, "第1行第26列：应为条件，却是值"},
            {"select 1=1 from dual", kSyntax, "应为值，却是条件"},
            {"select 1 from tab_zelmor_bill where create_date > 5", kSyntax, "数据类型不一致"},
            {"select sysdate + sysdate from dual", kSyntax, "数据类型不一致"},
            {"select 1 from dual where count(*) > 1", kSyntax, "此处不能使用分组函数“count”"},
            {"select a.site_code from tab_site a where a.site_code=(select max(a.province) from tab_site b)",
                kSyntax, "此处不能使用分组函数“max”"},
            {"select max(count(*)) from dual", kSyntax, "此处不能使用分组函数“count”"},
            {"select site_name, count(*) from tab_site", kSyntax, "第1行第8列：此表达式不在group by之中"},
            {"select type from tab_site group by province", kSyntax, "此表达式不在group by之中"},
            {"select 1 from dual union all select 1, 2 from dual", kSyntax, "列数不一致"},
            {"select 1 from dual where 1 in (select 1, 2 from dual)", kSyntax, "子查询只能有一列"},
            {"select site_name from tab_site order by 2", kSyntax, "order by的序号"},
            {"select level from dual", kSyntax, "level只能用于"},
            {"select 1 from dual where prior 1 = 1", kSyntax, "prior只能用于"},
            {"select 1 from tab_site start with prior type='x' connect by prior type=city", kSyntax,
                "prior只能用于"},
            {"select 1 from tab_site a, dual connect by prior type = type", kSyntax,
                "connect by只能用于单个表"},
            {"select 1 from tab_site start with type='x'", kSyntax, "应为“connect by”"},
            {"select 1 from tab_site a, tab_site b where a.type = b.type(+)", kSyntax, "不支持(+)"},
            {"select to_date('x', site_name) from tab_site", kSyntax, "格式必须是引号中的文本"},
            {"update tab_site set type='x' where type='y' type", kSyntax, "应为语句末尾，却是“type”"},
            {"update tab_site set type='x', where 1=1", kSyntax, "第1行第31列：应为表达式，却是“where”"},
            {"update tab_site set (type)=('x')", kSyntax, "不支持set"},
            {"select 99999999999999999999e999 from dual", kSyntax, "超出范围"},
        }) {
        try {
            translator.Translate(QString::fromUtf8(each.sql));
            ADD_FAILURE() << "accepted: " << each.sql;
        } catch (const wire::Error& error) {
            EXPECT_EQ(error.Kind(), each.kind) << each.sql;
            EXPECT_NE(error.Message().indexOf(QString::fromUtf8(each.message)), -1)
                << each.sql << "\n"
                << error.Message().toStdString();
            EXPECT_EQ(error.SqlText(), QString::fromUtf8(each.sql));
        }
    }
    EXPECT_THROW(translator.Translate(u"select to_char(sysdate,'yyyy\0mm') x from dual"_s), wire::Error);
}

QString Repeated(int count, const QString& part, const QString& between = {})
{
    return QStringList(count, part).join(between);
}

struct TooMuch {
    QString sql;
    const char* message; // nothing: no screen's text is so long, but it is taken
};

// Chains as well as brackets: neither the parser nor whoever walks or frees the tree may need a stack that
// grows with the text, and no text may keep a server busy for longer than it took to send it.
TEST(DialectRefusals, NoTextIsTooMuchForTheServer)
{
    const QString orders = u" from tab_zelmor_bill b"_s;
    const auto where = [&](const QString& condition) {
        return QString(u"select 1"_s + orders + u" where "_s + condition);
    };
    const auto value = [](const QString& expression) {
        return QString(u"select "_s + expression + u" v from dual"_s);
    };
    const auto nested = [&](const QString& open, const QString& close) {
        return where(u"1="_s + Repeated(5000, open) + u'1' + Repeated(5000, close));
    };
    const auto list = [&](int count, const QString& item) {
        return where(u"b.bill_code not in ("_s + Repeated(count, item, u","_s) + u')');
    };
    QString decode = u"1"_s;
    for (int depth = 0; depth < 40; ++depth) // what is said once for every comparison contains the same
        decode = u"decode("_s + decode + u",1,2,3,4,5,6)"_s;
    const std::vector<TooMuch> texts{
        {nested(u"("_s, u")"_s), "嵌套过深"},
        {nested(u"not "_s, {}), "应为表达式"},
        {where(Repeated(40'000, u"not "_s) + u"1=1"_s), "嵌套过深"},
        {nested(u"- "_s, {}), "嵌套过深"},
        {nested(u"nvl("_s, u",1)"_s), "嵌套过深"},
        {nested(u"case when 1=1 then "_s, u" end"_s), "嵌套过深"},
        {nested(u"(select "_s, u" from dual)"_s), "嵌套过深"},
        {value(Repeated(40'000, u"1"_s, u"+"_s)), "嵌套过深"},
        {value(Repeated(40'000, u"1"_s, u"-"_s)), "嵌套过深"},
        {value(Repeated(40'000, u"1"_s, u"*"_s)), "嵌套过深"},
        {value(Repeated(40'000, u"1"_s, u"/"_s)), "嵌套过深"},
        {u"update tab_site set bl_open="_s + Repeated(40'000, u"1"_s, u"+"_s), "嵌套过深"},
        {value(Repeated(40'000, u"'a'"_s, u"||"_s)), "此处的表达式超过255个"},
        {value(u"case "_s + Repeated(40'000, u"when 1=1 then 1 "_s) + u"end"_s), "此处的表达式超过255个"},
        {value(u"coalesce("_s + Repeated(40'000, u"1"_s, u","_s) + u')'), "此处的表达式超过255个"},
        {value(decode), "嵌套过深"},
        {Repeated(20'000, u"select 1 from dual"_s, u" union all "_s), "select超过200个"},
        {u"select 1 from "_s + Repeated(5'000, u"dual"_s, u","_s), "表超过60个"},
        {where(Repeated(5'000, u"b.status=1"_s, u" or "_s)), nullptr},
        {where(Repeated(8'000, u"b.status=1"_s, u" or "_s)), "常量超过6000个"},
        {where(Repeated(14'000, u"b.status=1"_s, u" or "_s)), "成分超过30000个"},
        {where(Repeated(4'000, u"b.prepare_site like '%;x;%'"_s, u" or "_s)), nullptr},
        {where(Repeated(40'000, u"b.status=b.piece"_s, u" and "_s)), "成分超过30000个"},
        {u"select "_s + Repeated(400, u"b.*"_s, u","_s) + orders, "列超过1000个"},
        {u"select "_s + Repeated(13, u"b.*"_s, u","_s) + orders, nullptr},
        {u"select "_s + Repeated(100'000, u"b.status"_s, u","_s) + orders, "列超过1000个"},
        {u"select "_s + Repeated(1'000, u"lower(b.name)"_s, u","_s) + orders + u" group by "_s
                + Repeated(255, u"lower(b.name)"_s, u","_s),
            nullptr},
        {u"select 1"_s + orders + u" order by "_s + Repeated(5'000, u"b.status"_s, u","_s),
            "此处的表达式超过255个"},
        {value(u'\'' + Repeated(4'001, u"x"_s) + u'\''), "第1行第8列：引号中的文本超过4000个字符"},
        {value(Repeated(1 << 20, u" "_s) + u'1'), "语句超过1048576个字符"},
        {list(1'000, u"'a'"_s), nullptr},
        {list(1'001, u"'a'"_s), "第1行第4059列：in列表中的值超过1000个"},
        {list(1'001, u"-1"_s), "第1行第3059列：in列表中的值超过1000个"},
        {where(Repeated(16, u"b.bill_code in ("_s + Repeated(999, u"'site'"_s, u","_s) + u')', u" or "_s)),
            nullptr},
    };
    for (const dialect::Target target : {dialect::Target::Sqlite, dialect::Target::Postgres}) {
        for (const TooMuch& each : texts) {
            SCOPED_TRACE(each.sql.left(60).toStdString());
            dialect::Translator translator(std::make_shared<SchemaCatalog>(), target);
            const std::clock_t start = std::clock();
            QString message;
            try {
                translator.Translate(each.sql);
            } catch (const wire::Error& error) {
                message = error.Message();
            }
            EXPECT_LT(double(std::clock() - start) / CLOCKS_PER_SEC, 2.0);
            if (each.message)
                EXPECT_NE(message.indexOf(QString::fromUtf8(each.message)), -1) << message.toStdString();
            else
                EXPECT_TRUE(message.isEmpty()) << message.toStdString();
        }
    }
}

// Whatever the text has become by chance: it is refused, or every database takes it and gives the same rows.
TEST(DialectRefusals, MutatedTextsMeanTheSameEverywhere)
{
    using Kind = DialectDatabase::Kind;
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const auto tables = conformance::ReadTables();
    for (const Kind kind : {Kind::Sqlite, Kind::Postgres, Kind::PostgresWithOrafce})
        DialectDatabase::Of(kind).Load(tables, conformance::Now());
    const auto cases = conformance::ReadCases();
    QRandomGenerator random(7);
    const auto any = [&random](qsizetype below) {
        return static_cast<qsizetype>(random.bounded(static_cast<int>(below)));
    };
    const QStringList pieces{u"("_s, u")"_s, u"'"_s, u","_s, u" select "_s, u" from "_s, u" and "_s,
        u" not "_s, u"*"_s, u"''"_s, u"-1"_s, u" rownum "_s, u" prior "_s, u"."_s, u" case when "_s,
        u" end "_s, u"||"_s, u" sysdate "_s, u" in "_s, u" null "_s, u" group by "_s, u" order by "_s,
        u" distinct "_s, u"\U0001F600"_s};
    int accepted = 0;
    for (int round = 0; round < 6000; ++round) {
        QString sql = cases[static_cast<size_t>(any(static_cast<qsizetype>(cases.size())))].sql;
        for (int change = 1 + static_cast<int>(any(3)); change > 0 && !sql.isEmpty(); --change) {
            const qsizetype at = any(sql.size());
            switch (any(4)) {
            case 0:
                sql.remove(at, 1 + any(12));
                break;
            case 1:
                sql.insert(at, pieces[any(pieces.size())]);
                break;
            case 2:
                sql.insert(at, sql.sliced(at, any(std::min<qsizetype>(sql.size() - at, 40) + 1)));
                break;
            default:
                sql.truncate(at);
            }
        }
        try {
            translator.Translate(sql);
        } catch (const wire::Error&) {
            continue;
        }
        if (sql.trimmed().startsWith(u"update"_s, Qt::CaseInsensitive))
            continue;
        ++accepted;
        try {
            const auto rows = DialectDatabase::Of(Kind::Sqlite).SortedRows(sql);
            for (const Kind kind : {Kind::Postgres, Kind::PostgresWithOrafce}) {
                const auto others = DialectDatabase::Of(kind).SortedRows(sql);
                ASSERT_TRUE(!rows || !others || rows == others) << sql.toStdString();
            }
        } catch (const wire::Error& error) {
            FAIL() << sql.toStdString() << "\n" << error.what();
        }
    }
    EXPECT_GT(accepted, 200);
}

} // namespace

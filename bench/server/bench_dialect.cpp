// What a translation costs: of a text whose shape is known, of a new one, and of the long lists that users
// paste. Beside it a look-up by SQLite's C interface, since the first is to be small against the second.

#include "company/Tables.h"
#include "server/dialect/Dialect.h"

#include <QStringList>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace {

class SchemaCatalog final : public dialect::Catalog {
public:
    SchemaCatalog()
    {
        for (const company::Table& definition : company::Tables()) {
            dialect::CatalogTable table;
            table.name = definition.name;
            for (const company::Column& column : definition.columns)
                table.columns.push_back({column.name, column.type, column.width,
                    std::ranges::find(definition.primaryKey, column.name) != definition.primaryKey.end(),
                    column.guarded});
            tables_.emplace(definition.name.toUpper(), std::move(table));
        }
    }
    const dialect::CatalogTable* Find(QStringView tableName) const override
    {
        const auto found = tables_.find(tableName.toString().toUpper());
        return found == tables_.end() ? nullptr : &found->second;
    }

private:
    std::map<QString, dialect::CatalogTable> tables_;
};

// The address matcher's look-up, as often as there are orders on the desk.
QString LookUp(int number)
{
    return u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and (a.PROVICE='安徽省' or"
           " a.PROVICE='安徽') and (a.CITY='合肥市' or a.CITY='合肥') and a.COUNTY = '蜀山区' and "
           "a.ROAD_NAME like"
           " '%长江西路%' and a.STARTNO <= %1 and a.ENDNO >= %1 and a.BL_NO in (0,2)  and rownum=1 "_s.arg(
               number);
}

QString DayOfOrders(int day)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between"
           " to_date('2024-03-%1 00:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-03-%1 "
           "23:59:59','yyyy-mm-dd"
           " hh24:mi:ss')   and a.bl_dispart=1  and nvl(a.status, 0)=0 and a.PREPARE_SITE like '%;合肥一部;%'"
           " order by a.CREATE_DATE desc"_s.arg(day, 2, 10, QChar(u'0'));
}

void KnownShape(benchmark::State& state, QString (*text)(int))
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    QStringList texts;
    for (int i = 1; i <= 28; ++i)
        texts.push_back(text(i));
    qsizetype next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(translator.Translate(texts[next++ % texts.size()]));
    state.SetLabel(std::to_string(texts.front().size()) + " characters");
}
BENCHMARK_CAPTURE(KnownShape, address_look_up, LookUp);
BENCHMARK_CAPTURE(KnownShape, orders_of_a_day, DayOfOrders);

void NewShape(benchmark::State& state, QString (*text)(int))
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    QStringList texts;
    for (int i = 0; i < 500; ++i) // more shapes than are kept, told apart by the table's alias
        texts.push_back(
            text(1).replace(u" a where"_s, u" a%1 where"_s.arg(i)).replace(u"a."_s, u"a%1."_s.arg(i)));
    qsizetype next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(translator.Translate(texts[next++ % texts.size()]));
}
BENCHMARK_CAPTURE(NewShape, address_look_up, LookUp);
BENCHMARK_CAPTURE(NewShape, orders_of_a_day, DayOfOrders);

void PastedNumbers(benchmark::State& state)
{
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    QStringList numbers;
    for (int i = 0; i < state.range(0); ++i)
        numbers.push_back(u"'3000000%1'"_s.arg(i, 5, 10, QChar(u'0')));
    const QString text =
        u"select a.* from tab_zelmor_bill a where a.BILL_CODE in (%1) and a.bl_dispart=1"_s.arg(
            numbers.join(u','));
    for (auto _ : state)
        benchmark::DoNotOptimize(translator.Translate(text));
}
BENCHMARK(PastedNumbers)->Arg(8)->Arg(100)->Arg(999);

// The peer: a row found by an index through a prepared statement.
void PreparedLookUp(benchmark::State& state)
{
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    sqlite3_exec(database,
        "create table area(county text, site text); create index area_i on area(county);"
        "with recursive n(i) as (select 1 union all select i + 1 from n where i < 50000)"
        " insert into area select 'county ' || (i % 3000), 'site ' || i from n",
        nullptr, nullptr, nullptr);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, "select site from area where county = ? limit 1", -1, &statement, nullptr);
    int county = 0;
    for (auto _ : state) {
        const std::string name = "county " + std::to_string(county++ % 3000);
        sqlite3_bind_text(statement, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        benchmark::DoNotOptimize(sqlite3_step(statement));
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
}
BENCHMARK(PreparedLookUp);

} // namespace

BENCHMARK_MAIN();

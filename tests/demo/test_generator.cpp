#include "tests/demo/GeneratedRows.h"

#include "wire/Error.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

bool Fits(const wire::Value& value, const company::Column& column)
{
    switch (column.type) {
    case wire::ColumnType::Text: {
        const auto* text = std::get_if<QString>(&value);
        return text != nullptr && !text->isEmpty() && text->size() <= column.width;
    }
    case wire::ColumnType::Integer:
        return std::holds_alternative<qint64>(value);
    case wire::ColumnType::Number:
        return std::holds_alternative<double>(value);
    case wire::ColumnType::DateTime:
        return std::holds_alternative<wire::DateTime>(value);
    }
    return false;
}

void ExpectUnique(const Table& table, const std::vector<QString>& columns)
{
    std::set<QString> seen;
    ForEach(table, [&](const Row& row) {
        QString key;
        for (const QString& column : columns)
            key += row.Text(column) + u'\n';
        EXPECT_TRUE(seen.insert(key).second) << qUtf8Printable(table.def->name + u": "_s + key);
    });
}

} // namespace

TEST(Generator, ReadsSizes)
{
    EXPECT_EQ(demo::OrdersOf(u"small"_s), 5'000);
    EXPECT_EQ(demo::OrdersOf(u"medium"_s), 100'000);
    EXPECT_EQ(demo::OrdersOf(u"large"_s), 1'000'000);
    EXPECT_EQ(demo::OrdersOf(u"777"_s), 777);
    for (const QString& wrong : {u""_s, u"0"_s, u"-5"_s, u"huge"_s, u"10 000"_s, u"99999999999999999999"_s})
        EXPECT_THROW(demo::OrdersOf(wrong), wire::Error) << qUtf8Printable(wrong);
}

TEST(Generator, FillsEveryTableWithRowsThatFitIt)
{
    for (const company::Table& def : company::Tables()) {
        SCOPED_TRACE(qUtf8Printable(def.name));
        const Table& table = SmallTable(def.name);
        EXPECT_FALSE(table.rows.empty());
        for (const std::vector<wire::Value>& row : table.rows) {
            ASSERT_EQ(row.size(), def.columns.size());
            for (std::size_t i = 0; i < row.size(); ++i) {
                const bool good = wire::IsNull(row[i]) || Fits(row[i], def.columns[i]);
                ASSERT_TRUE(good) << qUtf8Printable(def.columns[i].name + u": "_s + wire::ToText(row[i]));
            }
        }
        for (const QString& key : def.primaryKey)
            EXPECT_EQ(Texts(table, key).count({}), 0U) << qUtf8Printable(key);
        ExpectUnique(table, def.primaryKey);
        for (const company::Index& index : def.indexes) {
            if (index.unique)
                ExpectUnique(table, index.columns);
        }
    }
}

TEST(Generator, EveryColumnOfAnOrderIsUsed)
{
    const Table& orders = SmallTable(u"tab_zelmor_bill"_s);
    for (const company::Column& column : orders.def->columns)
        EXPECT_GT(Texts(orders, column.name).size(), 1U) << qUtf8Printable(column.name);
}

TEST(Generator, TheSameRequestGivesTheSameRows)
{
    const auto first = GenerateTables(700, TestNow(), 42);
    const auto second = GenerateTables(700, TestNow(), 42);
    const auto other = GenerateTables(700, TestNow(), 43);
    for (const auto& [name, table] : first)
        EXPECT_TRUE(table.rows == second.at(name).rows) << qUtf8Printable(name);
    const QString orders = u"tab_zelmor_bill"_s;
    EXPECT_FALSE(first.at(orders).rows == other.at(orders).rows);
    EXPECT_TRUE(first.at(u"tab_site"_s).rows == other.at(u"tab_site"_s).rows);
}

TEST(Generator, MakesExactlyTheOrdersAskedForAndNoneInTheFuture)
{
    struct Case {
        qint64 orders;
        int hour; // at midnight today has only begun
    };
    for (const Case& given : {Case{1, 12}, Case{3, 0}, Case{1'500, 0}}) {
        const wire::DateTime now = wire::DateTime::FromParts(2024, 3, 1, given.hour);
        const auto tables = GenerateTables(given.orders, now, 7);
        const Table& table = tables.at(u"tab_zelmor_bill"_s);
        EXPECT_EQ(static_cast<qint64>(table.rows.size()), given.orders);
        ForEach(table, [&](const Row& row) {
            for (const company::Column& column : table.def->columns) {
                const bool agreed = column.name == u"SEND_START_TIME"_s || column.name == u"SEND_END_TIME"_s;
                if (column.type == wire::ColumnType::DateTime && !agreed) {
                    EXPECT_LE(row.Moment(column.name), now.seconds) << qUtf8Printable(column.name);
                }
            }
        });
    }
}

TEST(Generator, RegionsAreOfOnePiece)
{
    const std::set<QString> provinces = Texts(SmallTable(u"tab_province"_s), u"PROVINCE");
    EXPECT_EQ(provinces.size(), 31U);
    std::set<QString> cities;
    ForEach(SmallTable(u"tab_city"_s), [&](const Row& row) {
        EXPECT_EQ(provinces.count(row.Text(u"PROVINCE")), 1U);
        EXPECT_TRUE(cities.insert(row.Text(u"PROVINCE") + row.Text(u"CITY_NAME")).second);
    });
    EXPECT_GT(cities.size(), 330U);
    std::set<QString> counties;
    ForEach(SmallTable(u"tab_county"_s), [&](const Row& row) {
        const QString city = row.Text(u"PROVINCE") + row.Text(u"CITY_NAME");
        EXPECT_EQ(cities.count(city), 1U);
        EXPECT_EQ(row.Text(u"MAIL_CODE").size(), 6);
        EXPECT_TRUE(counties.insert(city + row.Text(u"COUNTY_NAME")).second)
            << qUtf8Printable(row.Text(u"COUNTY_NAME"));
    });
    EXPECT_GT(counties.size(), 2'000U);
    ForEach(SmallTable(u"tab_zelmor_bill"_s), [&](const Row& row) {
        EXPECT_EQ(counties.count(row.Text(u"PROV") + row.Text(u"CITY") + row.Text(u"COUNTY")), 1U);
        EXPECT_EQ(
            counties.count(row.Text(u"SEND_PROV") + row.Text(u"SEND_CITY") + row.Text(u"SEND_COUNTY")), 1U);
    });
}

TEST(Generator, EmployeesCustomersAndServicesBelongToSites)
{
    const std::set<QString> sites = Texts(SmallTable(u"tab_site"_s), u"SITE_NAME");
    const auto expectSites = [&](const QString& table, QStringView column) {
        for (const QString& name : Texts(SmallTable(table), column))
            EXPECT_EQ(sites.count(name), 1U) << qUtf8Printable(table + u": "_s + name);
    };
    expectSites(u"tab_employee"_s, u"OWNER_SITE");
    expectSites(u"tab_customer"_s, u"CUSTOMER_OWNER_SITE");
    expectSites(u"tab_zelmor_site"_s, u"SITE_NAME");
    expectSites(u"TAB_BILL_PROVIDE"_s, u"USE_SITE");
    expectSites(u"TAB_AREA_DETAIL"_s, u"SITE_NAME");
    ForEach(SmallTable(u"tab_site"_s), [&](const Row& row) {
        const QString center = row.Text(u"SUPERIOR_FINANCE_CENTER");
        EXPECT_TRUE(center.isEmpty() || sites.count(center) == 1) << qUtf8Printable(center);
        for (const QString& name : row.Text(u"SITEMATERIAL").split(u',', Qt::SkipEmptyParts))
            EXPECT_EQ(sites.count(name), 1U) << qUtf8Printable(name);
    });
    for (const QString& type : {u"中心"_s, u"网点"_s, u"同行"_s, u"财务中心"_s})
        EXPECT_EQ(Texts(SmallTable(u"tab_site"_s), u"TYPE").count(type), 1U) << qUtf8Printable(type);
    EXPECT_EQ(Texts(SmallTable(u"tab_employee"_s), u"BL_GOODS_MARKET").size(), 2U);
    EXPECT_EQ(Texts(SmallTable(u"TAB_PAY_MODE"_s), u"MODE_NAME").count(u"月结"_s), 1U);
}

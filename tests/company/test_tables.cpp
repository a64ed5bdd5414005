#include "company/Tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {

bool HasColumn(const company::Table& table, const QString& name)
{
    return std::any_of(table.columns.begin(), table.columns.end(),
        [&](const company::Column& column) { return column.name == name; });
}

// The columns of the index of that name, the primary key's included; empty when there is none.
std::vector<QString> ColumnsOf(const company::Table& table, const QString& index)
{
    if (table.primaryKeyName == index)
        return table.primaryKey;
    for (const company::Index& candidate : table.indexes) {
        if (candidate.name == index)
            return candidate.columns;
    }
    return {};
}

} // namespace

TEST(Tables, TablesAreWellFormed)
{
    std::set<QString> names; // tables and indexes share one space of names in some databases
    for (const company::Table& table : company::Tables()) {
        SCOPED_TRACE(qUtf8Printable(table.name));
        EXPECT_TRUE(names.insert(table.name.toUpper()).second);
        EXPECT_TRUE(names.insert(table.primaryKeyName.toUpper()).second);
        std::set<QString> columns;
        for (const company::Column& column : table.columns) {
            EXPECT_TRUE(columns.insert(column.name).second) << qUtf8Printable(column.name);
            EXPECT_EQ(column.name, column.name.toUpper());
            EXPECT_EQ(column.type == wire::ColumnType::Text, column.width > 0) << qUtf8Printable(column.name);
        }
        ASSERT_FALSE(table.primaryKey.empty());
        for (const QString& column : table.primaryKey)
            EXPECT_TRUE(HasColumn(table, column)) << qUtf8Printable(column);
        for (const company::Index& index : table.indexes) {
            EXPECT_TRUE(names.insert(index.name.toUpper()).second) << qUtf8Printable(index.name);
            for (const QString& column : index.columns)
                EXPECT_TRUE(HasColumn(table, column)) << qUtf8Printable(column);
        }
    }
}

TEST(Tables, HintedIndexesLeadWithTheColumnThatTheirQueriesAskFor)
{
    struct Hint {
        QString table;
        QString index;
        QString column;
    };
    const Hint hints[] = {
        {u"tab_zelmor_bill"_s, u"TAB_ZELMOR_BILL_P"_s, u"TX_LOGISTIC_ID"_s},
        {u"tab_zelmor_bill"_s, u"TAB_ZELMOR_BILL_I"_s, u"BILL_CODE"_s},
        {u"tab_zelmor_bill"_s, u"TAB_ZELMOR_BILL_I1"_s, u"REC_DATE"_s},
        {u"tab_zelmor_bill"_s, u"TAB_ZELMOR_BILL_I3"_s, u"CREATE_DATE"_s},
        {u"tab_zelmor_bill"_s, u"TAB_ZELMOR_BILL_I5"_s, u"REC_DATE"_s},
        {u"TAB_ZELMOR_BILL_ITEMS"_s, u"TAB_ZELMOR_BILL_ITEMS_I"_s, u"TX_LOGISTIC_ID"_s},
        {u"tab_zelmor_instruction"_s, u"TAB_ZELMOR_INSTRUCTION_I2"_s, u"TX_LOGISTIC_ID"_s},
        {u"tab_site"_s, u"TAB_SITE_I3"_s, u"SUPERIOR_SITE"_s},
        {u"tab_bill"_s, u"TAB_BILL_P"_s, u"BILL_CODE"_s},
        {u"tab_bill_del"_s, u"TAB_BILL_DEL_P"_s, u"BILL_CODE"_s},
        {u"TAB_BILL_PROVIDE"_s, u"TAB_BILL_PROVIDE_I"_s, u"USE_SITE"_s},
        {u"tab_favourable_bill"_s, u"TAB_FAVOURABLE_BILL_U"_s, u"FAVOURABLE_BILL"_s},
    };
    for (const Hint& hint : hints) {
        const company::Table* table = company::FindTable(hint.table.toLower());
        ASSERT_NE(table, nullptr) << qUtf8Printable(hint.table);
        const std::vector<QString> columns = ColumnsOf(*table, hint.index);
        ASSERT_FALSE(columns.empty()) << qUtf8Printable(hint.index);
        EXPECT_EQ(columns.front(), hint.column) << qUtf8Printable(hint.index);
    }
}

TEST(Tables, OrdersHoldTheLongestTextsThatScreensWrite)
{
    const company::Table* orders = company::FindTable(u"TAB_Zelmor_Bill");
    ASSERT_NE(orders, nullptr);
    const auto width = [&](const QString& name) {
        for (const company::Column& column : orders->columns) {
            if (column.name == name)
                return column.width;
        }
        return 0;
    };
    EXPECT_EQ(width(u"PREPARE_SITE"_s), 200);
    EXPECT_EQ(width(u"MESSAGE"_s), 100);
    // The serial of a manual number may run into a seventh digit.
    EXPECT_GE(width(u"TX_LOGISTIC_ID"_s), 16);
}

TEST(Tables, ClientsWriteOnlyWhatScreensEdit)
{
    for (const company::Table& table : company::Tables()) {
        const bool edited = table.name == u"tab_zelmor_bill"_s || table.name == u"tab_zelmor_site"_s;
        EXPECT_EQ(table.clientsMayWrite, edited) << qUtf8Printable(table.name);
    }
    EXPECT_EQ(company::FindTable(u"tab_zelmor"), nullptr);
}

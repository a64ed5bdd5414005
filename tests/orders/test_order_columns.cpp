#include "company/Tables.h"
#include "orders/record/OrderColumns.h"
#include "wire/Error.h"

#include <gtest/gtest.h>

#include <array>

using namespace Qt::Literals::StringLiterals;

TEST(OrderColumns, EveryFieldOfAnOrderCanBeShownUnderItsOwnCaption)
{
    for (const company::Column& field : company::OrderTable().columns) {
        if (field.name.startsWith(u"MODIF"_s))
            continue; // who changed the row is for the server's books
        const std::array use{OrderColumnUse{.field = field.name}};
        const TColumnEh column = OrderColumns(use).front();
        EXPECT_TRUE(field.caption.isEmpty() || column.title == field.Title()) << qPrintable(field.name);
        EXPECT_EQ(column.style == TColumnStyle::DateTime, field.type == wire::ColumnType::DateTime)
            << qPrintable(field.name);
    }
    const std::array unknown{OrderColumnUse{.field = u"NO_FIELD"}};
    EXPECT_THROW(OrderColumns(unknown), wire::Error);
}

TEST(OrderColumns, AScreenHasItsOwnTitlesAndFooters)
{
    const std::array uses{
        OrderColumnUse{.field = u"REC_BILL_MAN", .editable = true, .title = u"接单|接单司机"},
        OrderColumnUse{.field = u"PIECE", .summed = true, .sumWord = u"总件数"}};
    const std::vector<TColumnEh> columns = OrderColumns(uses);
    EXPECT_EQ(columns[0].title, u"接单|接单司机"_s);
    EXPECT_FALSE(columns[0].readOnly);
    EXPECT_TRUE(columns[1].readOnly);
    ASSERT_EQ(columns[1].footers.size(), 2U);
    EXPECT_EQ(columns[1].footers[0].value, u"总件数"_s);
    EXPECT_EQ(columns[1].footers[1].valueType, TFooterValueType::Sum);
}

TEST(OrderColumns, StatusesThatAreNotOfferedAreNamed)
{
    const std::array uses{OrderColumnUse{.field = u"STATUS"}};
    std::vector<TColumnEh> columns = OrderColumns(uses);
    OfferStatuses(columns, company::StatusUse::SiteScreens, std::array{0, 1});
    const TColumnEh& column = ColumnOf(columns, u"status");
    EXPECT_EQ(column.keyList, QStringList({u"0"_s, u"1"_s}));
    for (const auto& [key, name] : {std::pair(u"10"_s, u"已分派"_s), {u"11"_s, u"已拒收"_s},
             {u"12"_s, u"已下发"_s}, {u"-1"_s, u"泽摩取消"_s}})
        EXPECT_EQ(column.namedKeys.value(key), name);
    EXPECT_EQ(column.nullText, u"等待接单"_s);
}

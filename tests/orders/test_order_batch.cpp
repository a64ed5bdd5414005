#include "framework/RowRules.h"
#include "framework/frm_Progress.h"
#include "orders/record/OrderBatch.h"
#include "tests/orders/OrderDesk.h"

#include <QCoreApplication>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class OrderBatch : public ::testing::Test {
protected:
    OrderBatch()
    {
        std::vector<OrderFields> rows;
        for (int i = 0; i < 401; ++i)
            rows.push_back(
                {{u"TX_LOGISTIC_ID"_s, u"T%1"_s.arg(i, 3, 10, QLatin1Char('0'))}, {u"STATUS"_s, i % 2}});
        cds.OpenRows(OrderRows(rows));
        source.SetDataSet(&cds);
        grid.SetColumns({{.fieldName = u"TX_LOGISTIC_ID"_s}, {.fieldName = u"STATUS"_s}});
        grid.SetDataSource(&source);
        cds.AddIndex(u"SortIndexEh"_s, u"STATUS"_s);
        cds.SetIndexName(u"SortIndexEh"_s);
    }

    void SelectAll()
    {
        std::vector<TBookmark> rows;
        for (int row = 0; row < cds.RecordCount(); ++row)
            rows.push_back(cds.ViewBookmark(row));
        grid.SelectRows(rows);
    }
    // Takes the waiting orders.
    TOrderBatch Accepting()
    {
        return {.caption = u"分派"_s,
            .question = u"是否进行批量修改可接单网点?"_s,
            .takes = [](const TClientDataSetEx& row) { return row.FieldByName(u"STATUS").AsInteger() == 0; },
            .change = [](TClientDataSetEx& row) { row.FieldByName(u"STATUS").SetAsInteger(1); }};
    }

    OrderDesk desk;
    TClientDataSetEx cds;
    TDataSource source;
    TDBGridEh grid;
};

} // namespace

TEST_F(OrderBatch, AsksChangesWhatItTakesAndSumsUp)
{
    grid.ClearSelectedRows();
    EXPECT_FALSE(RunOrderBatch(grid, Accepting()));
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty()) << "not even the question";

    SelectAll();
    desk.host.App.QueueAnswer({u"no"_s});
    EXPECT_FALSE(RunOrderBatch(grid, Accepting()));
    ASSERT_EQ(desk.host.App.ShownMessages().size(), 1u);
    EXPECT_EQ(desk.host.App.ShownMessages()[0].caption, u"提示"_s);
    EXPECT_EQ(cds.ChangeCount(), 0);
    desk.host.TakeMessages();

    TOrderBatch batch = Accepting();
    QStringList order;
    batch.beforeSummary = [&] {
        EXPECT_EQ(desk.host.App.ShownMessages().back().icon, TMessageIcon::Information);
        order = desk.host.TakeMessages();
    };
    batch.summaryEnd = u"订单状态不符"_s;
    // A rule that refuses one order before its edit.
    cds.BeforeEdit = [this] {
        if (cds.FieldByName(u"TX_LOGISTIC_ID").AsString() == u"T010"_s)
            RunRules(u"分派"_s, [] { throw TRuleViolation{u"已分派"_s, {}, TMessageIcon::Information}; });
    };
    desk.host.App.QueueAnswer({u"yes"_s});
    const auto counts = RunOrderBatch(grid, batch);
    ASSERT_TRUE(counts);
    EXPECT_EQ(counts->changed, 200);
    EXPECT_EQ(counts->unchanged, 201);
    EXPECT_EQ(order, QStringList({u"是否进行批量修改可接单网点?"_s, u"已分派"_s}));
    EXPECT_EQ(desk.host.App.ShownMessages()[0].caption, u"分派"_s);
    EXPECT_EQ(desk.host.App.ShownMessages()[0].icon, TMessageIcon::Information);
    EXPECT_EQ(desk.host.TakeMessages(),
        QStringList(u"详细：批量修改完毕！200条数据修改成功，201条数据未改变！订单状态不符"_s));
    EXPECT_EQ(cds.ChangeCount(), 200);
    EXPECT_EQ(cds.IndexName(), u"SortIndexEh"_s);
    EXPECT_FALSE(cds.ControlsDisabled());
}

TEST_F(OrderBatch, AsksOfARowThatMayBeEditedAndTakesTheEditBack)
{
    SelectAll();
    cds.BeforeEdit = [this] {
        if (cds.RecNo() > 10)
            Abort();
    };
    int asked = 0;
    TOrderBatch batch = Accepting();
    batch.confirm = [&](const TClientDataSetEx& row) {
        EXPECT_TRUE(row.IsEditing());
        return ++asked % 2 == 0;
    };
    desk.host.App.QueueAnswer({u"yes"_s});
    const auto counts = RunOrderBatch(grid, batch);
    EXPECT_EQ(asked, 5);
    EXPECT_EQ(counts->changed, 2);
    EXPECT_EQ(counts->unchanged, 399);
    EXPECT_FALSE(cds.IsEditing());
}

TEST_F(OrderBatch, ARefusedPostEndsItAndTheSortComesBackWithTheEditsEnd)
{
    cds.BeforePost = [] { Abort(); };
    SelectAll();
    desk.host.App.QueueAnswer({u"yes"_s});
    EXPECT_THROW(RunOrderBatch(grid, Accepting()), EAbort);
    EXPECT_TRUE(cds.IsEditing());
    EXPECT_FALSE(cds.ControlsDisabled());
    cds.Cancel();
    QCoreApplication::processEvents();
    EXPECT_EQ(cds.IndexName(), u"SortIndexEh"_s);
}

TEST_F(OrderBatch, CanBeCancelledBetweenRows)
{
    SelectAll();
    int seen = 0;
    TOrderBatch batch = Accepting();
    batch.takes = [&](const TClientDataSetEx&) {
        if (++seen == 150) {
            for (TForm* form : desk.host.Scr.Forms()) {
                if (auto* progress = qobject_cast<Tfrm_Progress*>(form))
                    progress->findChild<QPushButton*>(u"Button1"_s)->click();
            }
        }
        return true;
    };
    desk.host.App.QueueAnswer({u"yes"_s});
    const auto counts = RunOrderBatch(grid, batch);
    EXPECT_EQ(counts->changed, 150);
    EXPECT_EQ(cds.RecordCount(), 401);
}

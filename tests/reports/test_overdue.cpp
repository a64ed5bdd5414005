#include "framework/frm_Basic.h"
#include "reports/frm_UnAccept.h"
#include "reports/frm_UnRec.h"
#include "tests/orders/OrderScreen.h"
#include "tests/server/conformance/Suite.h"

using namespace Qt::Literals::StringLiterals;
using conformance::TextOf;

TEST(OverdueQueries, AreTheTextsThatEveryDatabaseAnswers)
{
    const auto sums = [](const TOverdueStep& step, const QString& hours) {
        return OverdueSummaryQuery(step, OverdueCondition(step, hours));
    };
    EXPECT_EQ(sums(kNotAccepted, u"0.5"_s), TextOf(u"not accepted for half an hour"_s));
    EXPECT_EQ(sums(kNotPickedUp, u"2"_s), TextOf(u"not picked up for two hours"_s));
    const auto orders = [](const TOverdueStep& step, const QString& hours, const TOverdueGroup& group) {
        return OverdueOrdersQuery(step, OverdueCondition(step, hours), group);
    };
    EXPECT_EQ(orders(kNotAccepted, u"2"_s, {u"安徽"_s, u"合肥市"_s, u"蜀山区"_s, u"合肥一部"_s}),
        TextOf(u"the orders behind a sum of unaccepted ones"_s));
    EXPECT_EQ(orders(kNotPickedUp, u"16"_s, {u"安徽"_s, u"合肥市"_s, u"高新区"_s, u"合肥一部甲站"_s}),
        TextOf(u"the orders behind a sum of those not picked up"_s));
    EXPECT_TRUE(orders(kNotAccepted, u"2"_s, {{}, {}, u"O'区"_s, {}}).contains(u"a.county='O'区' order"_s));
}

namespace {

class OverdueScreen : public OrderScreen<Tfrm_UnRec, OrderDesk> {
protected:
    OverdueScreen()
    {
        desk.orders = {Order(u"TX_LOGISTIC_ID=T1, PIECE=2, STATUS=1"_s)};
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (gone)
                throw wire::Error(wire::ErrorKind::Storage, u"磁盘已满"_s);
            return sqlText.contains(u"count_sum"_s) ? summary : answer(sqlText);
        };
    }

    static wire::RowSet Summary(const std::vector<std::vector<wire::Value>>& rows)
    {
        return MakeRows({{u"PROV"_s, wire::ColumnType::Text}, {u"CITY"_s, wire::ColumnType::Text},
                            {u"COUNTY"_s, wire::ColumnType::Text}, {u"REC_SITE"_s, wire::ColumnType::Text},
                            {u"COUNT_SUM"_s, wire::ColumnType::Integer}},
            rows);
    }
    void OpenMonitor()
    {
        Open();
        sums = Find<TDataView>(u"DataView2"_s)->DataViewGrid;
        cdsSum = Find<TClientDataSetEx>(u"cdsSum"_s);
        pages = Find<QTabWidget>(u"PageControl1"_s);
    }
    // The orders' queries since the last call.
    QStringList TakeOrderQueries()
    {
        const QStringList queries = desk.host.Server.Queries().filter(u"a.* from tab_zelmor_bill"_s);
        desk.host.Server.Requests.clear();
        return queries;
    }
    void DrillDown(int row)
    {
        pages->setCurrentIndex(0);
        cdsSum->SetRecNo(row);
        sums->OnDblClick();
        EXPECT_EQ(pages->currentIndex(), 1);
    }

    wire::RowSet summary = Summary({{u"安徽"_s, u"合肥市"_s, u"蜀山区"_s, u"合肥一部"_s, qint64{3}},
        {u"安徽"_s, u"合肥市"_s, {}, u"合肥一部"_s, qint64{1}},
        {u"江苏"_s, u"南京市"_s, u"鼓楼区"_s, u"南京一部"_s, qint64{5}}});
    bool gone = false;
    TDBGridEh* sums = nullptr;
    TClientDataSetEx* cdsSum = nullptr;
    QTabWidget* pages = nullptr;
};

} // namespace

TEST_F(OverdueScreen, SumsThenListsTheOrdersOfARow)
{
    OpenMonitor();
    EXPECT_TRUE(desk.host.Server.Queries().isEmpty()) << "nothing is asked before the user asks";
    auto* hours = Find<TDBComboBoxEh>(u"DBComboBoxEh1"_s);
    EXPECT_EQ(hours->Text(), u"2"_s);
    EXPECT_EQ(hours->Items(), hours->KeyItems());
    pages->setCurrentIndex(1);
    EXPECT_TRUE(desk.host.Server.Queries().isEmpty()) << "no row to list the orders of";
    Press(u"Button1"_s);
    EXPECT_EQ(pages->currentIndex(), 0);
    EXPECT_EQ(sums->FooterText(0, sums->ColumnIndex(u"COUNT_SUM")), u"总票数"_s);
    EXPECT_EQ(sums->FooterText(1, sums->ColumnIndex(u"COUNT_SUM")), u"9"_s);
    EXPECT_EQ(desk.host.MainForm.SearchTargets.back(), sums);

    DrillDown(1);
    EXPECT_EQ(desk.host.Server.Queries().filter(u"TAB_ZELMOR_BILL_ITEMS"_s).size(), 1);
    EXPECT_EQ(TakeOrderQueries().size(), 1);
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"PIECE")), u"2"_s);
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"STATUS")), u"接单成功"_s);
    EXPECT_EQ(desk.host.MainForm.SearchTargets.back(), grid) << "the search follows the page";
    DrillDown(1);
    EXPECT_TRUE(TakeOrderQueries().isEmpty()) << "read already";
    pages->setCurrentIndex(0);
    const auto* chart = Find<TBarChart>(u"Chart1"_s);
    chart->OnBarClick(chart->Content().bars.front(), 0);
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_TRUE(TakeOrderQueries().value(0).contains(u" and a.county='鼓楼区' and a.rec_site='南京一部' "_s))
        << "the largest";
}

TEST_F(OverdueScreen, KeepsTheRowReadLastAndTheConditionOfItsSummary)
{
    OpenMonitor();
    const auto* whose = Find<QLabel>(u"Whose"_s);
    auto* hours = Find<TDBComboBoxEh>(u"DBComboBoxEh1"_s);
    Press(u"Button1"_s);
    DrillDown(3);
    TakeOrderQueries();
    hours->SetText(u"8"_s);
    Press(u"Button1"_s);
    EXPECT_FALSE(cds->Active());
    DrillDown(3);
    EXPECT_TRUE(TakeOrderQueries().isEmpty());
    EXPECT_FALSE(cds->Active()) << "as users know it";
    EXPECT_TRUE(whose->text().contains(u"请先看另一行"_s)) << "not without a word";

    hours->SetText(u"16"_s); // chosen, not queried
    DrillDown(2);
    EXPECT_TRUE(TakeOrderQueries().value(0).contains(u"(sysdate-(8/24))"_s));
    EXPECT_TRUE(whose->text().contains(u"没有明细"_s)) << "a region without a county";
    gone = true;
    DrillDown(1);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：磁盘已满"_s));
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：磁盘已满"_s));
    EXPECT_EQ(cdsSum->RecordCount(), 3) << "the old summary, whole";
    EXPECT_EQ(Screen->Cursor(), crDefault);
    gone = false;
    DrillDown(1);
    EXPECT_TRUE(TakeOrderQueries().value(0).contains(u"(sysdate-(8/24))"_s))
        << "the condition of the sums shown";

    summary = Summary({});
    Press(u"Button1"_s);
    TakeOrderQueries();
    pages->setCurrentIndex(1);
    EXPECT_TRUE(TakeOrderQueries().isEmpty());
    EXPECT_TRUE(screen->Close());
}

TEST_F(OverdueScreen, TheTwinsDifferByTheSite)
{
    OpenMonitor();
    const Tfrm_Basic* twin = MakeScreen<Tfrm_UnAccept>(&desk.host.App);
    EXPECT_EQ(screen->Caption(), u"未揽件查询"_s);
    EXPECT_EQ(twin->Caption(), u"未接单查询"_s);
    EXPECT_EQ(sums->ColumnIndex(u"REC_SITE"), 3);
    EXPECT_EQ(twin->findChild<TDataView*>(u"DataView2"_s)->DataViewGrid->ColumnIndex(u"REC_SITE"), -1);
}

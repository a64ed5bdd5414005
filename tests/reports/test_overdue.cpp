#include "framework/frm_Basic.h"
#include "reports/frm_UnAccept.h"
#include "reports/frm_UnRec.h"
#include "tests/orders/OrderDesk.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

TEST(OverdueQueries, AreWordedAsTheServerKnowsThem)
{
    struct Case {
        const TOverdueStep& step;
        QString hours, summary, orders;
    };
    const TOverdueGroup group{u"安徽"_s, u"合肥市"_s, u"O'区"_s, u"合肥一部"_s};
    for (const Case& c : std::initializer_list<Case>{
             {kNotAccepted, u"0.5"_s,
                 u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.prov,a.city,a.county,count(a.TX_LOGISTIC_ID) as "
                 "count_sum from tab_zelmor_bill a where a.create_date between (sysdate-(0.5/24)-3) and "
                 "(sysdate-(0.5/24)) and a.bl_dispart=1 and a.status=0 and a.prepare_site is not null group "
                 "by a.prov,a.city,a.county order by a.prov,a.city,a.county"_s,
                 u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date "
                 "between (sysdate-(0.5/24)-3) and (sysdate-(0.5/24)) and a.bl_dispart=1 and a.status=0 and "
                 "a.prepare_site is not null and a.prov='安徽' and a.city='合肥市' and a.county='O'区' order "
                 "by a.TX_LOGISTIC_ID"_s},
             {kNotPickedUp, u"2"_s,
                 u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.prov,a.city,a.county,a.rec_site,count(a.TX_"
                 "LOGISTIC_ID) as count_sum from tab_zelmor_bill a where a.create_date between "
                 "(sysdate-(2/24)-3) and (sysdate-(2/24)) and a.bl_dispart=1 and a.status=1 group by "
                 "a.prov,a.city,a.county,a.rec_site order by a.prov,a.city,a.county,a.rec_site"_s,
                 u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date "
                 "between (sysdate-(2/24)-3) and (sysdate-(2/24)) and a.bl_dispart=1 and a.status=1 and "
                 "a.prov='安徽' and a.city='合肥市' and a.county='O'区' and a.rec_site='合肥一部' order by "
                 "a.TX_LOGISTIC_ID"_s},
         }) {
        const QString condition = OverdueCondition(c.step, c.hours);
        EXPECT_EQ(OverdueSummaryQuery(c.step, condition), c.summary);
        EXPECT_EQ(OverdueOrdersQuery(c.step, condition, group), c.orders);
    }
}

namespace {

class OverdueScreen : public OrderScreen<Tfrm_UnRec, OrderDesk> {
protected:
    OverdueScreen()
    {
        desk.orders = {{{u"TX_LOGISTIC_ID"_s, u"T1"_s}, {u"PIECE"_s, 2}, {u"STATUS"_s, 1}}};
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
        sums = screen->findChild<TDataView*>(u"DataView2"_s)->DataViewGrid;
        cdsSum = screen->findChild<TClientDataSetEx*>(u"cdsSum"_s);
        pages = screen->findChild<QTabWidget*>(u"PageControl1"_s);
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
    auto* hours = screen->findChild<TDBComboBoxEh*>(u"DBComboBoxEh1"_s);
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
    const auto* chart = screen->findChild<TBarChart*>(u"Chart1"_s);
    chart->OnBarClick(chart->Content().bars.front(), 0);
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_TRUE(TakeOrderQueries().value(0).contains(u" and a.county='鼓楼区' and a.rec_site='南京一部' "_s))
        << "the largest";
}

TEST_F(OverdueScreen, KeepsTheRowReadLastAndTheConditionOfItsSummary)
{
    OpenMonitor();
    const auto* whose = screen->findChild<QLabel*>(u"Whose"_s);
    auto* hours = screen->findChild<TDBComboBoxEh*>(u"DBComboBoxEh1"_s);
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
    Press(u"Button1"_s);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：磁盘已满"_s));
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

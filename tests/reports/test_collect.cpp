#include "reports/frm_Collect.h"
#include "tests/orders/OrderScreen.h"
#include "tests/server/conformance/Suite.h"

using namespace Qt::Literals::StringLiterals;
using conformance::TextOf;

namespace {

TFiguresCriteria Criteria()
{
    return {
        .from = u"2024-03-04 00:00:00"_s,
        .to = u"2024-03-05 23:59:59"_s,
        .source = u" 洛维卡特"_s,
        .site = u"合肥一部"_s,
        .sites = u"((a.duty_site in ('合肥一部','合肥二部','合肥一部甲站','广州一部')))"_s,
    };
}

} // namespace

TEST(ServiceFigures, AreTheTextsThatEveryDatabaseAnswers)
{
    const TFiguresConditions one = FiguresConditions(Criteria());
    EXPECT_EQ(RegionFiguresQuery(one), TextOf(u"regions of one source"_s));
    EXPECT_EQ(SiteFiguresQuery(one), TextOf(u"figures of one site and source"_s));
    EXPECT_EQ(BackFillStatement(Criteria().from, Criteria().to, u"华东"_s),
        TextOf(u"the back-fill as it stands is refused where it breaks"_s));

    TFiguresCriteria criteria = Criteria();
    criteria.site.clear();
    criteria.source.clear();
    const TFiguresConditions all = FiguresConditions(criteria);
    EXPECT_EQ(RegionFiguresQuery(all), TextOf(u"regions of orders without a responsible site"_s));
    EXPECT_EQ(SiteFiguresQuery(all),
        TextOf(u"figures of the sites: 30 and 120 minutes are in time, 31 and 121 late"_s));
    const std::pair<QString, QString> figures[] = {{u"accept_count"_s, u"广州一部"_s},
        {u"accept_fail_count"_s, u"合肥二部"_s}, {u"rec_count"_s, u"合肥一部"_s},
        {u"send_count"_s, u"合肥一部"_s}, {u"nosend_count"_s, u"合肥一部"_s},
        {u"outtimeaccept_count"_s, u"合肥一部"_s}, {u"outtimerec_count"_s, u"合肥一部"_s},
        {u"norec_count"_s, u"广州一部"_s}, {u"bill_count"_s, u"广州一部"_s},
        {u"noaccept_count"_s, u"广州一部"_s}, {u"nobill_count"_s, u"广州一部"_s},
        {u"mustrec_count"_s, u"合肥一部"_s}};
    for (const auto& [figure, site] : figures)
        EXPECT_EQ(OrdersOfSiteQuery(all, figure, site), TextOf(u"behind "_s + figure));
    EXPECT_EQ(
        OrdersOfSiteQuery(all, u"rec_fail_count"_s, u"合肥二部"_s), TextOf(u"behind accept_fail_count"_s));
    EXPECT_TRUE(
        OrdersOfSiteQuery(all, u"rec_count"_s, u"O'部"_s).endsWith(u"='O'部'order by a.TX_LOGISTIC_ID"_s));
    EXPECT_TRUE(OrdersOfSiteQuery(all, u"mustrec_count"_s, u"O'部"_s)
                    .endsWith(u"='O''部' order by a.TX_LOGISTIC_ID"_s));
    EXPECT_TRUE(OrdersOfSiteQuery(all, u"CITY"_s, u"甲"_s).isEmpty());
    for (const QString& figure : {u"mustrec_count"_s, u"send_count"_s, u"nosend_count"_s})
        EXPECT_EQ(OrdersOfRegionQuery(all, figure, u"广东"_s, u"天河区"_s),
            TextOf(u"behind a region's "_s + figure));
    EXPECT_TRUE(
        OrdersOfRegionQuery(all, u"send_count"_s, u"广东"_s, u"O'区"_s).contains(u"a.county='O''区'"_s));
    EXPECT_TRUE(OrdersOfRegionQuery(all, u"accept_count"_s, u"广东"_s, u"甲"_s).isEmpty());
}

namespace {

class CollectScreen : public OrderScreen<Tfrm_Collect, OrderDesk> {
protected:
    CollectScreen()
    {
        desk.orders = {Order(u"TX_LOGISTIC_ID=T1, STATUS=3"_s)};
        desk.host.AddDataSet(u"area"_s, MakeTextRows({u"AREA_NAME"_s}, {{u"华东区"_s}, {u"华南区"_s}}));
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (!failing.isEmpty() && sqlText.contains(failing))
                throw wire::Error(wire::ErrorKind::Storage, u"磁盘已满"_s);
            if (sqlText.startsWith(u"select a.PROVINCE"_s))
                return regions;
            return sqlText.startsWith(u"select c.area_name"_s) ? sites : answer(sqlText);
        };
        desk.host.Server.OnExecute = [](const QString&) -> qint64 {
            throw wire::Error(wire::ErrorKind::Syntax, u"第1行第399列"_s);
        };
    }

    static wire::RowSet Rows(const QStringList& texts, const QStringList& figures,
        const std::vector<std::vector<wire::Value>>& rows)
    {
        std::vector<wire::ColumnInfo> columns;
        for (const QString& text : texts)
            columns.push_back({text, wire::ColumnType::Text});
        for (const QString& figure : figures)
            columns.push_back({figure, wire::ColumnType::Integer});
        return MakeRows(columns, rows);
    }
    QStringList Sites() const
    {
        QStringList shown;
        for (int row = 0; row < cds->RecordCount(); ++row)
            shown += cds->ViewText(row, cds->FieldIndex(u"duty_site"));
        return shown;
    }
    // The orders' query that a double click on the figure sends, if any; back on the first page.
    QString DrillDown(int row, const QString& figure)
    {
        desk.host.Server.Requests.clear();
        if (cds->Active())
            cds->SetRecNo(row);
        grid->SelectField(figure);
        grid->OnDblClick();
        Find<QTabWidget>(u"PageControl1"_s)->setCurrentIndex(0);
        return desk.host.Server.Queries().value(0);
    }

    wire::RowSet sites = Rows({u"AREA_NAME"_s, u"DUTY_SITE"_s, u"RANGE_NAME"_s, u"PROVINCE"_s, u"CITY"_s},
        {u"mustrec_count"_s, u"NoRec_Count"_s, u"noaccept_count"_s, u"accept_count"_s, u"accept_fail_count"_s,
            u"send_count"_s, u"nosend_count"_s, u"OutTimeAccept_Count"_s, u"OutTimeRec_Count"_s,
            u"rec_fail_count"_s, u"rec_count"_s, u"Nobill_Count"_s, u"bill_Count"_s},
        {{u"华东区"_s, u"浦东一部"_s, u"浦东"_s, u"上海"_s, u"上海市"_s, 9, 2, 1, 7, 1, 4, 5, 3, 2, 1, 6, 2,
             7},
            {u"华南区"_s, u"天河一部"_s, u"天河"_s, u"广东"_s, u"广州市"_s, 5, 1, 0, 5, 0, 2, 3, 1, 1, 0, 4,
                1, 4}});
    wire::RowSet regions = Rows({u"PROVINCE"_s, u"CITY"_s, u"AREA_NAME"_s, u"RANGE_NAME"_s},
        {u"mustrec_count"_s, u"send_count"_s, u"nosend_count"_s},
        {{u"安徽"_s, u"合肥市"_s, u"华东区"_s, u"蜀山区"_s, 3, 1, 2}, {u"安徽"_s, {}, {}, {}, 1, 0, 1}});
    QString failing; // queries that hold this text get no answer
};

} // namespace

TEST_F(CollectScreen, ShowsSitesAndRegionsInOneTable)
{
    Open();
    EXPECT_TRUE(desk.host.Server.Queries().isEmpty());
    auto* area = Find<TDBComboBoxEh>(u"DBComboBoxEh4"_s);
    EXPECT_EQ(area->Items(), QStringList({u"全部"_s, u"华东区"_s, u"华南区"_s}));
    auto* from = Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s);
    EXPECT_EQ(from->Text(), u"2024-01-30 12:00:00"_s);
    from->SetText(u"2023-12-31 11:59:58"_s);
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：结束日期不能超过开始日期\"31\"天！"_s));
    from->SetText(u"2023-12-31 11:59:59"_s);
    Press(u"Button1"_s);
    EXPECT_TRUE(desk.host.Server.Queries().value(1).contains(
        u" and a.bl_dispart=1 and ((a.duty_site in ('浦东一部','浦东二部'))) and a.bl_dispart = 1 ) a left"_s));
    EXPECT_EQ(Sites(), QStringList({u"浦东一部"_s, u"天河一部"_s, u"空"_s, u"空"_s}));
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"mustrec_count")), u"18"_s);
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"accept_count")), u"12"_s);
    EXPECT_EQ(grid->CellText(2, grid->ColumnIndex(u"accept_count")), QString()) << "no figure of regions";
    EXPECT_FALSE(cds->HasUnsavedEdits());

    const auto* chart = Find<TBarChart>(u"Chart1"_s);
    EXPECT_EQ(chart->Content().bars.size(), 2U);
    area->setCurrentIndex(1);
    EXPECT_EQ(chart->Content().bars.size(), 1U) << "the sites shown";
    EXPECT_EQ(Sites(), QStringList({u"浦东一部"_s, u"空"_s}));
    Press(u"Button1"_s);
    EXPECT_EQ(Sites(), QStringList({u"浦东一部"_s, u"空"_s})) << "the area stays chosen";
    area->setCurrentIndex(0);
    EXPECT_EQ(cds->RecordCount(), 4);
    Find<TDBLookupComboboxEh>(u"DBLookupComboboxEh2"_s)->SetText(u"浦东一部"_s);
    Press(u"Button1"_s);
    EXPECT_EQ(cds->RecordCount(), 2) << "no regions beside a chosen site";
    EXPECT_TRUE(screen->Close()) << "nothing to ask about";
}

TEST_F(CollectScreen, ListsTheOrdersBehindAFigure)
{
    Open();
    const QLabel* whose = Find<TDataView>(u"DataView2"_s)->Panel1;
    EXPECT_TRUE(DrillDown(1, u"mustrec_count"_s).isEmpty()) << "no table yet";
    Press(u"Button1"_s);
    Find<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->SetText(u"泽摩"_s); // chosen, not queried
    EXPECT_TRUE(DrillDown(1, u"rec_fail_count"_s).contains(u" and a.status = 2 and"_s));
    EXPECT_TRUE(whose->text().contains(u"列出的是接单失败的订单"_s)) << "not without a word";
    EXPECT_FALSE(DrillDown(1, u"NoBill_Count"_s).contains(u"泽摩"_s)) << "the condition of the table shown";
    EXPECT_TRUE(DrillDown(3, u"send_count"_s).contains(u" and a.PROV='安徽' and a.county='蜀山区' "_s));
    EXPECT_TRUE(DrillDown(4, u"mustrec_count"_s).contains(u" and a.county='' "_s));
    EXPECT_TRUE(whose->text().contains(u"没有明细"_s));
    EXPECT_TRUE(DrillDown(3, u"accept_count"_s).isEmpty());
    EXPECT_TRUE(DrillDown(1, u"CITY"_s).isEmpty());
    desk.host.Server.Requests.clear();
    const auto* chart = Find<TBarChart>(u"Chart1"_s);
    chart->OnBarClick(chart->Content().bars.back(), 1);
    EXPECT_TRUE(
        desk.host.Server.Queries().value(0).contains(u" * 24 * 60) > 30  and a.duty_site='天河一部'"_s));
    Press(u"Button1"_s);
    EXPECT_TRUE(whose->text().contains(u"重新查询以前"_s));
}

TEST_F(CollectScreen, AnErrorInEitherQueryLeavesTheTableWhole)
{
    Open();
    Press(u"Button1"_s);
    regions = Rows({u"PROVINCE"_s}, {}, {});
    for (const QString& query : {u"select a.PROVINCE"_s, u"select c.area_name"_s}) {
        failing = query;
        Find<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->SetText(u"泽摩"_s);
        EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：磁盘已满"_s));
        EXPECT_EQ(cds->RecordCount(), 4);
        EXPECT_FALSE(cds->ControlsDisabled());
        EXPECT_FALSE(DrillDown(1, u"mustrec_count"_s).contains(u"泽摩"_s));
    }
    failing = u"a.* "_s;
    DrillDown(1, u"mustrec_count"_s);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：磁盘已满"_s));
    EXPECT_EQ(Screen->Cursor(), crDefault);
}

TEST_F(CollectScreen, SendsTheBackFillOnceConfirmedAndShowsItsRefusal)
{
    Open();
    desk.host.App.QueueAnswer({u"cancel"_s});
    Press(u"Button2"_s);
    EXPECT_TRUE(desk.host.Server.Requests.empty());
    desk.host.TakeMessages();
    desk.host.App.QueueAnswer({u"ok"_s});
    Press(u"Button2"_s);
    EXPECT_EQ(desk.host.App.ShownMessages().front().caption, u"提示"_s);
    EXPECT_EQ(desk.host.TakeMessages(),
        QStringList(
            {u"是否将已经录单没有接单的订单，把接单网点刷成录单的录入网点？"_s, u"详细：第1行第399列"_s}));
    EXPECT_EQ(desk.host.Server.Requests.back().text,
        BackFillStatement(u"2024-01-30 12:00:00"_s, u"2024-01-31 11:59:59"_s, u"华东区"_s));

    desk.host.Server.OnExecute = [](const QString&) { return 1; };
    desk.host.App.QueueAnswer({u"ok"_s});
    Press(u"Button2"_s);
    EXPECT_EQ(desk.host.TakeMessages().last(), u"详细：刷新接单站点成功！"_s);
}

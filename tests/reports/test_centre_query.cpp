#include "framework/PageLookup.h"
#include "reports/CentreQuery.h"
#include "reports/frm_CenterBillQuery.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kJoined =
    u"(select /*+index(b,TAB_BILL_P)*/ nvl(b.OLD_GOODS_PAYMENT, 0) from tab_bill b where a.bill_code = "
    "b.bill_code and a.tx_logistic_id = b.tx_logistic_id) as Online_price1, nvl((select "
    "/*+index(b,TAB_BILL_P)*/ 1 from tab_bill b where a.bill_code = b.bill_code  and a.tx_logistic_id = "
    "b.tx_logistic_id), 0) as BL_order_status1"_s;
const QString kHead = u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/ a.*,  "_s + kJoined
    + u" from tab_zelmor_bill a where a.CREATE_DATE between to_date('2024-01-30 12:00:00','yyyy-mm-dd "
      "hh24:mi:ss') and to_date('2024-01-31 11:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
const QString kTail = u" order by a.CREATE_DATE desc"_s;

class CentreQuery : public OrderScreen<Tfrm_CenterBillQuery, OrderDesk> {
protected:
    CentreQuery()
    {
        desk.orders = {Order(u"TX_LOGISTIC_ID=T1, STATUS=-1"_s), Order(u"TX_LOGISTIC_ID=T2, STATUS=6"_s)};
        desk.host.Server.OnQuery = [answer = desk.host.Server.OnQuery](const QString& sqlText) {
            wire::RowSet rows = answer(sqlText);
            if (sqlText.contains(u"as BL_order_status1"_s)) {
                const wire::RowSet joined =
                    MakeRows({{.name = u"ONLINE_PRICE1"_s, .type = wire::ColumnType::Number},
                                 {.name = u"BL_ORDER_STATUS1"_s, .type = wire::ColumnType::Integer}},
                        {{{}, 0}, {12.5, 1}}); // of the first there is no waybill
                rows.infos.insert(rows.infos.end(), joined.infos.begin(), joined.infos.end());
                rows.columns.insert(rows.columns.end(), joined.columns.begin(), joined.columns.end());
            }
            return rows;
        };
    }
    void OpenAt(const QString& site, const QString& type)
    {
        desk.host.SetValue(u"site"_s, site);
        desk.host.DataSet(u"loginSite"_s).SetFieldAndPost(u"TYPE", type);
        Open();
    }
    void Choose(const QString& box, const QString& text) { Find<TDBComboBoxEh>(box)->SetText(text); }
    // What the search asks of the orders.
    QString Search()
    {
        desk.host.Server.Requests.clear();
        Press(u"Button1"_s);
        return desk.host.Server.Queries().filter(u"from tab_zelmor_bill"_s).value(0);
    }
};

} // namespace

TEST(CentreQueryText, EachCriterionAlone)
{
    using TTexts = std::vector<std::pair<QStringView, QString>>;
    const std::pair<QStringView, QString> locked{kLockedSites, u"1"_s};
    const std::pair<TTexts, QString> cases[] = {
        {{}, {}},
        {{{u"REC_SITE", u"A"_s}, {u"PREPARE_SITE", u"B"_s}},
            u" and a.REC_SITE='A' and a.PREPARE_SITE like '%;B;%'"_s},
        {{locked, {u"REC_SITE", u"A"_s}, {u"PREPARE_SITE", u"B"_s}},
            u" and (a.REC_SITE='A' or a.PREPARE_SITE like '%;B;%')"_s},
        {{{u"SEND_SITE", u"A"_s}, {u"CANCEL_SITE", u"B"_s}}, u" and a.SEND_SITE='A' and a.CANCEL_SITE='B'"_s},
        {{{u"REC_BILL_MAN", u"甲"_s}, {u"REC_MAN", u"乙"_s}, {u"SEND_MAN", u"丙"_s},
             {u"CANCEL_MAN", u"丁"_s}},
            u" and a.REC_BILL_MAN='甲' and a.REC_MAN='乙' and a.SEND_MAN='丙' and a.CANCEL_MAN='丁'"_s},
        {{{u"BL_CANCEL", u"1"_s}, {u"prov", u"上海"_s}, {u"CANCEL_DESC", u"禁运品"_s}, {u"STATUS", u"4"_s}},
            u" and a.BL_CANCEL=1 and a.prov='上海' and a.CANCEL_DESC='禁运品' and a.STATUS=4"_s},
        {{{u"STATUS", u"-1"_s}}, u" and a.STATUS=-1"_s},
        {{{u"STATUS", u"5"_s}}, u" and a.STATUS in (0, 1, 3, 5, 6)"_s},
        {{{kStatusMember, u"0"_s}}, u" and a.STATUS=0"_s},
        {{{u"STATUS", u"5"_s}, {kStatusMember, u"6"_s}, {u"NAME", u"戊"_s}},
            u" and a.STATUS in (0, 1, 3, 5, 6) and a.STATUS=6 and a.NAME='戊'"_s},
        {{{u"ADDRESS", u"路"_s}, {u"SEND_NAME", u"己"_s}, {u"SEND_ADDRESS", u"街"_s},
             {u"LOGISTICPROVIDERID", u"泽摩"_s}},
            u" and a.ADDRESS like '%路%' and a.SEND_NAME='己' and a.SEND_ADDRESS like '%街%' and "
            "a.LOGISTICPROVIDERID like '%泽摩%'"_s},
        {{{u"LOGISTICPROVIDERID", u"芮讯"_s}}, u" and a.LOGISTICPROVIDERID ='芮讯下单'"_s},
        {{{u"LOGISTICPROVIDERID", u"洛维卡特"_s}}, u" and a.LOGISTICPROVIDERID ='洛维卡特'"_s},
    };
    for (const auto& [texts, fragment] : cases) {
        TOrderCriteria criteria{.from = u"2024-01-30 12:00:00"_s, .to = u"2024-01-31 11:59:59"_s};
        for (const auto& [column, text] : texts)
            criteria.Set(column, text);
        EXPECT_EQ(OrderSearchQuery(CentreQueryCriteria(), criteria, CentreQueryColumns()),
            kHead + fragment + kTail);
    }
    EXPECT_EQ(CentreOrdersByNumber(u"('b','a')"_s, {}),
        u"select /*+index(a,TAB_ZELMOR_BILL_P)*/a.*,  "_s + kJoined
            + u" from tab_zelmor_bill a  where a.TX_LOGISTIC_ID in ('b','a')  and a.bl_dispart=1 order by "
              "a.REC_DATE desc"_s);
    EXPECT_EQ(CentreOrdersByWaybill(u"('b')"_s, u"浦东一部"_s),
        u"select /*+index(a,TAB_ZELMOR_BILL_I)*/a.*, "_s + kJoined
            + u" from tab_zelmor_bill a  where a.BILL_CODE in ('b') and a.PREPARE_SITE like '%;浦东一部;%'"
              "  and a.bl_dispart=1 order by a.REC_DATE desc"_s);
}

TEST_F(CentreQuery, ASiteSeesItsOwnOrdersOnly)
{
    OpenAt(u"浦东一部"_s, u"网点"_s);
    for (const QString& name : {u"DBLookupComboboxEh1"_s, u"DBLookupComboboxEh2"_s}) {
        EXPECT_EQ(Find<TDBLookupComboboxEh>(name)->Text(), u"浦东一部"_s);
        EXPECT_FALSE(Find<QWidget>(name)->isEnabled());
    }
    EXPECT_EQ(
        Search(), kHead + u" and (a.REC_SITE='浦东一部' or a.PREPARE_SITE like '%;浦东一部;%')"_s + kTail);
    Press(u"CheckBox1"_s);
    Find<TDBMemo>(u"Memo1"_s)->setPlainText(u"T1"_s);
    EXPECT_EQ(Search(), CentreOrdersByNumber(u"('T1')"_s, u"浦东一部"_s));
}

// Who is a centre is told by the name for the criteria, by the type for the numbers.
TEST_F(CentreQuery, ACentreChoosesSitesStatusAndSource)
{
    OpenAt(u"上海中心"_s, u"网点"_s);
    EXPECT_TRUE(Find<QWidget>(u"DBLookupComboboxEh1"_s)->isEnabled());
    EXPECT_EQ(Search(), kHead + kTail);
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"STATUS")), u"订单取消"_s);
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"ONLINE_PRICE1")), u"0"_s) << "no waybill";
    EXPECT_EQ(grid->CellText(1, grid->ColumnIndex(u"BL_ORDER_STATUS1")), u"1"_s);
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"ONLINE_PRICE1")), u"12.5"_s);
    Press(u"CheckBox2"_s);
    Find<TDBMemo>(u"Memo1"_s)->setPlainText(u"B1"_s);
    EXPECT_EQ(Search(), CentreOrdersByWaybill(u"('B1')"_s, u"上海中心"_s));
    Press(u"CheckBox2"_s);

    auto* member = Find<TDBComboBoxEh>(u"ComboBox1"_s);
    EXPECT_EQ(member->Items().join(u','), u",等待接单,接单成功,揽件成功,运输途中,派件成功"_s);
    Choose(u"ComboBox1"_s, u"运输途中"_s);
    EXPECT_EQ(Search(), kHead + u" and a.STATUS=5"_s + kTail);
    Choose(u"DBComboBoxEh1"_s, u"订单取消"_s);
    EXPECT_FALSE(member->isEnabled());
    EXPECT_EQ(Search(), kHead + u" and a.STATUS=-1"_s + kTail);
    Choose(u"DBComboBoxEh1"_s, u"等待导出"_s);
    EXPECT_TRUE(member->isEnabled() && member->Text().isEmpty());
    Choose(u"ComboBox1"_s, u"派件成功"_s);
    Choose(u"DBComboBoxEh2"_s, u"芮讯"_s);
    Find<TDBPageLookup_Employee>(u"DBLookupComboboxEh8"_s)->SetText(u"李雷"_s);
    EXPECT_EQ(Search(),
        kHead
            + u" and a.CANCEL_MAN='李雷' and a.STATUS in (0, 1, 3, 5, 6) and a.STATUS=6 and "
              "a.LOGISTICPROVIDERID ='芮讯下单'"_s
            + kTail);

    // The details know no trail.
    desk.host.Server.Requests.clear();
    grid->OnDblClick();
    EXPECT_EQ(Find<QTabWidget>(u"PageControl1"_s)->currentIndex(), 1);
    EXPECT_EQ(desk.host.Server.Queries().filter(u"TAB_ZELMOR_BILL_ITEMS"_s).size(), 1);
    EXPECT_TRUE(desk.host.Server.Queries().filter(u"INSTRUCTION"_s).isEmpty());
    EXPECT_EQ(Find<TDataView>(u"DataView3"_s), nullptr);
}

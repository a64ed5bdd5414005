#include "dispatch/RevocationCriteria.h"
#include "dispatch/RevocationRules.h"
#include "dispatch/frm_CenterBillBack.h"
#include "framework/RowFields.h"
#include "framework/RowRules.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kNoReason = u"详细：撤销订单必须选择撤销原因！"_s;
const QString kReported = u"详细：该订单已在运输中，不能撤消！"_s;

// The source has been told of the pickup of T2 with its waybill B2.
class CenterBillBack : public OrderScreen<Tfrm_CenterBillBack, OrderDesk> {
protected:
    CenterBillBack()
    {
        for (int i = 1; i <= 3; ++i) {
            desk.orders.push_back(Order(
                u"STATUS=3, LOGISTICPROVIDERID=泽摩, PROV=上海, TX_LOGISTIC_ID=T%1, BILL_CODE=B%1"_s.arg(i)));
        }
        desk.host.Server.OnQuery = [answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (!sqlText.contains(u"INFO_CONTENT= 'GOT'"_s))
                return answer(sqlText);
            return MakeTextRows({u"1"_s},
                sqlText == PickupReportedQuery(u"B2"_s, u"T2"_s) ? std::vector<QStringList>{{u"1"_s}}
                                                                 : std::vector<QStringList>{});
        };
    }

    void Revoke(int row, const QString& reason)
    {
        cds->SetRecNo(row);
        cds->Edit();
        SetText(*cds, u"CANCEL_DESC", reason);
        Guarded([this] { cds->Post(); });
    }
    QStringList OrderQueries()
    {
        const QStringList asked = desk.host.Server.Queries().filter(u"from tab_zelmor_bill a where"_s);
        desk.host.Server.Requests.clear();
        return asked;
    }
};

} // namespace

TEST(RevocationQuery, EachCriterionAlone)
{
    const struct {
        QStringView column;
        QString text;
        QString fragment;
    } cases[] = {
        {u"REC_SITE", u"浦东"_s, u" and a.REC_SITE='浦东'"_s},
        {u"PREPARE_SITE", u"浦东"_s, u" and a.PREPARE_SITE like '%;浦东;%'"_s},
        {u"SEND_SITE", u"杭州"_s, u" and a.SEND_SITE='杭州'"_s},
        {u"CANCEL_SITE", u"浦东"_s, u" and a.CANCEL_SITE='浦东'"_s},
        {u"REC_BILL_MAN", u"甲"_s, u" and a.REC_BILL_MAN='甲'"_s},
        {u"REC_MAN", u"乙"_s, u" and a.REC_MAN='乙'"_s},
        {u"SEND_MAN", u"丙"_s, u" and a.SEND_MAN='丙'"_s},
        {u"CANCEL_MAN", u"丁"_s, u" and a.CANCEL_MAN='丁'"_s},
        {u"BL_CANCEL", u"1"_s, u" and a.BL_CANCEL=1"_s},
        {u"prov", u"上海"_s, u" and a.prov='上海'"_s},
        {u"CANCEL_DESC", u"禁运品"_s, u" and a.CANCEL_DESC='禁运品'"_s},
        {u"STATUS", u"-1"_s, u" and a.STATUS=-1"_s},
        {u"NAME", u"O'Hara"_s, u" and a.NAME='O'Hara'"_s},
        {u"ADDRESS", u"南京路"_s, u" and a.ADDRESS like '%南京路%'"_s},
        {u"SEND_NAME", u"戊"_s, u" and a.SEND_NAME='戊'"_s},
        {u"SEND_ADDRESS", u"解放路"_s, u" and a.SEND_ADDRESS like '%解放路%'"_s},
        {u"NAME", u""_s, u""_s},
    };
    const QString head =
        u"select /*+index(a,TAB_ZELMOR_BILL_I5)*/ a.* from tab_zelmor_bill a where a.REC_DATE between "
        "to_date('F','yyyy-mm-dd hh24:mi:ss') and to_date('T','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
    const std::pair<QString, QString> sources[] = {
        {u"泽摩"_s, u" and a.LOGISTICPROVIDERID like '%泽摩%'"_s},
        {u"洛维卡特"_s, u" and a.LOGISTICPROVIDERID  <> '泽摩' "_s},
        {u"运泊通"_s, u" and a.LOGISTICPROVIDERID  <> '泽摩' "_s},
    };
    TOrderCriteria all{.from = u"F"_s, .to = u"T"_s, .byPickupTime = true};
    QString every;
    for (const auto& each : cases) {
        TOrderCriteria one{.from = u"F"_s, .to = u"T"_s, .byPickupTime = true};
        one.Set(each.column, each.text);
        one.Set(u"LOGISTICPROVIDERID", sources[0].first);
        EXPECT_EQ(OrderSearchQuery(RevocationCriteria(), one),
            head + each.fragment + sources[0].second + u" order by a.REC_DATE desc"_s);
        if (!each.text.isEmpty())
            all.Set(each.column, each.text);
        every += each.fragment;
    }
    for (const auto& [source, fragment] : sources) {
        all.Set(u"LOGISTICPROVIDERID", source);
        EXPECT_EQ(OrderSearchQuery(RevocationCriteria(), all),
            head + every + fragment + u" order by a.REC_DATE desc"_s);
    }
    EXPECT_EQ(PickupReportedQuery(u"B'1"_s, u"T1"_s),
        u"select /*+index(a,TAB_ZELMOR_INSTRUCTION_I2)*/ 1 from tab_zelmor_instruction a  where "
        "A.INFO_CONTENT= 'GOT' AND a.bill_code = 'B''1' AND A.TX_LOGISTIC_ID = 'T1'"_s);
}

TEST_F(CenterBillBack, RulesRefuseOrStampEveryPostedRow)
{
    Open();
    desk.host.SetValue(u"site"_s, u"上海中心"_s); // as it is by then
    const struct {
        QString order;
        QString violation{};
        TMessageIcon icon = TMessageIcon::None;
    } cases[] = {
        {u"TX_LOGISTIC_ID=T1, BILL_CODE=B1"_s, kNoReason, TMessageIcon::Information},
        {u"TX_LOGISTIC_ID=T2, BILL_CODE=B2"_s, kNoReason, TMessageIcon::Information},
        {u"TX_LOGISTIC_ID=T2, BILL_CODE=B2, CANCEL_DESC=禁运品"_s, kReported, TMessageIcon::Warning},
        {u"TX_LOGISTIC_ID=T9, BILL_CODE=B2, CANCEL_DESC=禁运品"_s},
        {u"TX_LOGISTIC_ID=T1, CANCEL_DESC=禁运品, STATUS=6, BL_CANCEL=1, CANCEL_SITE=别处, CANCEL_MAN=别人, "
         "CANCEL_DATE=2020-01-01"_s},
    };
    TClientDataSetEx scratch;
    scratch.SetRemoteServer(&desk.host.Connection);
    for (const auto& each : cases) {
        TClientDataSetEx row;
        row.OpenRows(OrderRows({Order(each.order)}));
        row.Edit();
        TRuleViolation told{.message = {}, .icon = TMessageIcon::None};
        try {
            CheckRevocation(row, scratch);
        } catch (const TRuleViolation& violation) {
            told = violation;
        }
        EXPECT_EQ(told.message, each.violation);
        EXPECT_EQ(told.icon, each.icon);
        const bool passes = each.violation.isEmpty();
        EXPECT_EQ(
            FieldsOf(row, u"STATUS BL_CANCEL CANCEL_SITE CANCEL_MAN MODIFIER MODIFY_CODE MODIFY_SITE"_s),
            passes ? u"4|1|上海中心|李雷|李雷|E001|上海中心"_s : u"||||||"_s);
        EXPECT_EQ(TextOf(row, u"CANCEL_DATE").left(10), passes ? u"2024-01-31"_s : QString());
    }
}

TEST_F(CenterBillBack, FindsRevokesIsRefusedAndSaves)
{
    Open();
    EXPECT_EQ(screen->Caption(), u"中心订单撤销"_s);
    EXPECT_EQ(Find<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->Text(), u"泽摩"_s);
    const auto* status = Find<TDBComboBoxEh>(u"DBComboBoxEh1"_s);
    EXPECT_EQ(status->Items().join(u' '),
        u"全部 订单取消 等待接单 接单成功 接单失败 揽件成功 揽件失败 运输途中 派件成功 派件失败"_s);
    EXPECT_EQ(status->KeyItems().join(u' '), u"-2 -1 0 1 2 3 4 5 6 7"_s);
    EXPECT_EQ(Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->Text(), u"2024-01-30 12:00:00"_s);
    EXPECT_EQ(Find<TDBComboBoxEh>(u"DBComboBoxEh4"_s)->Items().value(1), u"上海"_s);
    auto* from = Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s);
    from->SetText(u"2023-12-31 11:59:59"_s);
    Press(u"Button1"_s);
    EXPECT_EQ(OrderQueries().size(), 1) << "31 days to the second";
    from->SetText(u"2023-12-31 11:59:58"_s);
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：结束日期不能超过开始日期\"31\"天！"_s));
    EXPECT_TRUE(desk.host.Server.Requests.empty());
    EXPECT_EQ(cds->RecordCount(), 3);

    // By number, each list in its own order.
    Find<TDBMemo>(u"Memo1"_s)->setPlainText(u" T1 \nT2"_s);
    Press(u"CheckBox1"_s);
    Press(u"Button1"_s);
    Press(u"CheckBox2"_s);
    Press(u"Button1"_s);
    EXPECT_EQ(OrderQueries(),
        QStringList({u"select /*+index(a,TAB_ZELMOR_BILL_P)*/a.* from tab_zelmor_bill a where "
                     "a.TX_LOGISTIC_ID in ('T1','T2') and a.bl_dispart=1 order by a.REC_DATE desc"_s,
            u"select /*+index(a,TAB_ZELMOR_BILL_I)*/a.* from tab_zelmor_bill a where a.BILL_CODE in "
            "('T1','T2') and a.bl_dispart=1 order by a.CREATE_DATE desc"_s}));

    const QString save = screen->SaveButton()->objectName();
    Press(save);
    ExpectBox(u"详细：没有改变任何数据，因此不需要保存！"_s, u"数据保存"_s, TMessageIcon::Warning);
    Revoke(1, u"禁运品"_s);
    EXPECT_EQ(Text(u"STATUS"_s), u"4"_s);
    desk.host.App.QueueAnswer({u"no"_s});
    EXPECT_EQ(Told(u"Button1"_s).size(), 1) << "asks before it drops the edit";
    EXPECT_EQ(cds->ChangeCount(), 1);
    Revoke(2, u"禁运品"_s);
    ExpectBox(kReported, screen->Caption(), TMessageIcon::Warning);
    EXPECT_TRUE(cds->IsEditing());
    cds->Cancel();
    Revoke(1, {});
    ExpectBox(kNoReason, screen->Caption(), TMessageIcon::Information);
    EXPECT_TRUE(cds->IsEditing());
    EXPECT_EQ(grid->SelectedField(), u"CANCEL_DESC"_s);
    cds->Cancel();
    Guarded([this] { cds->Append(); });
    Guarded([this] { cds->Delete(); });
    EXPECT_EQ(cds->RecordCount(), 3);

    Revoke(3, u"禁运品"_s);
    desk.RefuseSaves(u"该记录已被其他用户修改！"_s, 1);
    Press(save);
    EXPECT_TRUE(desk.host.TakeMessages().value(0).startsWith(u"详细："_s));
    EXPECT_EQ(desk.host.Server.Requests.back().maxErrors, 0);
    EXPECT_EQ(cds->ChangeCount(), 2);
    EXPECT_TRUE(Find<QLabel>(u"RefusedReason"_s)->text().contains(u"该记录已被其他用户修改！"_s));
    desk.onSave = nullptr;
    desk.host.Server.Requests.clear();
    Press(save);
    ExpectBox(u"详细：数据保存成功！"_s, screen->Caption(), TMessageIcon::Information);
    EXPECT_TRUE(desk.host.Server.Queries().isEmpty()) << "the list stays";
    EXPECT_EQ(cds->ChangeCount(), 0);
    EXPECT_EQ(Text(u"CANCEL_MAN"_s), u"李雷"_s);
}

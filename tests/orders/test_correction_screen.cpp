#include "framework/NumberListInput.h"
#include "framework/RefusedRows.h"
#include "orders/frm_RecBillQuery.h"
#include "tests/orders/OrderScreen.h"
#include "tests/orders/PickupDesk.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kQuery = u"btQuery"_s;
const QString kSave = u"btSave"_s;

class CorrectionScreen : public OrderScreen<Tfrm_RecBillQuery, PickupDesk> {
protected:
    CorrectionScreen()
    {
        for (int i = 1; i <= 3; ++i) {
            desk.orders.push_back(
                Order(u"STATUS=3, REC_SITE=浦东一部, TX_LOGISTIC_ID=T%1, BILL_CODE=16800000001%1"_s.arg(i)));
        }
    }
    QString LastQuery() { return desk.host.Server.Queries().filter(u"from tab_zelmor_bill "_s).last(); }
    // Types the number into the row and leaves it.
    QStringList Correct(int row, const QString& number)
    {
        if (cds->RecNo() != row)
            cds->SetRecNo(row);
        cds->Edit();
        cds->FieldByName(u"BILL_CODE").SetAsString(number);
        Guarded([this] { cds->Post(); });
        return desk.host.TakeMessages();
    }
};

} // namespace

TEST_F(CorrectionScreen, AsksWithinTheSitesBelowByTimeOrByNumber)
{
    Open();
    EXPECT_EQ(desk.host.Server.Queries(), QStringList(u"select * from tab_zelmor_bill where 1=2"_s));
    const TColumnEh& status = grid->Column(grid->ColumnIndex(u"STATUS"));
    EXPECT_EQ(status.pickList, QStringList({u"接单成功"_s, u"揽件成功"_s, u"揽件失败"_s}));
    for (int i = 0; i < grid->ColumnCount(); ++i)
        EXPECT_EQ(grid->Column(i).readOnly, grid->Column(i).fieldName != u"BILL_CODE"_s) << i;
    const QString own = u" and ((A.REC_SITE in ('浦东一部','浦东二部')))"_s;
    Find<TDBLookupComboboxEh>(u"DBLookupComboboxEh1"_s)->SetText(u"浦东二部"_s);
    Press(kQuery);
    EXPECT_EQ(LastQuery(),
        u"select /*+index(a,TAB_ZELMOR_BILL_I1)*/ * from tab_zelmor_bill a where nvl(a.status, 0)=3  and "
        "a.REC_DATE between to_date('2024-01-31 00:00:00', 'yyyy-mm-dd hh24:mi:ss') and to_date('2024-01-31 "
        "23:59:59', 'yyyy-mm-dd hh24:mi:ss') and a.REC_SITE='浦东二部'"_s
            + own);

    auto* byNumber = Find<TDBCheckBoxEh>(u"CheckBox1"_s);
    auto* memo = Find<TNumberMemo>(u"Memo1"_s);
    byNumber->setChecked(true);
    desk.host.Server.Requests.clear();
    EXPECT_EQ(Told(kQuery), QStringList(u"详细：没有输入任何运单编号！"_s));
    EXPECT_TRUE(desk.host.Server.Requests.empty());
    memo->setPlainText(u" 168000000011\n168000000012 "_s);
    Press(kQuery);
    const QString numbers =
        u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ * from tab_zelmor_bill a where nvl(a.status, 0)=3 "
        " and a.bill_code in('168000000011','168000000012')"_s;
    EXPECT_EQ(LastQuery(), numbers + own);
    desk.host.SetValue(u"site"_s, u"快运本部"_s);
    Press(kQuery);
    EXPECT_EQ(LastQuery(), numbers);

    byNumber->setChecked(false);
    Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->SetText(u"2023-12-31 23:59:58"_s);
    desk.host.Server.Requests.clear();
    EXPECT_EQ(Told(kQuery), QStringList(u"详细：结束日期不能超过开始日期\"31\"天！"_s));
    EXPECT_TRUE(desk.host.Server.Requests.empty());
}

TEST_F(CorrectionScreen, ANumberIsCorrectedSavedAndRefused)
{
    Open();
    Press(kSave);
    EXPECT_EQ(Told(kQuery), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));

    // The number of another order in the list is taken, the one given up for it is not.
    EXPECT_EQ(Correct(1, u"168000000012"_s), QStringList(u"详细：该运单号已使用，请使用新的运单号！"_s));
    EXPECT_EQ(cds->State(), TDataSetState::Edit);
    EXPECT_EQ(grid->SelectedField(), u"BILL_CODE"_s);
    EXPECT_EQ(Correct(1, u"168000000021"_s), QStringList());
    EXPECT_EQ(Correct(2, u"168000000021"_s), QStringList(u"详细：该运单号已使用，请使用新的运单号！"_s));
    EXPECT_EQ(Correct(2, u"168000000011"_s), QStringList());
    desk.failing = u"tab_bill_del"_s;
    EXPECT_EQ(Correct(3, u"168000000023"_s), QStringList(u"详细：与服务器的连接已中断"_s));
    EXPECT_EQ(cds->State(), TDataSetState::Edit) << "waits for another try";
    desk.failing.clear();
    cds->Cancel();

    desk.onSave = [](const wire::ChangeLog& changes) {
        wire::ApplyOutcome outcome = AcceptAll(changes);
        outcome.rows[0] = RejectAll(changes, u"已被修改！"_s).rows[0];
        return outcome;
    };
    Press(kSave);
    ExpectBox(u"详细：保存数据失败"_s, u"数据保存"_s, desk.host.App.ShownMessages().back().icon);
    EXPECT_EQ(cds->ChangeCount(), 1) << "the other order is saved";
    EXPECT_FALSE(Find<TRefusedRows>()->isHidden());
    EXPECT_EQ(SavedFields(desk.saves[0], 1, u"BILL_CODE MODIFIER"_s), u"168000000011|李雷"_s);

    desk.onSave = nullptr;
    desk.host.Server.Requests.clear();
    Press(kSave);
    ExpectBox(u"详细：保存数据成功"_s, u"数据保存"_s, TMessageIcon::Information);
    EXPECT_TRUE(desk.host.Server.Queries().isEmpty()) << "the list stands as it is";
    EXPECT_TRUE(Find<TRefusedRows>()->isHidden());
}

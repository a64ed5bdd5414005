#include "orders/PickupQuery.h"
#include "orders/frm_RecBill.h"
#include "tests/orders/OrderScreen.h"
#include "tests/orders/PickupDesk.h"

#include <QApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kCoupon = u"ZM110000045"_s;

class PickupScreen : public OrderScreen<Tfrm_RecBill, PickupDesk> {
protected:
    PickupScreen()
    {
        desk.orders = {Accepted(u"T1"_s), Accepted(u"T2"_s), Accepted(u"T3"_s)};
        const auto now = wire::DateTime::FromParts(2024, 1, 31, 10, 59);
        desk.coupons[kCoupon] = {now.AddDays(-1), now.AddDays(1), 0, u"10元"_s};
        desk.host.MainForm.show();
    }

    static OrderFields Accepted(const QString& order)
    {
        return Order(u"STATUS=1, BL_CANCEL=0, REC_SITE=浦东一部, TOTAL_WEIGHT=30, TX_LOGISTIC_ID="_s + order);
    }

    // Keys as they come from a keyboard or a scanner: to whatever has the focus.
    void Type(const QString& text)
    {
        for (const QChar character : text)
            QTest::keyClick(Focus(), character.toLatin1());
    }
    void Key(Qt::Key key)
    {
        QTest::keyClick(Focus(), key);
        QCoreApplication::processEvents();
    }
    void Scan(const QString& number)
    {
        Type(number);
        Key(Qt::Key_Return);
    }
    QWidget* Focus() { return QApplication::focusWidget() ? QApplication::focusWidget() : grid; }
};

} // namespace

TEST_F(PickupScreen, OpensOnTodaysAcceptedOrdersAtTheFirstNumber)
{
    Open();
    EXPECT_EQ(screen->Caption(), u"网点揽件"_s);
    EXPECT_TRUE(desk.host.Server.Queries().contains(
        PickupQuery({u"浦东一部"_s, u"2024-01-31 00:00:00"_s, u"2024-01-31 23:59:59"_s, {}})));
    EXPECT_EQ(grid->Column(grid->ColumnIndex(u"STATUS")).pickList,
        QStringList({u"接单成功"_s, u"揽件成功"_s, u"揽件失败"_s}));
    EXPECT_EQ(grid->SelectedField(), u"BILL_CODE"_s);
    EXPECT_EQ(cds->RecNo(), 1);

    Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->SetText(u"2024-01-01 23:59:58"_s);
    desk.host.Server.Requests.clear();
    EXPECT_EQ(Told(u"Button4"_s), QStringList(u"详细：结束日期不能超过开始日期\"30\"天！"_s));
    EXPECT_TRUE(desk.host.Server.Requests.empty());
}

TEST_F(PickupScreen, AScannerAloneRegistersOrderAfterOrder)
{
    Open();
    const QString numbers[] = {u"168000000017"_s, u"168000000025"_s, u"168000000033"_s};
    for (const QString& number : numbers)
        Scan(number);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    EXPECT_EQ(cds->ChangeCount(), 3);
    EXPECT_EQ(cds->RecNo(), 3);
    EXPECT_TRUE(desk.saves.empty());

    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：数据保存成功！"_s));
    ASSERT_EQ(desk.saves.size(), 1u);
    for (size_t row = 0; row < 3; ++row)
        EXPECT_EQ(
            SavedFields(desk.saves[0], row, u"BILL_CODE STATUS REC_MAN"_s), numbers[row] + u"|3|李雷"_s);
    EXPECT_EQ(cds->RecNo(), 3) << "where it stood";
    EXPECT_EQ(grid->SelectedField(), u"BILL_CODE"_s);
}

// After a query that dropped it, a save that was refused, or an undone row, a number is as new.
TEST_F(PickupScreen, NumbersOfBindingsThatAreGoneAreFree)
{
    const QString number = u"168000000017"_s;
    const auto scanFirst = [&] {
        cds->SetRecNo(1);
        grid->SelectField(u"BILL_CODE");
        grid->setFocus();
        Scan(number);
        cds->SetRecNo(1);
        EXPECT_EQ(desk.host.TakeMessages(), QStringList());
        EXPECT_EQ(Fields(u"STATUS BILL_CODE"_s), u"3|"_s + number);
    };
    Open();
    scanFirst();
    desk.host.App.QueueAnswer({u"yes"_s});
    Press(u"Button4"_s);
    desk.host.TakeMessages();
    scanFirst();

    desk.onSave = [](const wire::ChangeLog& changes) { return RejectAll(changes, u"已被修改！"_s); };
    PressSave();
    desk.host.TakeMessages();
    scanFirst();

    cds->UndoCurrentRow();
    cds->SetRecNo(2);
    Scan(number);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList());
    EXPECT_EQ(cds->RecNo(), 3);
}

TEST_F(PickupScreen, TheGoodsFollowTheOrders)
{
    Open();
    CheckGoodsFollow();
}

TEST_F(PickupScreen, ARefusedNumberStaysSelectedUntilAnotherIsScanned)
{
    Open();
    Scan(u"168000000017"_s);
    Scan(u"168000000017"_s);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：该运单号已使用，请使用新的运单号！"_s));
    EXPECT_EQ(cds->RecNo(), 2);
    EXPECT_EQ(cds->State(), TDataSetState::Edit);
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(editor && editor->objectName() == u"CellEditor"_s);
    EXPECT_EQ(editor->selectedText(), u"168000000017"_s);

    Scan(u"12345"_s);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：单号规则错误！"_s));
    Scan(u"168000000025"_s);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    EXPECT_EQ(cds->ChangeCount(), 2);
    EXPECT_EQ(cds->RecNo(), 3);
}

TEST_F(PickupScreen, LeavingTheRowByAnyOtherWayNeedsTheStatus)
{
    Open();
    Type(u"168000000017"_s);
    Key(Qt::Key_Down);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：请修改订单状态！"_s));
    EXPECT_EQ(cds->RecNo(), 1);
    EXPECT_EQ(grid->SelectedField(), u"STATUS"_s);
    Type(u"3"_s);
    Key(Qt::Key_Down);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    EXPECT_EQ(cds->RecNo(), 2);
    EXPECT_EQ(cds->ChangeCount(), 1);
}

TEST_F(PickupScreen, TheCouponIsCheckedWhenItsEditIsLeftAndWhenTheRowIsPosted)
{
    Open();
    auto* coupon = Find<TDBEditEh>(u"DBEditEh1"_s);
    const auto enter = [&](const QString& text) {
        coupon->setFocus();
        coupon->selectAll();
        Type(text);
        Key(Qt::Key_Return);
        EXPECT_EQ(QApplication::focusWidget(), grid) << "back to the orders";
        return desk.host.TakeMessages();
    };
    EXPECT_EQ(enter(u"ZM110000044"_s), QStringList(u"详细：校验码错误，请核实!"_s));
    EXPECT_EQ(enter(u"ZM11000A044"_s), QStringList(u"详细：'A' 不是有效的整数"_s));
    EXPECT_EQ(enter(u"ZM210000045"_s), QStringList(u"详细：不存在此优惠券，请核实!"_s));
    EXPECT_EQ(Text(u"FAVOURABLE_BILL"_s), u"ZM210000045"_s);

    // A window in front, such as the box of a refused save, is no leaving.
    coupon->setFocus();
    QFocusEvent away(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QCoreApplication::sendEvent(coupon, &away);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    Key(Qt::Key_Tab);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：不存在此优惠券，请核实!"_s));

    // The post says it again, and leads back to the coupon.
    grid->SelectField(u"BILL_CODE");
    Scan(u"168000000017"_s);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：不存在此优惠券，请核实!"_s));
    EXPECT_TRUE(coupon->hasFocus());
    EXPECT_EQ(coupon->selectedText(), u"ZM210000045"_s);
    EXPECT_EQ(enter(kCoupon), QStringList());
    Key(Qt::Key_Return);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    EXPECT_EQ(cds->RecNo(), 2);
    EXPECT_TRUE(coupon->Text().isEmpty()) << "the next order has none";
    desk.host.Server.Requests.clear();
    coupon->setFocus();
    Key(Qt::Key_Tab);
    EXPECT_TRUE(desk.host.Server.Requests.empty());
}

TEST_F(PickupScreen, BatchPickupRunsTheRulesForEveryRowAndStopsAtTheFirstRefused)
{
    Open();
    Scan(u"168000000017"_s);
    // Undone, with its number.
    cds->SetRecNo(1);
    cds->Edit();
    cds->FieldByName(u"STATUS").SetAsInteger(1);
    cds->Post();
    EXPECT_EQ(Fields(u"REC_MAN BILL_CODE"_s), u"|168000000017"_s);

    grid->SelectRows({cds->ViewBookmark(0)});
    EXPECT_EQ(Told(u"BatchRecBillButton"_s), QStringList(u"详细：已成功批量揽件！"_s));
    EXPECT_EQ(Fields(u"STATUS REC_MAN"_s), u"3|李雷"_s);
    EXPECT_TRUE(grid->SelectedRows().empty());
    EXPECT_TRUE(desk.saves.empty());

    grid->SelectRows({cds->ViewBookmark(0), cds->ViewBookmark(1), cds->ViewBookmark(2)});
    EXPECT_EQ(Told(u"BatchRecBillButton"_s), QStringList(u"详细：网点揽件一定要输入运单号！"_s));
    EXPECT_EQ(cds->RecNo(), 2);
    EXPECT_EQ(cds->State(), TDataSetState::Edit);
    EXPECT_EQ(grid->SelectedField(), u"BILL_CODE"_s);
    EXPECT_TRUE(grid->SelectedRows().empty());
    EXPECT_FALSE(cds->ControlsDisabled());

    desk.orders.clear();
    cds->Cancel();
    desk.host.App.QueueAnswer({u"yes"_s});
    Press(u"Button4"_s);
    EXPECT_FALSE(Find<QAction>(u"BatchRecBill"_s)->isEnabled());
}

TEST_F(PickupScreen, OrdersCollectedByAColleagueAreListedAndTheListIsReadAgain)
{
    Open();
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));
    Scan(u"168000000017"_s);
    desk.onSave = [](const wire::ChangeLog& changes) {
        return RejectAll(changes, u"该记录已被其他用户修改！"_s);
    };
    desk.orders = {Accepted(u"T9"_s)};
    EXPECT_EQ(PressSave().caption, u"以下泽摩订单揽件失败，其可能被您网点的其它员工揽收！"_s);
    EXPECT_EQ(cds->RecordCount(), 1);
    EXPECT_EQ(cds->ChangeCount(), 0);
}

#include "orders/AcceptQuery.h"
#include "orders/frm_AcceptBill.h"
#include "tests/orders/OrderScreen.h"

#include <QDialog>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

class AcceptScreen : public OrderScreen<Tfrm_AcceptBill, OrderDesk> {
protected:
    AcceptScreen()
    {
        desk.orders = {Waiting(u"T1"_s, u";浦东一部;"_s), Waiting(u"T2"_s, u";浦东一部;浦东二部;"_s),
            Waiting(u"T3"_s, u";浦东二部;"_s)};
    }

    static OrderFields Waiting(const QString& number, const QString& candidates)
    {
        return Order(u"STATUS=0, BL_CANCEL=0, TX_LOGISTIC_ID=%1, PREPARE_SITE=%2"_s.arg(number, candidates));
    }

    void Accept(int recNo)
    {
        cds->SetRecNo(recNo);
        cds->Edit();
        cds->FieldByName(u"STATUS").SetAsInteger(1);
    }
};

} // namespace

TEST_F(AcceptScreen, OpensOnTodaysWaitingOrdersWithWhatABranchMayDo)
{
    Open();
    EXPECT_EQ(screen->Caption(), u"网点接单"_s);
    EXPECT_TRUE(desk.host.Server.Queries().contains(
        FirstAcceptQuery({u"浦东一部"_s, u"2024-01-31 00:00:00"_s, u"2024-01-31 23:59:59"_s, {}, {}, {}})));
    EXPECT_EQ(
        grid->Column(grid->ColumnIndex(u"STATUS")).pickList, QStringList({u"等待接单"_s, u"接单成功"_s}));
    EXPECT_FALSE(Find<QWidget>(u"DBEditEh2"_s)->isVisible());
    // An order that is not offered here stands out.
    TCellParams params;
    grid->OnGetCellParams(grid->Column(1), 0, params);
    EXPECT_NE(params.background, QColor(0xFF, 0xB7, 0xB5));
    grid->OnGetCellParams(grid->Column(1), 2, params);
    EXPECT_EQ(params.background, QColor(0xFF, 0xB7, 0xB5));
    EXPECT_FALSE(Find<QWidget>(u"Legend"_s)->isHidden()) << "says what the colour means";
}

TEST_F(AcceptScreen, AnOrderWithoutAStatusWaitsLikeTheOthers)
{
    desk.orders = {Order(u"TX_LOGISTIC_ID=T1, PREPARE_SITE=;浦东一部;"_s)};
    Open();
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"STATUS")), u"等待接单"_s);
    grid->SelectRows({cds->ViewBookmark(0)});
    Press(u"BatchAcceptBillButton"_s);
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"STATUS")), u"接单成功"_s);
    EXPECT_EQ(Text(u"REC_SITE"_s), u"浦东一部"_s);
}

TEST_F(AcceptScreen, HeadquartersMayRefuseAndSearchByNumberAndSite)
{
    desk.host.SetValue(u"site"_s, u"快运本部"_s);
    Open();
    EXPECT_EQ(grid->Column(grid->ColumnIndex(u"STATUS")).pickList,
        QStringList({u"等待接单"_s, u"接单成功"_s, u"接单失败"_s}));
    Find<TDBEditEh>(u"DBEditEh2"_s)->SetText(u"T9"_s);
    Press(u"Button4"_s);
    EXPECT_TRUE(desk.host.Server.Queries().filter(u"a.TX_LOGISTIC_ID='T9'"_s).size() == 1);
}

TEST_F(AcceptScreen, ARangeOfMoreThanThirtyDaysAsksNothing)
{
    Open();
    Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->SetText(u"2024-01-01 23:59:58"_s);
    desk.host.Server.Requests.clear();
    EXPECT_EQ(Told(u"Button4"_s), QStringList(u"详细：结束日期不能超过开始日期\"30\"天！"_s));
    EXPECT_TRUE(desk.host.Server.Requests.empty());
    EXPECT_EQ(cds->RecordCount(), 3);
}

TEST_F(AcceptScreen, BatchAcceptanceTakesTheSelectedRowsAndStopsAtTheFirstRefused)
{
    Open();
    Find<TDBPageLookup_Employee>(u"DBPageLookup_Employee1"_s)->SetText(u"韩梅梅"_s);
    grid->SelectRows({cds->ViewBookmark(0), cds->ViewBookmark(1)});
    EXPECT_EQ(Told(u"BatchAcceptBillButton"_s), QStringList(u"详细：已成功批量接单！"_s));
    EXPECT_EQ(cds->ChangeCount(), 2);
    EXPECT_TRUE(grid->SelectedRows().empty());
    EXPECT_TRUE(Find<TDBPageLookup_Employee>(u"DBPageLookup_Employee1"_s)->Text().isEmpty());
    EXPECT_TRUE(desk.saves.empty());

    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：数据保存成功！"_s));
    ASSERT_EQ(desk.saves.size(), 1u);
    for (size_t row = 0; row < 2; ++row)
        EXPECT_EQ(SavedFields(desk.saves[0], row, u"STATUS REC_SITE REC_GOODS_MAN MODIFIER"_s),
            u"1|浦东一部|韩梅梅|李雷"_s);

    // The third order is another site's: its rule stops the loop, and says why.
    grid->SelectRows({cds->ViewBookmark(2), cds->ViewBookmark(0)});
    Press(u"BatchAcceptBillButton"_s);
    const QStringList messages = desk.host.TakeMessages();
    EXPECT_TRUE(messages.contains(u"详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！"_s));
    EXPECT_FALSE(messages.contains(u"详细：已成功批量接单！"_s));
    EXPECT_TRUE(grid->SelectedRows().empty());
}

TEST_F(AcceptScreen, OrdersLostToAnotherSiteAreListedAndTheListIsReadAgain)
{
    Open();
    Accept(1);
    cds->Post();
    Accept(2); // the save posts it
    desk.onSave = [](const wire::ChangeLog& changes) {
        wire::ApplyOutcome outcome = AcceptAll(changes);
        outcome.rows[1] = RejectAll(changes, u"该记录已被其他用户修改！"_s).rows[1];
        return outcome;
    };
    desk.orders = {Waiting(u"T9"_s, u";浦东一部;"_s)};
    const FailureList failures = PressSave();
    EXPECT_EQ(failures.caption, u"以下泽摩订单接单失败，其可能被其它网点接单！"_s);
    ASSERT_EQ(failures.rows.size(), 2);
    EXPECT_TRUE(failures.rows[1].contains(u"T2"_s)) << qUtf8Printable(failures.rows[1]);
    EXPECT_TRUE(failures.rows[1].contains(u"该记录已被其他用户修改！"_s));
    EXPECT_EQ(cds->RecordCount(), 1);
    EXPECT_EQ(cds->ChangeCount(), 0);
    EXPECT_FALSE(Find<TClientDataSetEx>(u"cdsErr"_s)->Active());
}

TEST_F(AcceptScreen, TransferRewritesTheCandidatesOfAWaitingOrder)
{
    Open();
    cds->SetRecNo(1);
    desk.host.App.QueueAnswer({u"cancel"_s});
    Press(u"Button2"_s);
    EXPECT_EQ(cds->ChangeCount(), 0);

    // A name that the list does not know goes as typed.
    desk.host.App.QueueAnswer({u"徐汇一部"_s});
    Press(u"Button2"_s);
    EXPECT_EQ(Text(u"PREPARE_SITE"_s), u";徐汇一部;"_s);
    EXPECT_EQ(cds->ChangeCount(), 1);

    // ";浦东一部;浦东二部;" keeps one name and two semicolons of its own.
    cds->SetRecNo(2);
    desk.host.App.QueueAnswer({QString(193, u'甲')});
    Press(u"Button2"_s);
    EXPECT_EQ(Text(u"PREPARE_SITE"_s).size(), 200);
    EXPECT_EQ(cds->ChangeCount(), 2);
    cds->UndoCurrentRow();
    desk.host.App.QueueAnswer({QString(194, u'乙')});
    EXPECT_EQ(Told(u"Button2"_s),
        QStringList(u"详细：转单以后\"可接单网点\"长度为\"201\"，超过\"200\"个字符的最大长度！"_s));
    EXPECT_EQ(cds->ChangeCount(), 1);

    cds->SetRecNo(3);
    cds->Edit();
    cds->FieldByName(u"STATUS").SetAsInteger(1);
    EXPECT_EQ(Told(u"Button2"_s), QStringList(u"详细：转单时\"状态\"必须为\"等待接单\"状态！"_s));
}

TEST_F(AcceptScreen, EveryFifteenMinutesTheListIsReadAgainUnlessItHoldsChanges)
{
    Open();
    const auto tick = [this](int times) {
        auto* timer = Find<QTimer>(u"Timer1"_s);
        ASSERT_EQ(timer->interval(), 60'000);
        // Due at once, as often as asked.
        timer->setSingleShot(true);
        QSignalSpy due(timer, &QTimer::timeout);
        for (int i = 0; i < times; ++i) {
            timer->start(0);
            while (due.size() <= i)
                QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        timer->setInterval(60'000);
    };
    desk.orders = {Waiting(u"T9"_s, u";浦东一部;"_s)};
    tick(14);
    EXPECT_EQ(cds->RecordCount(), 3);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    tick(1);
    EXPECT_EQ(cds->RecordCount(), 1);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：您还有未接单泽摩订单，请尽快处理！"_s));

    // Not under a dialog, which speaks of the order that it was opened on.
    QDialog dialog(screen);
    dialog.setModal(true);
    dialog.show();
    desk.orders.push_back(Waiting(u"T8"_s, u";浦东一部;"_s));
    tick(16);
    EXPECT_EQ(cds->RecordCount(), 1);
    EXPECT_TRUE(desk.host.TakeMessages().isEmpty());
    dialog.hide();
    tick(1);
    EXPECT_EQ(cds->RecordCount(), 2);
    EXPECT_EQ(desk.host.TakeMessages().size(), 1);

    const auto answer = desk.host.Server.OnQuery;
    desk.host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Connection, u"gone"_s);
    };
    tick(15);
    EXPECT_EQ(cds->RecordCount(), 2) << "nobody asked for an empty list";
    EXPECT_EQ(desk.host.TakeMessages().size(), 1);
    desk.host.Server.OnQuery = answer;

    Accept(1);
    cds->Post();
    desk.orders.clear();
    tick(15);
    EXPECT_EQ(cds->RecordCount(), 2) << "changes would have been lost";
    EXPECT_EQ(desk.host.TakeMessages().size(), 1);
}

// An order that breaks them all: put right one by one, the rules speak in their order, and stamp what is
// theirs.
TEST_F(AcceptScreen, TheRulesAreOneChain)
{
    Open();
    cds->SetRecNo(3);
    const auto post = [&](const char16_t* field, const wire::Value& value) {
        cds->Edit();
        cds->FieldByName(QStringView(field)).SetValue(value);
        Guarded([this] { cds->Post(); });
        return desk.host.TakeMessages();
    };
    cds->Edit();
    cds->FieldByName(u"REC_GOODS_MAN").SetAsString(u"韩梅梅"_s);
    cds->FieldByName(u"DESTINATION").SetAsString(u"无此网点"_s);
    EXPECT_EQ(post(u"STATUS", 2), QStringList(u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s));
    EXPECT_EQ(Text(u"REC_GOODS_MAN"_s), u"韩梅梅"_s);
    EXPECT_EQ(grid->SelectedField(), u"CANCEL_DESC"_s);
    EXPECT_EQ(post(u"CANCEL_DESC", u"禁运品"_s),
        QStringList(u"详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！"_s));
    EXPECT_TRUE(Text(u"REC_GOODS_MAN"_s).isEmpty());
    EXPECT_EQ(Text(u"DESTINATION"_s), u"无此网点"_s) << "a later rule's";
    EXPECT_EQ(post(u"PREPARE_SITE", u";浦东一部;"_s), QStringList());
    EXPECT_TRUE(Text(u"DESTINATION"_s).isEmpty());
    EXPECT_EQ(Fields(u"REC_SITE CANCEL_MAN MODIFIER"_s), u"浦东一部|李雷|李雷"_s);

    EXPECT_EQ(post(u"DESTINATION", u"浦东二部"_s), QStringList());
    EXPECT_EQ(Text(u"DESTINATION"_s), u"浦东二部"_s) << "a site of the list";
    EXPECT_EQ(post(u"STATUS", 0), QStringList());
    EXPECT_EQ(Fields(u"CANCEL_DESC REC_SITE"_s), u"|"_s);
}

TEST_F(AcceptScreen, TheGoodsFollowTheOrders)
{
    Open();
    CheckGoodsFollow();
}

TEST_F(AcceptScreen, IsTheActiveScreenAgainAfterAPicker)
{
    desk.host.MainForm.show();
    Open();
    EXPECT_EQ(desk.host.Scr.ActiveForm(), screen);
    desk.host.App.QueueAnswer({u"cancel"_s});
    Press(u"Button2"_s);
    QCoreApplication::processEvents();
    EXPECT_EQ(desk.host.Scr.ActiveForm(), screen);
}

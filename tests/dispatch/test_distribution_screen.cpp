#include "dispatch/frm_UnDispartBill.h"
#include "framework/frm_Progress.h"
#include "tests/orders/OrderScreen.h"

#include <QGroupBox>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kSave = u"Button2"_s;
const QString kOffer = u"Button3"_s;
const QString kMatch = u"SpeedButton3"_s;

class DistributionScreen : public OrderScreen<Tfrm_UnDispartBill, OrderDesk> {
protected:
    DistributionScreen()
    {
        for (int i = 1; i <= 3; ++i) {
            desk.orders.push_back(Order(
                u"STATUS=0, BL_CANCEL=0, SEND_PROV=广东省, TX_LOGISTIC_ID=T%1, PIECE=%1, SEND_ADDRESS=人民路%1号"_s
                    .arg(i)));
        }
        auto* tree = new TTreeView(&desk.host.MainForm, u"AllSiteTree"_s);
        desk.host.MainForm.Trees.push_back(tree);
        auto* centre = new QTreeWidgetItem(tree, QStringList(u"上海中心"_s));
        for (const QString& site : {u"浦东一部"_s, u"浦东二部"_s, QString(196, u'长')})
            new QTreeWidgetItem(centre, QStringList(site));
        // Areas know the even house numbers.
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (gone && sqlText.contains(u"a.STARTNO <= 2"_s))
                throw wire::Error(wire::ErrorKind::Connection, u"连接已中断"_s);
            if (sqlText.contains(u"TAB_QRYKEY"_s)) {
                return MakeTextRows({u"KEYWORD"_s},
                    {{sqlText.contains(u"-2"_s)         ? u"镇"_s
                            : sqlText.contains(u"-1"_s) ? u"路"_s
                                                        : u"号"_s}});
            }
            if (sqlText.contains(u"TAB_AREA_DETAIL"_s)) {
                return MakeTextRows({u"SITE_NAME"_s},
                    sqlText.contains(u"(0,2)"_s) ? std::vector<QStringList>{{u"天河一部"_s}}
                                                 : std::vector<QStringList>{});
            }
            if (sqlText.contains(u"tab_county"_s)) {
                return MakeTextRows({u"COUNTY_NAME"_s, u"PROVINCE"_s, u"CITY_NAME"_s, u"MAIL_CODE"_s},
                    {{u"天河区"_s, u"广东省"_s, u"广州市"_s, u"510000"_s}});
            }
            return answer(sqlText);
        };
    }

    void OpenWithOrders()
    {
        Open();
        Press(u"Button1"_s);
        ASSERT_EQ(cds->RecordCount(), 3);
    }
    void Key(Qt::Key key)
    {
        grid->setFocus();
        QTest::keyClick(grid, key);
    }
    QColor Background(int row)
    {
        TCellParams params;
        grid->OnGetCellParams(grid->Column(1), row, params);
        return params.background;
    }

    bool gone = false; // the server, at the second order
};

} // namespace

TEST_F(DistributionScreen, AsksForTheCountiesFirstAndForOrdersWhenTold)
{
    Open();
    EXPECT_EQ(desk.host.Server.Queries(), QStringList(u"select * from tab_county"_s));
    EXPECT_EQ(screen->QueryButton()->objectName(), u"Button1"_s);
    EXPECT_EQ(screen->SaveButton()->objectName(), kSave);
    EXPECT_TRUE(screen->QueryButton()->isHidden() && screen->SaveButton()->isHidden());
    EXPECT_EQ(Told(kOffer), QStringList(u"详细：没有任何泽摩订单！"_s));
    EXPECT_TRUE(Told(kMatch).isEmpty());

    auto* county = Find<TDBLookupComboboxEh>(u"DBLookupComboboxEh1"_s);
    county->setFocus();
    county->SetText(u"天"_s);
    QTest::keyClick(county, Qt::Key_Return);
    EXPECT_EQ(county->Text(), u"天河区"_s);
    auto* from = Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s);
    from->SetText(u"2024-01-28 23:59:58"_s);
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：结束日期不能超过开始日期\"3\"天！"_s));
    EXPECT_FALSE(cds->Active());
    from->SetText(u"2024-01-28 23:59:59"_s);
    Press(u"Button1"_s);
    EXPECT_TRUE(desk.host.Server.Queries()
                    .filter(u"from tab_zelmor_bill"_s)
                    .last()
                    .contains(u" is null and COUNTY='天河区' order by"_s));
    EXPECT_TRUE(desk.host.Server.Queries().last().contains(u"'T1'"_s)) << "the first order's goods";
    const auto* goods = qobject_cast<QGroupBox*>(Find<TDataView>(u"DataView2"_s)->parentWidget());
    EXPECT_TRUE(goods && goods->title() == u"发货商品信息"_s);
    EXPECT_EQ(grid->FooterText(0, grid->ColumnIndex(u"PIECE")), u"总件数"_s);
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"PIECE")), u"6"_s);
}

TEST_F(DistributionScreen, OffersAnOrderToTheSitesChecked)
{
    OpenWithOrders();
    desk.host.App.QueueAnswer({u"浦东一部"_s, u"浦东二部"_s});
    grid->OnDblClick();
    EXPECT_EQ(Text(u"PREPARE_SITE"_s), u";浦东一部;浦东二部;"_s);
    EXPECT_EQ(Text(u"MODIFIER"_s), u"李雷"_s);
    desk.host.App.QueueAnswer({u"ok"_s});
    Press(kOffer);
    EXPECT_EQ(Text(u"PREPARE_SITE"_s), u";浦东一部;浦东二部;"_s) << "as checked before";
    desk.host.App.QueueAnswer({u"浦东一部"_s, QString(196, u'长')});
    EXPECT_EQ(
        Told(kOffer), QStringList(u"详细：您选择的网点列表长度为\"203\"，超过\"200\"个字符的最大长度！"_s));
    EXPECT_EQ(Text(u"PREPARE_SITE"_s), u";浦东一部;浦东二部;"_s);
    desk.host.App.QueueAnswer({u"cancel"_s});
    Press(kOffer);
    EXPECT_TRUE(Text(u"PREPARE_SITE"_s).isEmpty());
    EXPECT_FALSE(cds->IsEditing());
    EXPECT_EQ(desk.host.MainForm.Notices.size(), 1) << "not without a word";
    Guarded([this] { cds->Append(); });
    Guarded([this] { cds->Delete(); });
    EXPECT_EQ(cds->RecordCount(), 3);
}

TEST_F(DistributionScreen, KeysOfTheStatusColumnRefuseAndUndo)
{
    OpenWithOrders();
    grid->SelectField(u"ADDRESS");
    Key(Qt::Key_2);
    EXPECT_EQ(Text(u"STATUS"_s), u"0"_s) << "another column";
    grid->SelectField(u"STATUS");
    Key(Qt::Key_1);
    EXPECT_FALSE(cds->IsEditing()) << "nothing to change";
    Key(Qt::Key_2);
    EXPECT_EQ(Text(u"STATUS"_s), u"2"_s);
    EXPECT_EQ(Told(kSave), QStringList(u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s));
    EXPECT_TRUE(cds->IsEditing());
    EXPECT_EQ(grid->SelectedField(), u"CANCEL_DESC"_s);
    cds->FieldByName(u"CANCEL_DESC").SetAsString(u"禁运品"_s);
    cds->Post();
    EXPECT_EQ(Text(u"CANCEL_MAN"_s), u"李雷"_s);
    grid->SelectField(u"STATUS");
    Key(Qt::Key_1);
    cds->Post();
    EXPECT_TRUE(Text(u"CANCEL_DESC"_s).isEmpty());
}

TEST_F(DistributionScreen, MatchesEveryOrderAndKeepsWhatItHasWhenTheServerGoes)
{
    desk.orders.insert(
        desk.orders.begin(), Order(u"TX_LOGISTIC_ID=T4, SEND_SITE=旧, SEND_ADDRESS=人民路4号"_s));
    Open();
    Press(u"Button1"_s);
    for (int click = 0; click < 2; ++click)
        grid->ClickTitle(grid->ColumnIndex(u"SEND_SITE")); // descending; the matching moves no row away
    gone = true;
    EXPECT_EQ(Told(kMatch), QStringList(u"详细：连接已中断"_s));
    EXPECT_EQ(cds->ChangeCount(), 1);
    EXPECT_FALSE(cds->ControlsDisabled());
    EXPECT_EQ(Screen->Cursor(), crDefault);

    gone = false;
    desk.host.Server.Requests.clear();
    desk.host.MainForm.show();
    desk.host.MainForm.activateWindow();
    Press(kMatch);
    EXPECT_TRUE(desk.host.MainForm.isActiveWindow()) << "Ctrl+S would go nowhere";
    desk.host.App.QueueAnswer({u"浦东一部"_s});
    Press(kOffer);
    EXPECT_TRUE(desk.host.MainForm.isActiveWindow());
    EXPECT_EQ(desk.host.Server.Queries().filter(u"TAB_QRYKEY"_s).size(), 12);
    QStringList sites;
    for (const QString& order : {u"T1"_s, u"T2"_s, u"T3"_s, u"T4"_s}) {
        cds->Locate(u"TX_LOGISTIC_ID", {order});
        sites += Text(u"SEND_SITE"_s);
    }
    EXPECT_EQ(sites, QStringList({{}, u"天河一部"_s, {}, u"天河一部"_s}));
    EXPECT_TRUE(desk.saves.empty());
}

TEST_F(DistributionScreen, MatchingCanBeCancelledBetweenOrders)
{
    for (OrderFields& order : desk.orders)
        order[u"SEND_ADDRESS"_s] = u"人民路8号"_s;
    OpenWithOrders();
    desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
        for (TForm* form : desk.host.Scr.Forms()) {
            if (qobject_cast<Tfrm_Progress*>(form))
                form->findChild<QPushButton*>(u"Button1"_s)->click();
        }
        return answer(sqlText);
    };
    Press(kMatch);
    EXPECT_EQ(cds->ChangeCount(), 1);
}

TEST_F(DistributionScreen, ARefusedSaveKeepsAllAndMarksWhatWasRefusedAndWhy)
{
    OpenWithOrders();
    for (int row = 1; row <= 2; ++row) {
        cds->SetRecNo(row);
        desk.host.App.QueueAnswer({u"浦东一部"_s});
        Press(kOffer);
    }
    const QColor plain = Background(0);
    auto* reason = Find<QLabel>(u"RefusedReason"_s);
    desk.RefuseSaves(u"该记录已被其他用户修改！"_s, 1);
    Press(kSave);
    const QStringList told = desk.host.TakeMessages();
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told[0].startsWith(u"详细："_s) && told[0].contains(u"该记录已被其他用户修改！"_s));
    EXPECT_EQ(cds->ChangeCount(), 2);
    EXPECT_EQ(desk.host.Server.Requests.back().maxErrors, 0);
    EXPECT_EQ(Background(0), plain);
    EXPECT_NE(Background(1), plain);
    EXPECT_TRUE(reason->text().contains(u"该记录已被其他用户修改！"_s));
    cds->SetRecNo(1);
    EXPECT_TRUE(reason->isHidden());
    cds->SetRecNo(2);
    EXPECT_FALSE(reason->isHidden());
    cds->UndoCurrentRow();
    EXPECT_EQ(Background(1), plain);
    EXPECT_TRUE(Find<QWidget>(u"RefusedRows"_s)->isHidden()) << "nothing is refused any more";

    desk.onSave = nullptr;
    EXPECT_EQ(Told(kSave), QStringList(u"详细：数据保存成功！"_s));
    EXPECT_EQ(Told(kSave), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));
}

#include "module/data/LayoutStorage.h"
#include "module/data/dm_GlobalData.h"
#include "reports/frm_BillQuery.h"
#include "tests/orders/OrderDesk.h"

#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

wire::RowSet Trail()
{
    return MakeTextRows({u"infos"_s, u"create_date"_s, u"POST_FLAG"_s, u"post_time"_s},
        {{u"揽收成功"_s, u"2024-01-31 09:00:00"_s, u"1"_s, {}}});
}

class QueryScreen : public ::testing::Test {
protected:
    QueryScreen()
    {
        for (const QString& order : {u"T1, LOGISTICPROVIDERID=泽摩"_s, u"T2, LOGISTICPROVIDERID=运泊通"_s,
                 u"T3, LOGISTICPROVIDERID=芮讯下单"_s})
            desk.orders.push_back(
                Order(u"BILL_CODE=B1, PROV=上海, PIECE=2, STATUS=10, TX_LOGISTIC_ID="_s + order));
        // The main connection answers as the desk does; the second one keeps the marketplace's messages.
        desk.host.Connection2.SetTransport(second.MakeTransport());
        desk.host.Connection2.Open(u"test"_s, u"test"_s);
        second.Requests.clear();
        dm_GlobalData->QueryConnection = &desk.host.Connection2;
        second.OnQuery = [](const QString&) { return Trail(); };
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            return sqlText.contains(u"TAB_ZELMOR_INSTRUCTION"_s) ? Trail() : answer(sqlText);
        };
    }

    void Open()
    {
        desk.host.MainForm.resize(1280, 800);
        desk.host.MainForm.show();
        screen = MakeScreen<Tfrm_BillQuery>(&desk.host.App);
        screen->Show();
        QCoreApplication::processEvents();
        grid = screen->findChild<TDataView*>(u"DataView1"_s)->DataViewGrid;
        pages = screen->findChild<QTabWidget*>(u"PageControl1"_s);
        desk.host.TakeMessages();
        desk.host.Server.Requests.clear();
    }
    template <typename T> T* Control(const QString& name)
    {
        T* control = screen->findChild<T*>(name);
        EXPECT_NE(control, nullptr) << name.toStdString();
        return control;
    }
    TClientDataSetEx& DataSet(const QString& name) { return *Control<TClientDataSetEx>(name); }
    void Search()
    {
        desk.host.Server.Requests.clear();
        Control<QPushButton>(u"Button1"_s)->click();
    }
    QStringList OrderQueries() const { return desk.host.Server.Queries().filter(u"from tab_zelmor_bill"_s); }
    // Real clicks, so that whatever stands between mouse and handler is part of it.
    void DoubleClick(int row)
    {
        const QPoint place =
            grid->visualRect(grid->model()->index(row, grid->ColumnIndex(u"TX_LOGISTIC_ID"))).center();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, place);
        QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, place);
    }

    TFakeServer second; // behind the host's second connection
    OrderDesk desk;
    Tfrm_BillQuery* screen = nullptr;
    TDBGridEh* grid = nullptr;
    QTabWidget* pages = nullptr;
};

} // namespace

TEST_F(QueryScreen, OpensOnYesterdayNoonForTheOwnSite)
{
    Open();
    EXPECT_EQ(screen->Caption(), u"泽摩订单查询"_s);
    EXPECT_EQ(Control<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->Text(), u"2024-01-30 12:00:00"_s);
    EXPECT_EQ(Control<TDBDateTimeEditEh>(u"DBDateTimeEditEh2"_s)->Text(), u"2024-01-31 11:59:59"_s);
    EXPECT_EQ(Control<TDBLookupComboboxEh>(u"DBLookupComboboxEh2"_s)->Text(), u"浦东一部"_s);
    EXPECT_FALSE(Control<QCheckBox>(u"CheckBox3"_s)->isEnabled()) << "the site is no centre";
    EXPECT_EQ(pages->currentIndex(), 0);
    EXPECT_FALSE(DataSet(u"cds"_s).Active()) << "nothing is asked for before the user asks";
    const auto* provinces = Control<TDBComboBoxEh>(u"DBComboBoxEh4"_s);
    EXPECT_EQ(provinces->Items(), QStringList({u"全部"_s, u"上海"_s, u"上海"_s, u"上海"_s}));
    EXPECT_FALSE(provinces->isVisible());
    const auto* status = Control<TDBComboBoxEh>(u"DBComboBoxEh1"_s);
    EXPECT_EQ(status->Items(),
        QStringList({u"全部"_s, u"泽摩取消"_s, u"等待接单"_s, u"接单成功"_s, u"接单失败"_s, u"揽件成功"_s,
            u"揽件失败"_s, u"运输途中"_s, u"派件成功"_s, u"派件失败"_s}));
    EXPECT_EQ(status->KeyItems(),
        QStringList({u"-2"_s, u"-1"_s, u"0"_s, u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"6"_s, u"7"_s}));
    EXPECT_EQ(screen->QueryButton(), Control<QPushButton>(u"Button1"_s));
    EXPECT_FALSE(screen->QueryButton()->isVisible());
}

TEST_F(QueryScreen, EveryBoxReachesTheQuery)
{
    desk.host.DataSet(u"loginSite"_s).SetFieldAndPost(u"TYPE", u"一级中心"_s);
    Open();
    ASSERT_TRUE(Control<QCheckBox>(u"CheckBox3"_s)->isEnabled());
    Control<QCheckBox>(u"CheckBox3"_s)->setChecked(true);
    Control<QRadioButton>(u"rbrdo3"_s)->setChecked(true);
    for (const auto& [name, text] :
        std::initializer_list<std::pair<QString, QString>>{{u"DBLookupComboboxEh1"_s, u"接件网点"_s},
            {u"DBLookupComboboxEh2"_s, u"上海中心 "_s}, {u"DBLookupComboboxEh3"_s, u"派件网点"_s},
            {u"DBLookupComboboxEh4"_s, u"撤单网点"_s}, {u"dbl1"_s, u"责任网点"_s},
            {u"DBLookupComboboxEh5"_s, u"甲"_s}, {u"DBLookupComboboxEh6"_s, u"乙"_s},
            {u"DBLookupComboboxEh7"_s, u"丙"_s}, {u"DBLookupComboboxEh8"_s, u"丁"_s}})
        Control<TDBLookupComboboxEh>(name)->SetText(text);
    for (const auto& [name, text] :
        std::initializer_list<std::pair<QString, QString>>{{u"edt_1"_s, u"W1"_s}, {u"DBEditEh1"_s, u"戊"_s},
            {u"DBEditEh2"_s, u"南京路"_s}, {u"DBEditEh3"_s, u"己"_s}, {u"DBEditEh4"_s, u"解放路"_s}})
        Control<TDBEditEh>(name)->SetText(text);
    Control<QCheckBox>(u"DBCheckBoxEh1"_s)->setChecked(true);
    Control<TDBComboBoxEh>(u"DBComboBoxEh1"_s)->SetText(u"泽摩取消"_s);
    Control<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->SetText(u"运泊通"_s);
    Control<TDBComboBoxEh>(u"DBComboBoxEh3"_s)->SetText(u"揽收预约时间超范围,无法协商"_s);
    Search();

    const QStringList queries = desk.host.Server.Queries();
    ASSERT_GE(queries.size(), 2);
    EXPECT_EQ(queries[0],
        u"select /*+index(a,TAB_SITE_I3)*/ a.SITE_NAME   from tab_site a start with SITE_NAME='上海中心' "
        "connect by  prior SITE_NAME=(case SITE_NAME when '上海中心' then '' else SUPERIOR_SITE end) "_s);
    EXPECT_EQ(queries[1],
        u"select /*+index(a,TAB_ZELMOR_BILL_I5)*/ a.* from tab_zelmor_bill a where a.REC_DATE between "
        "to_date('2024-01-30 12:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-01-31 "
        "11:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1 and a.REC_SITE='接件网点' and "
        "((a.PREPARE_SITE like '%;浦东二部;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like "
        "浦东二部;%') or a.prov in (select distinct b.province from tab_province b where b.area_name = "
        "'华东区')) and a.SEND_SITE='派件网点' and a.SEND_SITE='派件网点' and a.WMS_CODE='W1' and "
        "a.Duty_Site='责任网点' and a.REC_BILL_MAN='甲' and a.REC_MAN='乙' and a.SEND_MAN='丙' and "
        "a.CANCEL_MAN='丁' and a.BL_CANCEL=1 and a.CANCEL_DESC='揽收预约时间超范围,无法协商' and "
        "a.STATUS=-1 and a.NAME='戊' and a.ADDRESS like '%南京路%' and a.SEND_NAME='己' and "
        "a.SEND_ADDRESS like '%解放路%' and a.LOGISTICPROVIDERID  <> '洛维卡特'  order by a.REC_DATE desc"_s);
    EXPECT_EQ(Control<QPlainTextEdit>(u"Memo2"_s)->toPlainText(), queries[1]);
    EXPECT_EQ(grid->FooterText(1, grid->ColumnIndex(u"PIECE")), u"6"_s);
    EXPECT_EQ(grid->CellText(0, grid->ColumnIndex(u"STATUS")), u"已分派"_s);
}

TEST_F(QueryScreen, ARangeThatIsRefusedKeepsTheResult)
{
    Open();
    Search();
    ASSERT_EQ(DataSet(u"cds"_s).RecordCount(), 3);
    auto* from = Control<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s);
    pages->setCurrentIndex(1);
    from->SetText(u"2023-12-31 11:59:58"_s);
    Search();
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：结束日期不能超过开始日期\"31\"天！"_s));
    EXPECT_TRUE(OrderQueries().isEmpty());
    EXPECT_EQ(DataSet(u"cds"_s).RecordCount(), 3);
    EXPECT_EQ(pages->currentIndex(), 0) << "what is to be corrected is in sight";
    EXPECT_EQ(Application->MainForm(), &desk.host.MainForm);
    EXPECT_EQ(Screen->Cursor(), crDefault);

    from->SetText(u"2023-12-31 11:59:59"_s);
    Search();
    EXPECT_EQ(OrderQueries().size(), 1) << "31 days to the second";
}

TEST_F(QueryScreen, TheTwoListsExcludeEachOther)
{
    Open();
    auto* byOrder = Control<QCheckBox>(u"CheckBox1"_s);
    auto* byWaybill = Control<QCheckBox>(u"CheckBox2"_s);
    byOrder->click();
    byWaybill->click();
    EXPECT_FALSE(byOrder->isChecked());
    EXPECT_TRUE(byWaybill->isChecked());
    auto* numbers = Control<TDBMemo>(u"Memo1"_s);
    numbers->setPlainText(u"b1\n it's\n\nb2"_s);
    // The rest of the panel is not read, however wrong it is.
    Control<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->SetText(u"never"_s);
    Search();
    EXPECT_EQ(OrderQueries(),
        QStringList(u"select /*+index(a,TAB_ZELMOR_BILL_I)*/a.* from tab_zelmor_bill a where a.BILL_CODE in "
                    "('b2','',' it's','b1') and a.bl_dispart=1 order by a.CREATE_DATE desc"_s));
    byOrder->click();
    EXPECT_FALSE(byWaybill->isChecked());
    Search();
    EXPECT_TRUE(OrderQueries().value(0).contains(u"where a.TX_LOGISTIC_ID in ('b2',"_s));

    numbers->setPlainText(u"1\n"_s.repeated(1000));
    Search();
    EXPECT_EQ(desk.host.TakeMessages(),
        QStringList(u"详细：您输入了\"1000\"个单号，最多只能输入\"999\"个单号！"_s));
    Control<QPushButton>(u"SpeedButton1"_s)->click();
    Search();
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：没有输入任何运单编号！"_s));
    EXPECT_TRUE(OrderQueries().isEmpty());
    byOrder->click();
    Search();
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：您所输入的日期时间错误！"_s)) << "criteria again";
}

TEST_F(QueryScreen, TheFirstDoubleClickTurnsThePageTheSecondShowsTheTrail)
{
    Open();
    Search();
    const TClientDataSetEx& trail = DataSet(u"CDSStatus"_s);
    const int criteriaHeight = Control<QWidget>(u"Panel1"_s)->height();

    const auto place = [this] {
        QCoreApplication::processEvents();
        return grid->viewport()->mapToGlobal(grid->visualRect(grid->model()->index(0, 0)).topLeft());
    };
    const QPoint before = place();
    const QLabel* whose = Control<TDataView>(u"DataView3"_s)->Panel1;
    DoubleClick(0);
    EXPECT_EQ(place(), before) << "the next double click meets the same order";
    EXPECT_EQ(whose->text(), u"双击订单，显示其状态信息"_s);
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_EQ(desk.host.Server.Queries().filter(u"TAB_ZELMOR_INSTRUCTION"_s).size(), 1)
        << "read over the connection of before";
    EXPECT_TRUE(second.Requests.empty());
    EXPECT_FALSE(trail.Active()) << "turning the page closed it";
    EXPECT_EQ(trail.RemoteServer(), &desk.host.Connection2);
    EXPECT_EQ(Control<QWidget>(u"Panel1"_s)->height() - criteriaHeight, 60);
    EXPECT_EQ(Control<TDBEditEh>(u"DBEditEh_TX_LOGISTIC_ID"_s)->Text(), u"T1"_s);

    DoubleClick(0);
    ASSERT_TRUE(trail.Active());
    EXPECT_EQ(second.Queries().size(), 1);
    EXPECT_TRUE(second.Queries().value(0).contains(u"when a.info_content = 'GOT' then"_s));
    EXPECT_TRUE(second.Queries().value(0).endsWith(
        u"where a.tx_logistic_id = 'T1' and a.bill_code = 'B1' order by a.create_date "_s));
    const TDBGridEh* shown = Control<TDataView>(u"DataView3"_s)->DataViewGrid;
    EXPECT_EQ(shown->CellText(0, shown->ColumnIndex(u"POST_FLAG")), u"推送成功"_s);

    // A source without messages leaves what is shown, which is then another order's.
    EXPECT_EQ(whose->text(), u"物流号：T1"_s);
    desk.host.Server.Requests.clear();
    DoubleClick(2);
    EXPECT_TRUE(trail.Active());
    EXPECT_EQ(whose->text(), u"物流号：T1（不是当前订单）"_s);
    EXPECT_TRUE(desk.host.Server.Queries().filter(u"TAB_ZELMOR_INSTRUCTION"_s).isEmpty());

    // The next order's source has its messages at the main connection, from the next turn of the page on.
    pages->setCurrentIndex(0);
    DoubleClick(1);
    EXPECT_EQ(trail.RemoteServer(), &desk.host.Connection);
    EXPECT_FALSE(trail.Active());
    desk.host.Server.Requests.clear();
    DoubleClick(1);
    EXPECT_TRUE(trail.Active());
    EXPECT_TRUE(
        desk.host.Server.Queries().filter(u"TAB_ZELMOR_INSTRUCTION"_s).value(0).contains(u"'TMS_SIGN'"_s));

    Search();
    EXPECT_EQ(pages->currentIndex(), 0);
    EXPECT_EQ(Control<QWidget>(u"Panel1"_s)->height(), criteriaHeight);
}

TEST_F(QueryScreen, EveryBoxCanBeReachedInASmallWindow)
{
    Open();
    desk.host.MainForm.resize(640, 400);
    screen->setFixedSize(640, 300);
    QCoreApplication::processEvents();
    for (const QString& name : {u"DBComboBoxEh2"_s, u"DBEditEh4"_s, u"CheckBox1"_s, u"DBCheckBoxEh1"_s}) {
        auto* box = Control<QWidget>(name);
        for (QWidget* area = box; area; area = area->parentWidget()) {
            if (auto* scroll = qobject_cast<QScrollArea*>(area))
                scroll->ensureWidgetVisible(box);
        }
        EXPECT_FALSE(box->visibleRegion().isEmpty()) << name.toStdString();
    }
}

TEST_F(QueryScreen, AnErrorOfTheServerIsTold)
{
    Open();
    desk.host.Server.OnQuery = [](const QString& sqlText) -> wire::RowSet {
        if (sqlText.contains(u"from tab_site"_s))
            return MakeTextRows({u"SITE_NAME"_s}, {});
        throw wire::Error(wire::ErrorKind::Syntax, u"ORA-00933"_s);
    };
    Control<TDBEditEh>(u"DBEditEh1"_s)->SetText(u"O'Hara"_s);
    Search();
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：ORA-00933"_s));
    EXPECT_FALSE(DataSet(u"cds"_s).Active());
    EXPECT_EQ(Screen->Cursor(), crDefault);
    DoubleClick(0);
    EXPECT_EQ(pages->currentIndex(), 0);
}

TEST_F(QueryScreen, TheSourceIsRemembered)
{
    TIniPropStorageManEh storage;
    storage.SetIniFileName(desk.host.Folder.filePath(u"WindowsIni/Zelmor.ini"_s));
    LayoutStorage = &storage;
    Open();
    Control<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->SetText(u"运泊通"_s);
    Control<TDBComboBoxEh>(u"DBComboBoxEh1"_s)->SetText(u"接单成功"_s);
    EXPECT_TRUE(screen->Close());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(storage.ReadString(
                  u".frm_BillQuery"_s, u"Panel1.PageControl1.TabSheet1.Panel2.DBComboBoxEh2.<P>.Text"_s),
        u"运泊通"_s);
    Open();
    EXPECT_EQ(Control<TDBComboBoxEh>(u"DBComboBoxEh2"_s)->Text(), u"运泊通"_s);
    EXPECT_EQ(Control<TDBComboBoxEh>(u"DBComboBoxEh1"_s)->Text(), u"全部"_s) << "nothing else is";
    for (const QString& view : {u"DataView1"_s, u"DataView2"_s, u"DataView3"_s}) {
        EXPECT_FALSE(storage.ReadKeys(u".DataViewGrid."_s + view + u".frm_BillQuery"_s).isEmpty())
            << "the layout is this screen's own: " << view.toStdString();
    }
    delete screen;
    LayoutStorage = nullptr;
}

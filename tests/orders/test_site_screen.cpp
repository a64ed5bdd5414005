#include "framework/RecordButtons.h"
#include "framework/RefusedRows.h"
#include "orders/SiteServices.h"
#include "orders/frm_Site.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

namespace {

class SiteScreen : public OrderScreen<Tfrm_Site, OrderDesk> {
protected:
    SiteScreen()
    {
        desk.host.SetValue(u"userType"_s, u"1"_s);
        desk.host.SetValue(u"BootSite"_s, u"快运本部"_s);
        desk.host.Server.OnQuery = [](const QString& sqlText) {
            if (sqlText.contains(u"tab_county"_s)) {
                return MakeTextRows({u"COUNTY_NAME"_s, u"PROVINCE"_s, u"CITY_NAME"_s, u"MAIL_CODE"_s},
                    {{u"朝阳区"_s, u"北京市"_s, u"北京市"_s, u"100003"_s},
                        {u"朝阳区"_s, u"吉林省"_s, u"长春市"_s, u"130003"_s}});
            }
            using enum wire::ColumnType;
            return MakeRows(
                {{.name = u"SITE_NAME"_s, .key = true, .stored = true},
                    {.name = u"COUNTY_NAME"_s, .key = true, .stored = true},
                    {.name = u"PROVINCE"_s, .stored = true},
                    {.name = u"CITY_NAME"_s, .key = true, .stored = true},
                    {.name = u"MAIL_CODE"_s, .stored = true},
                    {.name = u"REC_START_TIME"_s, .width = 8, .stored = true},
                    {.name = u"REC_END_TIME"_s, .width = 8, .stored = true},
                    {.name = u"BL_REC"_s, .type = Integer, .stored = true},
                    {.name = u"BL_SEND"_s, .type = Integer, .stored = true},
                    {.name = u"BL_OPEN"_s, .type = Integer, .stored = true},
                    {.name = u"SEND_RANGE"_s, .stored = true}, {.name = u"NOT_SEND_RANGE"_s, .stored = true}},
                {{u"浦东一部"_s, u"浦东新区"_s, u"上海"_s, u"上海市"_s, u"200120"_s, u"08:00:00"_s,
                     u"18:00:00"_s, 1, 1, 0, u"全境"_s, {}},
                    {u"浦东二部"_s, u"浦东新区"_s, u"上海"_s, u"上海市"_s, u"200120"_s, u"08:00:00"_s,
                        u"18:00:00"_s, 1, 1, 1, {}, {}}});
        };
        desk.host.MainForm.show();
    }
    // Clicks the box with the mouse, as far as it lets itself be clicked.
    void Tick(const QString& box)
    {
        auto* control = Find<TDBCheckBoxEh>(box);
        QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(8, control->height() / 2));
    }
};

} // namespace

TEST_F(SiteScreen, WhoSeesAndOpensWhat)
{
    const QString below =
        u"select a.* from tab_zelmor_site a where exists(select /*+index(b,TAB_SITE_I3)*/1 from tab_site b "
        "where b.site_name=a.site_name start with SITE_NAME='浦东一部' connect by prior SITE_NAME=(case "
        "SITE_NAME when '浦东一部' then '' else SUPERIOR_SITE end))"_s;
    const QString all = u"select * from tab_zelmor_site"_s;
    struct Case {
        QString site, userType, bootSite;
        QString query;
        bool opens;
    };
    const std::vector<Case> cases = {
        {u"浦东一部"_s, u"1"_s, u"快运本部"_s, below, false},
        {u"浦东一部"_s, u"2"_s, u"快运本部"_s, all, true},
        {u"浦东一部"_s, u"1"_s, u"浦东一部"_s, all, false},
        {u"快运本部"_s, u"1"_s, u"总公司"_s, all, false},
    };
    for (const Case& tried : cases) {
        SCOPED_TRACE((tried.site + tried.userType + tried.bootSite).toStdString());
        desk.host.SetValue(u"site"_s, tried.site);
        desk.host.SetValue(u"userType"_s, tried.userType);
        desk.host.SetValue(u"BootSite"_s, tried.bootSite);
        desk.host.Server.Requests.clear();
        Open();
        EXPECT_EQ(desk.host.Server.Queries(),
            QStringList(
                {u"select a.*,a.COUNTY_NAME||'.'||a.CITY_NAME||'.'||a.PROVINCE as aid from tab_county a"_s,
                    tried.query}));
        EXPECT_EQ(Find<QWidget>(u"DBLookupComboboxEh1"_s)->isVisible(), tried.query == all);
        // Each control in turn: before the row is in edit, in edit, and after it.
        for (const bool editing : {false, true, false}) {
            editing ? Press(u"EditButton"_s) : cds->Cancel();
            for (const QString& time : {u"DBDateTimeEditEh1"_s, u"DBDateTimeEditEh2"_s})
                EXPECT_NE(Find<QLineEdit>(time)->isReadOnly(), editing);
            for (const QString& memo : {u"DBMemo1"_s, u"DBMemo2"_s})
                EXPECT_NE(Find<TDBMemo>(memo)->isReadOnly(), editing);
            for (const QString& box : {u"DBCheckBoxEh1"_s, u"DBCheckBoxEh2"_s})
                EXPECT_EQ(Find<QWidget>(box)->isEnabled(), editing);
            const QString before = Text(u"BL_OPEN"_s);
            Tick(u"DBCheckBoxEh3"_s);
            EXPECT_EQ(Text(u"BL_OPEN"_s) != before, editing && tried.opens);
        }
        delete screen;
    }
}

TEST_F(SiteScreen, ACountyIsAddedChosenSavedAndRefused)
{
    Open();
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));
    Press(u"AddButton"_s);
    EXPECT_EQ(Fields(u"SITE_NAME REC_START_TIME REC_END_TIME BL_REC BL_SEND BL_OPEN"_s),
        u"浦东一部|08:00:00|18:00:00|1|1|1"_s);
    Tick(u"DBCheckBoxEh3"_s);
    EXPECT_EQ(Text(u"BL_OPEN"_s), u"1"_s) << "a new row's neither";

    auto* county = Find<TDBLookupComboboxEh>(u"DBLookupComboboxEh2"_s);
    county->setFocus();
    county->SetText(u"朝阳区"_s);
    Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->setFocus();
    EXPECT_EQ(Text(u"CITY_NAME"_s), u"北京市"_s);
    EXPECT_EQ(desk.host.MainForm.Notices.size(), 1) << "there is another of the name";
    county->setFocus();
    county->DropDown();
    QTest::keyClick(county, Qt::Key_Down);
    QTest::keyClick(county, Qt::Key_Return);
    EXPECT_EQ(Fields(u"COUNTY_NAME CITY_NAME PROVINCE MAIL_CODE"_s), u"朝阳区|长春市|吉林省|130003"_s)
        << "the second of its name was chosen";
    auto* start = Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s);
    start->setFocus();
    start->selectAll();
    QTest::keyClicks(start, u"0930"_s);
    QTest::keyClick(start, Qt::Key_Return);
    EXPECT_EQ(Text(u"REC_START_TIME"_s), u"09:30:00"_s);

    desk.onSave = [](const wire::ChangeLog& changes) { return RejectAll(changes, u"主键已存在！"_s); };
    Press(u"Button1"_s);
    EXPECT_EQ(desk.host.TakeMessages().filter(u"主键已存在"_s).size(), 1);
    EXPECT_FALSE(Find<TRefusedRows>()->isHidden());
    EXPECT_EQ(cds->RecordCount(), 3) << "the row is still there to be put right";
    desk.onSave = AcceptAll;
    EXPECT_EQ(Told(u"Button1"_s), QStringList(u"详细：数据保存成功！"_s));
    EXPECT_EQ(SavedFields(desk.saves.back(), 0, u"BL_OPEN CITY_NAME"_s), u"1|长春市"_s);
    EXPECT_EQ(cds->RecordCount(), 2) << "read anew";

    // Another query is asked about while something is unsaved.
    cds->SetFieldAndPost(u"SEND_RANGE"_s, u"城区"_s);
    EXPECT_EQ(Told(u"Button2"_s).size(), 1);
    EXPECT_EQ(cds->ChangeCount(), 1);
}

#include "module/Module.h"
#include "module/Registry.h"
#include "module/data/LayoutStorage.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "tests/support/FakeHost.h"

#include <QCoreApplication>
#include <QEvent>

#include <gtest/gtest.h>

#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {

class Exec : public ::testing::Test {
protected:
    Exec()
    {
        host.Server.OnQuery = [](const QString&) {
            return MakeRows(
                {{.name = u"TX_LOGISTIC_ID"_s, .key = true, .stored = true},
                    {.name = u"STATUS"_s, .type = wire::ColumnType::Integer, .guard = true, .stored = true},
                    {.name = u"PREPARE_SITE"_s, .guard = true, .stored = true}},
                {});
        };
        StartUp();
    }
    ~Exec() override
    {
        ShutDown();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void Call(const char* formName)
    {
        const std::vector<std::uintptr_t> data = host.HostData();
        OpenScreen(&host.App, &host.Scr, data.data(), 1, formName);
    }
    Tfrm_Basic*& Accept() { return FindScreenSlot("frm_AcceptBill")->open; }

    TFakeHost host;
};

} // namespace

TEST_F(Exec, OneInstanceAScreen)
{
    Call("frm_AcceptBill111");
    Tfrm_Basic* const first = Accept();
    ASSERT_NE(first, nullptr) << host.TakeMessages().join(u'|').toStdString();
    EXPECT_TRUE(first->IsShown());
    // The constant of the table wins over the caller's code.
    EXPECT_FALSE(first->Right1 || first->Right2 || first->Right3);

    Call("frm_AcceptBill000");
    EXPECT_EQ(Accept(), first);
    EXPECT_EQ(host.MainForm.MessageNumbers().front(), kMessageCreating);
    EXPECT_EQ(std::ranges::count(host.MainForm.MessageNumbers(), kMessageCreating), 1);

    first->Close();
    EXPECT_EQ(Accept(), nullptr);
    Call("frm_AcceptBill000");
    ASSERT_NE(Accept(), nullptr);
    EXPECT_NE(Accept(), first);
    EXPECT_TRUE(Accept()->IsShown());
}

TEST_F(Exec, NamesThatAreNotInTheTable)
{
    for (const char* name : {"frm_acceptBill000", "frm_AcceptBill", "frm_AcceptBill 000", "abc", "",
             "frm_ChangeSite000", "frm_CenterChange000", "frm_AcceptBill000 "})
        Call(name);
    Call(nullptr);
    const std::vector<TShownMessage>& shown = host.App.ShownMessages();
    ASSERT_EQ(shown.size(), 9U);
    for (const TShownMessage& message : shown) {
        EXPECT_EQ(message.text, u"详细：此窗体不存在！"_s);
        EXPECT_EQ(message.caption, u"DLL调用"_s);
        EXPECT_EQ(message.icon, TMessageIcon::Error);
    }
}

TEST_F(Exec, TheSecondConnectionIsTakenWithTheFirstOnly)
{
    Call("none000");
    EXPECT_EQ(dm_BasicData->HostConnection, &host.Connection);
    EXPECT_EQ(dm_GlobalData->QueryConnection, &host.Connection2);
    for (const TClientDataSetEx* command : {dm_BasicData->comm, dm_BasicData->comm1, dm_BasicData->comm2})
        EXPECT_EQ(command->RemoteServer(), &host.Connection);

    TSocketConnectionEx other;
    const auto call = [&](TSocketConnectionEx& main, TSocketConnectionEx& second) {
        const std::uintptr_t data[] = {
            reinterpret_cast<std::uintptr_t>(&main), reinterpret_cast<std::uintptr_t>(&second)};
        OpenScreen(&host.App, &host.Scr, data, 1, "none000");
    };
    call(host.Connection, other);
    EXPECT_EQ(dm_GlobalData->QueryConnection, &host.Connection2);
    call(other, host.Connection2);
    EXPECT_EQ(dm_BasicData->HostConnection, &other);
    EXPECT_EQ(dm_GlobalData->QueryConnection, &host.Connection2);
    EXPECT_EQ(dm_BasicData->comm2->RemoteServer(), &other);
    call(host.Connection, other);
    EXPECT_EQ(dm_GlobalData->QueryConnection, &other);
}

TEST_F(Exec, AnotherLoginHasItsOwnCustomers)
{
    const auto customers = [](const QString& code) { return MakeTextRows({u"CUSTOMER_CODE"_s}, {{code}}); };
    const auto call = [&](TSocketConnectionEx& main) {
        const std::uintptr_t data[] = {
            reinterpret_cast<std::uintptr_t>(&main), reinterpret_cast<std::uintptr_t>(&host.Connection2)};
        OpenScreen(&host.App, &host.Scr, data, 1, "none000");
        return dm_GlobalData->cdsownerCustomer->ViewText(0, 0);
    };
    const QString first = call(host.Connection);
    host.DataSet(u"ownerCustomer"_s).OpenRows(customers(u"K2"_s));
    EXPECT_EQ(call(host.Connection), first) << "a snapshot";
    auto other = std::make_unique<TSocketConnectionEx>();
    EXPECT_EQ(call(*other), u"K2"_s);
    // Whether the object of the login before still lives, and whether it is another object at all, says
    // nothing.
    host.DataSet(u"ownerCustomer"_s).OpenRows(customers(u"K3"_s));
    other.reset();
    EXPECT_EQ(call(host.Connection), u"K3"_s);
    host.DataSet(u"ownerCustomer"_s).OpenRows(customers(u"K4"_s));
    host.Connection.Open(u"next"_s, u"next"_s);
    EXPECT_EQ(call(host.Connection), u"K4"_s);
}

TEST(ScreenTable, SevenScreensHaveFixedRightsAndTheMenusOfferWhatTheModuleMakes)
{
    const std::map<std::string_view, std::string_view> fixed{{"frm_AcceptBill", "000"},
        {"frm_RecBill", "000"}, {"frm_UnDispartBill", "000"}, {"frm_UnAccept", "000"}, {"frm_UnRec", "000"},
        {"frm_CenterBillBack", "001"}, {"frm_RecBillQuery", "001"}};
    std::set<std::string_view> names;
    for (const TScreenInfo& info : ScreenTable()) {
        EXPECT_TRUE(names.insert(info.Name()).second) << info.Name();
        const auto code = fixed.find(info.Name());
        EXPECT_EQ(info.fixedRights, code == fixed.end() ? "" : code->second) << info.Name();
        EXPECT_EQ(info.built, FindScreenSlot(info.Name()) != nullptr) << info.Name();
    }
    EXPECT_EQ(names.size(), 22U);
}

TEST_F(Exec, AdoptsTheHostsObjectsOnEveryCall)
{
    TApplication app;
    app.Unattended = true;
    app.SetMainForm(&host.MainForm);
    TScreen screen;
    const std::vector<std::uintptr_t> data = host.HostData();
    OpenScreen(&app, &screen, data.data(), 1, "none000");
    EXPECT_EQ(Application, &app);
    EXPECT_EQ(Screen, &screen);
    EXPECT_EQ(app.ShownMessages().size(), 1U);
    Call("none000");
    EXPECT_EQ(Application, &host.App);
    EXPECT_EQ(Screen, &host.Scr);
}

TEST_F(Exec, AFailingScreenIsToldAndCanBeOpenedLater)
{
    const auto answer = host.Server.OnQuery;
    host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Connection, u"服务器没有回应"_s);
    };
    Call("frm_AcceptBill000");
    ASSERT_EQ(host.App.ShownMessages().size(), 1U);
    EXPECT_EQ(host.App.ShownMessages()[0].text, u"详细：因为服务器没有回应调用失败！"_s);
    EXPECT_EQ(host.App.ShownMessages()[0].caption, u"DLL调用"_s);
    EXPECT_EQ(host.App.ShownMessages()[0].icon, TMessageIcon::Error);
    EXPECT_EQ(Screen->Cursor(), crDefault);
    EXPECT_TRUE(host.Scr.Forms().empty()) << "half a screen";

    host.Server.OnQuery = answer;
    Call("frm_AcceptBill000");
    ASSERT_NE(Accept(), nullptr);
    EXPECT_TRUE(Accept()->IsShown());
}

TEST(Library, AHostThatWasNotReadyAtLoadIsAskedAgain)
{
    TFakeHost host;
    const TObjectList complete = std::exchange(host.MainForm.DataSets, {});
    StartUp();
    const std::vector<std::uintptr_t> data = host.HostData();
    OpenScreen(&host.App, &host.Scr, data.data(), 1, "frm_AcceptBill000");
    EXPECT_EQ(host.TakeMessages(), QStringList(u"详细：因为全局数据集\"Province_N\"不存在！调用失败！"_s));
    host.MainForm.DataSets = complete;
    OpenScreen(&host.App, &host.Scr, data.data(), 1, "none000");
    EXPECT_EQ(host.TakeMessages(), QStringList(u"详细：此窗体不存在！"_s));
    EXPECT_TRUE(dm_GlobalData->Ready());
    ShutDown();
}

TEST(Library, SettingsLieBesideTheProgramAndShutDownPutsTheGlobalsBack)
{
    TFakeHost host;
    StartUp();
    EXPECT_EQ(LayoutStorage->IniFileName(), host.Folder.filePath(u"WindowsIni/Zelmor.ini"_s));
    EXPECT_FALSE(QFileInfo::exists(LayoutStorage->IniFileName()));
    TApplication another;
    Application = &another;
    ShutDown();
    EXPECT_EQ(Application, &host.App);
    EXPECT_EQ(Screen, &host.Scr);
    EXPECT_EQ(dm_BasicData, nullptr);
    EXPECT_EQ(dm_GlobalData, nullptr);
    EXPECT_EQ(LayoutStorage, nullptr);
}

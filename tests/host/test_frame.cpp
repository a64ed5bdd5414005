#include "tests/host/HostFixture.h"

#include "host/WindowList.h"
#include "runtime/ui/DBGrid.h"

#include <QMenu>
#include <QMenuBar>
#include <QMetaProperty>
#include <QTabBar>

using namespace Qt::Literals::StringLiterals;

class FrameTest : public HostTest {
protected:
    TForm* OpenSample()
    {
        host->ExecScreen(u"frm_Sample101"_s);
        QCoreApplication::processEvents();
        return ::Screen->Forms().empty() ? nullptr : ::Screen->Forms().back();
    }
    const QTabBar* Tabs() const { return host->MainForm()->findChild<QTabBar*>(u"WindowTabs"_s); }
    QAction* Command(const char* name) const
    {
        return host->MainForm()->findChild<QAction*>(QLatin1StringView(name));
    }
    QString LastMessage() const
    {
        return ::Application->ShownMessages().empty() ? QString()
                                                      : ::Application->ShownMessages().back().text;
    }
};

TEST_F(FrameTest, PublishesExactlyTheAgreedProperties)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const QMetaObject* meta = host->MainForm()->metaObject();
    QStringList names;
    for (int index = meta->propertyOffset(); index < meta->propertyCount(); ++index)
        names.append(QLatin1StringView(meta->property(index).name()));
    names.sort();
    EXPECT_EQ(names,
        (QStringList{u"GlobalCdsAddr"_s, u"GlobalTree"_s, u"GlobalTreeAddr"_s, u"GlobalValueAddr"_s,
            u"ServerDateTime"_s}));
    EXPECT_GE(meta->indexOfMethod("ResetSearch(QWidget*)"), 0);
}

TEST_F(FrameTest, ListsAreFoundByAddressAndName)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const QObject* frame = host->MainForm();
    const auto* sets =
        reinterpret_cast<TObjectList*>(quintptr(frame->property("GlobalCdsAddr").toULongLong()));
    ASSERT_EQ(sets->size(), 10u);
    for (const QObject* item : *sets)
        EXPECT_TRUE(static_cast<const TClientDataSetEx*>(item)->Active()) << qPrintable(item->objectName());

    const auto* values =
        reinterpret_cast<TObjectList*>(quintptr(frame->property("GlobalValueAddr").toULongLong()));
    QHash<QString, QString> texts;
    for (const QObject* item : *values)
        texts.insert(item->objectName(), item->property("text").toString());
    EXPECT_EQ(texts.value(u"site"_s), u"安徽合肥一部"_s);
    EXPECT_EQ(texts.value(u"user"_s), u"hefei1"_s);
    EXPECT_EQ(texts.value(u"BootSite"_s), u"快运本部"_s);
    for (const QString& name : {u"EmployeeName"_s, u"EmployeeCode"_s, u"FinanceCenter"_s,
             u"Phone_and_MoblePh"_s, u"userType"_s, u"MainBill"_s})
        EXPECT_FALSE(texts.value(name).isEmpty()) << qPrintable(name);
}

TEST_F(FrameTest, TreeIsBuiltWhenItsNameIsWritten)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    QObject* frame = host->MainForm();
    const auto* trees =
        reinterpret_cast<TObjectList*>(quintptr(frame->property("GlobalTreeAddr").toULongLong()));
    frame->setProperty("GlobalTree", u"NoSuchTree"_s);
    EXPECT_TRUE(trees->empty());
    frame->setProperty("GlobalTree", u"allsitetree"_s);
    ASSERT_EQ(trees->size(), 1u);
    const auto* tree = static_cast<TTreeView*>(trees->front());
    EXPECT_EQ(tree->objectName(), u"AllSiteTree"_s);
    // Every site stands in the tree once, below the headquarters.
    ASSERT_EQ(tree->topLevelItemCount(), 1);
    EXPECT_EQ(tree->topLevelItem(0)->text(0), u"快运本部"_s);
    int sites = 0;
    for (QTreeWidgetItemIterator item(const_cast<TTreeView*>(tree)); *item; ++item)
        ++sites;
    EXPECT_EQ(sites, host->SharedData().DataSet(u"AllSite").RecordCount());
}

TEST_F(FrameTest, ClockIsTheServersAndRunsOn)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const auto shown = wire::DateTime::FromSerial(host->MainForm()->property("ServerDateTime").toDouble());
    const qint64 late = shown.seconds - wire::DateTime::FromParts(2026, 11, 20, 10, 30, 0).seconds;
    EXPECT_GE(late, 0);
    EXPECT_LT(late, 300);
}

TEST_F(FrameTest, WindowListFollowsTheScreens)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(Tabs()->count(), 0);
    TForm* screen = OpenSample();
    ASSERT_NE(screen, nullptr);
    ASSERT_EQ(Tabs()->count(), 1);
    EXPECT_EQ(Tabs()->tabText(0), u"示例"_s);
    screen->SetCaption(u"改名"_s);
    EXPECT_EQ(Tabs()->tabText(0), u"改名"_s);
    EXPECT_EQ(OpenSample(), screen) << "a second call brings the same screen forward";
    EXPECT_EQ(Tabs()->count(), 1);
    screen->Close();
    EXPECT_EQ(Tabs()->count(), 0);
}

TEST_F(FrameTest, ScreenThatDiesWithoutAWordLeavesTheList)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    delete OpenSample();
    EXPECT_EQ(Tabs()->count(), 0);
}

TEST_F(FrameTest, ToolbarPressesTheActiveScreensButtons)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_FALSE(Command("QueryAction")->isEnabled());
    TForm* screen = OpenSample();
    ASSERT_TRUE(Command("QueryAction")->isEnabled());
    Command("QueryAction")->trigger();
    EXPECT_GT(screen->findChild<TClientDataSetEx*>(u"sites"_s)->RecordCount(), 0);
    Command("SaveAction")->trigger();
    EXPECT_EQ(LastMessage(), u"详细：要保存吗？"_s);
    screen->Close();
    QCoreApplication::processEvents();
    EXPECT_FALSE(Command("QueryAction")->isEnabled());
}

TEST_F(FrameTest, SearchBoxLooksThroughTheGridItWasGiven)
{
    ASSERT_TRUE(LogIn(u"benbu"_s));
    TForm* screen = OpenSample();
    Command("QueryAction")->trigger();
    auto* grid = screen->findChild<TDBGridEh*>();
    grid->SelectField(u"SITE_NAME");
    auto* search = host->MainForm()->findChild<QLineEdit*>(u"SearchEdit"_s);
    ASSERT_TRUE(search->isEnabled());
    search->setText(u"合肥二部"_s);
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_EQ(grid->DataSet()->FieldByName(u"SITE_NAME").AsString(), u"安徽合肥二部"_s);

    host->MainForm()->ResetSearch(nullptr);
    EXPECT_FALSE(search->isEnabled());
}

TEST_F(FrameTest, ScreenThatRefusesToCloseKeepsTheUserAndTheFrame)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    TForm* screen = OpenSample();
    screen->findChild<QLineEdit*>(u"DBEditEh1"_s)->setText(u"未保存"_s);
    EXPECT_EQ(host->OpenLoginWindow(), nullptr);
    EXPECT_NE(host->LoggedInForm(), nullptr);
    ::Application->QueueAnswer({u"ok"_s});
    EXPECT_NE(host->OpenLoginWindow(), nullptr);
    EXPECT_EQ(host->LoggedInForm(), nullptr);
}

TEST_F(FrameTest, NextUserFindsTheirOwnData)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const int ownSites = host->SharedData().DataSet(u"loginSiteOwner").RecordCount();
    host->OpenLoginWindow();
    ASSERT_TRUE(LogIn(u"benbu"_s));
    EXPECT_EQ(host->SharedData().Value(u"SITE"), u"快运本部"_s);
    EXPECT_GT(host->SharedData().DataSet(u"loginsiteowner").RecordCount(), ownSites);
    EXPECT_NE(OpenSample(), nullptr);
}

TEST_F(FrameTest, ModuleThatCannotBeLoadedIsAMessageAndTheHostGoesOn)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const QString missing = Folder().filePath(u"Missing"_s);
    host->SetModulePath(missing);
    Command("frm_AcceptBill")->trigger();
    EXPECT_TRUE(LastMessage().contains(u"业务模块装不上"_s));
    EXPECT_TRUE(LastMessage().contains(u"Missing"_s));
    EXPECT_NE(host->LoggedInForm(), nullptr);

    // Put right, it is found without a restart.
    host->SetModulePath(QCoreApplication::applicationDirPath() + u"/zelmor_test_module"_s);
    EXPECT_NE(OpenSample(), nullptr);
}

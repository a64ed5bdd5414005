#include "tests/host/HostFixture.h"

#include "host/HostApplication.h"
#include "host/WindowList.h"

#include <QMenu>
#include <QMenuBar>
#include <QMetaProperty>
#include <QStatusBar>
#include <QTabBar>

using namespace Qt::Literals::StringLiterals;

class FrameTest : public HostTest {
protected:
    TForm* OpenSample() { return Open(u"frm_Sample"_s); }
    const QTabBar* Tabs() const { return host->MainForm()->findChild<QTabBar*>(u"WindowTabs"_s); }
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
    EXPECT_EQ(sites, host->PublishedData().DataSet(u"AllSite").RecordCount());
}

TEST_F(FrameTest, WindowListFollowsTheScreens)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(Tabs()->count(), 0);
    const auto usable = [this] {
        const auto actions = host->MainForm()->findChild<QMenu*>(u"WindowMenu"_s)->actions();
        return std::count_if(actions.begin(), actions.end(),
            [](const QAction* action) { return !action->isSeparator() && action->isEnabled(); });
    };
    EXPECT_EQ(usable(), 0);
    TForm* screen = OpenSample();
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(usable(), 6) << "the five commands and the window";
    ASSERT_EQ(Tabs()->count(), 1);
    EXPECT_EQ(Tabs()->tabText(0), u"示例"_s);
    screen->SetCaption(u"改名"_s);
    screen->setWindowModified(true);
    EXPECT_EQ(Tabs()->tabText(0), u"改名 ●"_s) << "something to save";
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
    EXPECT_FALSE(Command("SaveAction")->isEnabled()) << "nothing to save";
    screen->setWindowModified(true);
    Command("SaveAction")->trigger();
    EXPECT_EQ(LastMessage(), u"详细：要保存吗？"_s);
    screen->Close();
    QCoreApplication::processEvents();
    EXPECT_FALSE(Command("QueryAction")->isEnabled());
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

TEST_F(FrameTest, ARefusalFindsTheOtherWindowsStillOpen)
{
    ASSERT_TRUE(LogIn(u"benbu"_s));
    TForm* asking = OpenSample();
    Command("QueryAction")->trigger();
    auto* sites = asking->findChild<TClientDataSetEx*>(u"sites"_s);
    sites->Edit();
    sites->FieldByName(u"SITE_NAME").SetAsString(u"改过"_s);
    asking->findChild<QLineEdit*>(u"DBEditEh1"_s)->setText(u"未保存"_s);
    auto* other = new TForm(::Application, u"frm_Other"_s);
    other->FormStyle = TFormStyle::MDIChild;
    other->Show();
    EXPECT_FALSE(host->MainForm()->close());
    EXPECT_TRUE(other->IsShown());
    EXPECT_EQ(::Screen->ActiveForm(), asking) << "what asks is in front";
    EXPECT_TRUE(host->MainForm()->statusBar()->currentMessage().contains(u"示例"_s));
    EXPECT_EQ(sites->FieldByName(u"SITE_NAME").AsString(), u"改过"_s);
    SendFormMessage(host->MainForm(), kMessageClosed, other); // as a screen says that closes
    EXPECT_EQ(host->MainForm()->statusBar()->currentMessage(), QString()) << "said before that window closed";
}

TEST_F(FrameTest, QtsOwnTextsAreChinese)
{
    ASSERT_TRUE(SpeakChinese(*qApp));
    QLineEdit edit;
    const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    QString texts;
    for (const QAction* action : menu->actions())
        texts += action->text();
    EXPECT_TRUE(texts.contains(u"粘贴"_s)) << qPrintable(texts);
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

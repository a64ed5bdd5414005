#include "tests/host/HostFixture.h"

#include "runtime/ui/DBControls.h"
#include "runtime/ui/DBGrid.h"

#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

// The host with the module that it is made for.
class DeskTest : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        UseScreens();
    }
    void Change(THostOptions& options) override { options.dataDir = Folder().filePath(u"desk"_s); }

    static QStringList ScreenNames()
    {
        QStringList names;
        for (const TForm* form : ::Screen->Forms())
            names.append(form->objectName());
        return names;
    }
};

TEST_F(DeskTest, WindowsComeBackToTheAccountThatHadThemOpen)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(ScreenNames(), QStringList());
    for (const QString& name : {u"frm_BillQuery"_s, u"frm_RecBill"_s, u"frm_BillQuery"_s})
        Open(name);
    EXPECT_TRUE(host->MainForm()->close());

    HostTest::TearDown();
    SetUp();
    ASSERT_TRUE(LogIn(u"hefei2"_s));
    EXPECT_EQ(ScreenNames(), QStringList()) << "another account's desk is its own";
    host->OpenLoginWindow();
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(ScreenNames(), (QStringList{u"frm_RecBill"_s, u"frm_BillQuery"_s}));
    EXPECT_EQ(::Screen->ActiveForm(), ::Screen->Forms().back()) << "the one last used is in front";
    EXPECT_TRUE(host->CloseScreens());
}

TEST_F(DeskTest, AnEmptyDeskListsTheScreensAndTakesTheKeyboard)
{
    ASSERT_TRUE(LogIn(u"benbu"_s));
    auto* list = host->MainForm()->findChild<QTreeWidget*>(u"StartList"_s);
    ASSERT_TRUE(list->isVisible());
    EXPECT_EQ(list->currentItem()->text(1), u"Ctrl+Shift+2"_s) << "the first of the first menu";
    EXPECT_EQ(QApplication::focusWidget(), list);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(ScreenNames(), QStringList{u"frm_AcceptBill"_s});
    EXPECT_FALSE(list->isVisible());
    EXPECT_TRUE(host->CloseScreens());
    EXPECT_TRUE(list->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), list);
}

TEST_F(DeskTest, TheLayoutOfAnOpenWindowIsKeptWhenTheProgramEnds)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    auto* grid = Open(u"frm_AcceptBill"_s)->findChild<QWidget*>(u"DataView1"_s)->findChild<TDBGridEh*>();
    ASSERT_NE(grid, nullptr);
    std::vector<TColumnEh> columns;
    for (int i = 0; i < grid->ColumnCount(); ++i)
        columns.push_back(grid->Column(i));
    columns[size_t(grid->ColumnIndex(u"TX_LOGISTIC_ID"_s))].width = 237;
    grid->SetColumns(columns);
    EXPECT_TRUE(host->MainForm()->close());
    HostTest::TearDown();

    QFile settings(Folder().filePath(u"WindowsIni/Zelmor.ini"_s));
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const QByteArray written = settings.readAll();
    EXPECT_TRUE(written.contains("TX_LOGISTIC_ID;物流号;237")) << written.constData();
}

TEST_F(DeskTest, AnotherLoginHasItsOwnSitesAndEmployees)
{
    // What the lookups of the order query offer, by the field that they give.
    const auto offered = [this](const QString& account) {
        host->OpenLoginWindow();
        EXPECT_TRUE(LogIn(account));
        QHash<QString, int> rows;
        for (const auto* box : Open(u"frm_BillQuery"_s)->findChildren<TDBLookupComboboxEh*>())
            rows.insert(box->Lookup().listField, box->Lookup().listSource->DataSet()->RecordCount());
        return rows;
    };
    const QHash<QString, int> branch = offered(u"hefei1"_s);
    const QHash<QString, int> centre = offered(u"hefei"_s);
    const QHash<QString, int> again = offered(u"hefei1"_s);
    ASSERT_EQ(branch.size(), 2);
    for (auto list = branch.begin(); list != branch.end(); ++list) {
        EXPECT_LT(list.value(), centre.value(list.key())) << qPrintable(list.key());
        EXPECT_EQ(list.value(), again.value(list.key())) << qPrintable(list.key());
    }
}

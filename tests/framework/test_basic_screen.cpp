#include "tests/framework/ProbeScreen.h"

#include <QApplication>
#include <QTabWidget>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void RunEvents()
{
    QApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class BasicScreen : public ::testing::Test {
protected:
    BasicScreen()
    {
        host.MainForm.show();
        screen = MakeScreen<Tfrm_Probe>(&host.App);
        variable = screen;
        screen->SetFormVar(&variable);
    }

    void Show()
    {
        screen->Show();
        QApplication::setActiveWindow(&host.MainForm);
        RunEvents();
    }

    TProbeHost host;
    QPointer<Tfrm_Probe> screen;
    Tfrm_Basic* variable = nullptr;
};

constexpr auto kQuestion = u"详细：您所做的操作并未保存，确定要关闭吗？";

} // namespace

TEST_F(BasicScreen, AnnouncesItselfBindsItsDataSetsAndTurnsTheSearch)
{
    EXPECT_EQ(host.MainForm.MessageNumbers(), std::vector<int>{kMessageCreating});
    EXPECT_EQ(host.MainForm.Messages[0].first, screen);
    EXPECT_EQ(host.MainForm.Messages[0].second, 0);
    EXPECT_EQ(screen->cds->RemoteServer(), &host.Connection);
    EXPECT_EQ(screen->cds2->RemoteServer(), &host.Connection);
    EXPECT_EQ(screen->Prop->StorageManager(), LayoutStorage);

    Show();
    EXPECT_EQ(host.MainForm.MessageNumbers().back(), kMessageActivated);
    ASSERT_FALSE(host.MainForm.SearchTargets.empty());
    for (QWidget* target : host.MainForm.SearchTargets)
        EXPECT_EQ(target, screen->DataView1->DataViewGrid);
    EXPECT_EQ(screen->SaveButton(), screen->Button1);
    EXPECT_EQ(screen->DataSet(), screen->cds);

    host.MainForm.SearchTargets.clear();
    screen->SetDataView(screen->DataView1);
    EXPECT_TRUE(host.MainForm.SearchTargets.empty());
    screen->SetDataView(nullptr);
    EXPECT_EQ(host.MainForm.SearchTargets, std::vector<QWidget*>{nullptr});
}

TEST_F(BasicScreen, RightsAreTheOnes)
{
    screen->SetRights(u"1x1"_s);
    EXPECT_TRUE(screen->Right1);
    EXPECT_FALSE(screen->Right2);
    EXPECT_TRUE(screen->Right3);
    screen->SetRights(u"01"_s);
    EXPECT_FALSE(screen->Right1);
    EXPECT_TRUE(screen->Right2);
    EXPECT_FALSE(screen->Right3);
}

TEST_F(BasicScreen, AsksOncePerDataSetAndKeepsEverythingOnCancel)
{
    Show();
    screen->OpenBoth();
    Tfrm_Probe::Change(*screen->cds);
    Tfrm_Probe::Change(*screen->cds2);
    host.App.QueueAnswer({u"ok"_s});
    host.App.QueueAnswer({u"cancel"_s});
    EXPECT_FALSE(screen->Close());
    EXPECT_EQ(host.App.ShownMessages().size(), 2U);
    EXPECT_EQ(screen->cds->ChangeCount(), 1);
    EXPECT_EQ(screen->cds2->ChangeCount(), 1);
    EXPECT_EQ(variable, screen);

    // Cancel is the default button, and ends the questions.
    host.App.ClearShownMessages();
    EXPECT_FALSE(screen->Close());
    ASSERT_EQ(host.App.ShownMessages().size(), 1U);
    EXPECT_EQ(host.App.ShownMessages()[0].text, QStringView(kQuestion));
    EXPECT_EQ(host.App.ShownMessages()[0].caption, u"试验"_s);
    EXPECT_EQ(host.App.ShownMessages()[0].icon, TMessageIcon::Question);

    host.App.QueueAnswer({u"ok"_s});
    host.App.QueueAnswer({u"ok"_s});
    EXPECT_TRUE(screen->Close());
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(host.MainForm.MessageNumbers().back(), kMessageClosed);
    RunEvents();
    EXPECT_TRUE(screen.isNull());
}

TEST_F(BasicScreen, ARowStillInEditIsUnsavedTooAndAskedOnceADataSet)
{
    Show();
    screen->OpenBoth();
    const auto close = [this] {
        host.App.ClearShownMessages();
        return screen->Close();
    };
    Tfrm_Probe::Change(*screen->cds);
    screen->cds->Edit();
    screen->cds->FieldByName(u"NOTE").SetAsString(u"typed"_s);
    EXPECT_FALSE(close());
    EXPECT_EQ(host.App.ShownMessages().size(), 1U);
    RunEvents();
    EXPECT_TRUE(screen->isWindowModified());
    screen->cds->Cancel();
    screen->cds->CancelUpdates();
    RunEvents();
    EXPECT_FALSE(screen->isWindowModified());

    // Text in a cell's editor, written nowhere yet.
    TDBGridEh* grid = screen->DataView1->DataViewGrid;
    grid->SelectField(u"NOTE");
    grid->setFocus();
    QTest::keyClick(grid, Qt::Key_X);
    EXPECT_FALSE(close());
    screen->cds->Cancel();

    screen->cds->Edit();
    screen->cds->FieldByName(u"NOTE").SetAsString(screen->cds->FieldByName(u"NOTE").AsString());
    EXPECT_TRUE(close()) << "nothing differs";
    EXPECT_TRUE(host.App.ShownMessages().empty());
}

TEST_F(BasicScreen, AQuietScreenOnlySaysThatItCloses)
{
    screen->SetQuiet();
    Show();
    screen->OpenBoth();
    Tfrm_Probe::Change(*screen->cds);
    EXPECT_TRUE(screen->Close());
    EXPECT_TRUE(host.App.ShownMessages().empty());
    EXPECT_EQ(host.MainForm.MessageNumbers(), (std::vector<int>{kMessageCreating, kMessageClosed}));
    EXPECT_EQ(variable, nullptr);
    RunEvents();
    EXPECT_TRUE(screen.isNull());
}

TEST_F(BasicScreen, DyingWithoutBeingClosedClearsTheVariable)
{
    Show();
    screen->OpenBoth();
    delete screen.data();
    EXPECT_EQ(variable, nullptr);
}

TEST_F(BasicScreen, EnterMovesOnExceptWhereItIsTheControlsOwn)
{
    Show();
    screen->Edit1->setFocus();
    int returns = 0;
    QObject::connect(screen->Edit1, &QLineEdit::returnPressed, screen, [&] { ++returns; });
    QTest::keyClick(screen->Edit1, Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(screen->Edit1->hasFocus());
    returns = 0;
    QTest::keyClick(screen->Edit1, Qt::Key_Return);
    EXPECT_EQ(returns, 1);
    EXPECT_TRUE(screen->Edit2->hasFocus());
    QTest::keyClick(screen->Edit2, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_TRUE(screen->Memo1->hasFocus());

    QTest::keyClick(screen->Memo1, Qt::Key_Return);
    EXPECT_EQ(screen->Memo1->toPlainText(), u"\n"_s);
    EXPECT_TRUE(screen->Memo1->hasFocus());
    QTest::keyClick(screen->Memo1, Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(screen->Memo1->toPlainText(), u"\n"_s);
    EXPECT_FALSE(screen->Memo1->hasFocus());

    screen->KeyPreview = false;
    screen->Edit1->setFocus();
    QTest::keyClick(screen->Edit1, Qt::Key_Return);
    EXPECT_TRUE(screen->Edit1->hasFocus());
}

namespace {

// With a button that the table of keys names, and two pages.
class Tfrm_Keyed : public Tfrm_Probe {
public:
    using Tfrm_Probe::Tfrm_Probe;
    void CreateControls() override
    {
        Tfrm_Probe::CreateControls();
        Turn = new QPushButton(u"转单"_s, this);
        Pages = new QTabWidget(this);
        Pages->addTab(new QWidget, u"查询条件"_s);
        Pages->addTab(new QWidget, u"详细数据"_s);
        layout()->addWidget(Turn);
        layout()->addWidget(Pages);
        DataView1->DataViewGrid->ReadOnly = true;
        DataView1->DataViewGrid->OnDblClick = [this] { Pages->setCurrentIndex(1); };
    }
    QPushButton* Turn = nullptr;
    QTabWidget* Pages = nullptr;
};

} // namespace

TEST_F(BasicScreen, ButtonsPagesAndListsHaveKeys)
{
    auto* keyed = MakeScreen<Tfrm_Keyed>(&host.App);
    keyed->OpenBoth();
    keyed->Show();
    QApplication::setActiveWindow(&host.MainForm);
    RunEvents();
    TDBGridEh* grid = keyed->DataView1->DataViewGrid;
    int turns = 0;
    QObject::connect(keyed->Turn, &QPushButton::clicked, [&] {
        ++turns;
        EXPECT_FALSE(keyed->Edit1->hasFocus()) << "what was typed there is written before";
    });
    const auto offers = [&](const QString& key) { return keyed->KeyTexts().contains(key); };
    for (const QString& key : {u"转单\tF8"_s, u"保存\tCtrl+S"_s, u"详细数据\tAlt+2"_s, u"复制\tCtrl+C"_s,
             u"打开当前行\tAlt+Return"_s})
        EXPECT_TRUE(offers(key)) << key.toStdString() << keyed->KeyTexts().join(u'|').toStdString();
    EXPECT_TRUE(keyed->Turn->toolTip().endsWith(u"（F8）"_s));

    keyed->Edit1->setFocus();
    QTest::keyClick(keyed->Edit1, Qt::Key_F8);
    EXPECT_EQ(turns, 1);
    EXPECT_TRUE(keyed->Edit1->hasFocus()) << "and the user goes on where they were";
    keyed->Turn->setEnabled(false);
    QTest::keyClick(keyed->Edit1, Qt::Key_F8);
    EXPECT_EQ(turns, 1);
    keyed->Turn->hide();
    EXPECT_FALSE(offers(u"转单\tF8"_s));

    grid->setFocus();
    QTest::keyClick(grid, Qt::Key_Return, Qt::AltModifier);
    EXPECT_EQ(keyed->Pages->currentIndex(), 1);
    QTest::keyClick(grid, Qt::Key_Down);
    QTest::keyClick(grid, Qt::Key_Escape);
    EXPECT_EQ(keyed->Pages->currentIndex(), 0);
    EXPECT_EQ(keyed->cds->RecNo(), 2);
    EXPECT_TRUE(grid->hasFocus());
    QTest::keyClick(grid, Qt::Key_2, Qt::AltModifier);
    EXPECT_EQ(keyed->Pages->currentIndex(), 1);
}

TEST_F(BasicScreen, StoredPropertiesComeBack)
{
    screen->Prop->Active = true;
    screen->Prop->StoredProps = {u"Edit1.<P>.Text"_s, u"Panel1.NoSuch.<P>.Text"_s, u"nonsense"_s};
    Show();
    screen->Edit1->setText(u"记住"_s);
    screen->Close();
    RunEvents();

    auto* again = MakeScreen<Tfrm_Probe>(&host.App);
    again->Prop->Active = true;
    again->Prop->StoredProps = {u"Edit1.<P>.Text"_s};
    again->Edit1->setText(u"预设"_s);
    again->Show();
    EXPECT_EQ(again->Edit1->text(), u"记住"_s);
}

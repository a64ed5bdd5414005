#include "runtime/ui/Application.h"
#include "runtime/ui/DBControls.h"
#include "runtime/ui/LookupCompletion.h"
#include "tests/runtime/DataSetRows.h"

#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

class DBControlsTest : public testing::Test {
protected:
    DBControlsTest()
    {
        orders.OpenRows(ThreeOrders());
        source.SetDataSet(&orders);
        Application->OnException = [this](const QString& message) { problems += message; };
        sites.OpenRows(MakeRows(
            {Column(u"SITE_CODE", wire::ColumnType::Text), Column(u"SITE_NAME", wire::ColumnType::Text)},
            {{T(u"2001"), T(u"上海浦东")}, {T(u"3001"), T(u"广州天河")}, {T(u"2010"), T(u"上海静安")},
                {T(u"201"), T(u"苏州")}}));
        siteSource.SetDataSet(&sites);
        byName = {&siteSource, u"SITE_NAME"_s, {}, {{u"SITE_NAME"_s, u"网点名称"_s, 90}}, {u"SITE_CODE"_s}};
    }
    ~DBControlsTest() override { Application->OnException = {}; }

    void Show()
    {
        other = new QLineEdit(&window);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    TClientDataSetEx orders, sites;
    TDataSource source, siteSource;
    TLookupParams byName;
    QWidget window;
    QLineEdit* other = nullptr;
    QStringList problems;
};

TEST_F(DBControlsTest, BoundEditFollowsTheRowAndWritesOnLeaving)
{
    auto* edit = new TDBEditEh(&window, u"DBEditEh1"_s);
    Show();
    edit->Binding().SetDataSource(&source);
    edit->Binding().SetDataField(u"site");
    EXPECT_EQ(edit->Text(), u"上海"_s);
    orders.Next();
    EXPECT_EQ(edit->Text(), u"北京"_s);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, u"x"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"北京"_s);
    other->setFocus();
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"x"_s);
    orders.Cancel();
    EXPECT_EQ(edit->Text(), u"北京"_s);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, u"y"_s);
    orders.FieldByName(u"STATUS").SetAsInteger(2);
    EXPECT_EQ(edit->Text(), u"y"_s) << "another field's change does not disturb typing";
    orders.Post();
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"y"_s) << "a post takes what was typed";
    source.SetDataSet(nullptr);
    EXPECT_EQ(edit->Text(), QString());
}

TEST_F(DBControlsTest, ARefusedEditPutsTheTextBack)
{
    auto* edit = new TDBEditEh(&window);
    edit->Binding().SetDataSource(&source);
    edit->Binding().SetDataField(u"SITE");
    Show();
    orders.BeforeEdit = [] { Abort(); };
    edit->setFocus();
    QTest::keyClicks(edit, u"z"_s);
    EXPECT_EQ(edit->Text(), u"上海"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    orders.BeforeEdit = {};
    edit->Binding().SetReadOnly(true);
    QTest::keyClicks(edit, u"z"_s);
    EXPECT_EQ(edit->Text(), u"上海"_s);
    EXPECT_TRUE(problems.isEmpty());
}

TEST_F(DBControlsTest, TextThatTheFieldCannotTakeStaysMarkedAndStopsThePost)
{
    auto* edit = new TDBEditEh(&window);
    edit->Binding().SetDataSource(&source);
    edit->Binding().SetDataField(u"AMOUNT");
    Show();
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, u"abc"_s);
    other->setFocus();
    EXPECT_EQ(problems.size(), 1);
    EXPECT_TRUE(edit->property("invalid").toBool());
    EXPECT_EQ(edit->Text(), u"abc"_s);
    EXPECT_THROW(orders.Post(), EAbort);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    edit->SetText(u"4.5"_s);
    orders.Post();
    EXPECT_FALSE(edit->property("invalid").toBool());
    EXPECT_EQ(orders.FieldByName(u"AMOUNT").AsString(), u"4.5"_s);
}

TEST_F(DBControlsTest, FreeControlsKeepWhatIsTyped)
{
    auto* edit = new TDBEditEh(&window);
    int changes = 0;
    edit->OnChange = [&] { ++changes; };
    Show();
    edit->setFocus();
    QTest::keyClicks(edit, u"ab"_s);
    other->setFocus();
    EXPECT_EQ(edit->Text(), u"ab"_s);
    EXPECT_EQ(changes, 2);
}

TEST_F(DBControlsTest, CombosMapItemsToKeys)
{
    TDBComboBoxEh combo(nullptr, u"DBComboBoxEh1"_s);
    combo.SetItems({u"全部"_s, u"取消"_s, u"等待接单"_s}, {u"-2"_s, u"-1"_s, u"0"_s});
    EXPECT_EQ(combo.Text(), QString()) << "no item is chosen for the user";
    combo.SetText(u"等待接单"_s);
    EXPECT_EQ(combo.ItemIndex(), 2);
    EXPECT_EQ(combo.Value(), u"0"_s);
    combo.SetText(u"别的"_s);
    EXPECT_EQ(combo.ItemIndex(), -1);
    EXPECT_EQ(combo.Value(), u"别的"_s);
    combo.Binding().SetDataSource(&source);
    combo.Binding().SetDataField(u"STATUS");
    EXPECT_EQ(combo.Text(), u"等待接单"_s);
    combo.setCurrentIndex(1);
    orders.Post();
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), -1);
    orders.Next();
    EXPECT_EQ(combo.Text(), u"1"_s) << "a value that no item stands for is shown as it is";
}

TEST_F(DBControlsTest, CheckBoxWritesAtOnce)
{
    TDBCheckBoxEh check;
    check.Binding().SetDataSource(&source);
    check.Binding().SetDataField(u"STATUS");
    EXPECT_FALSE(check.isChecked());
    check.click();
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 1);
    orders.Cancel();
    EXPECT_FALSE(check.isChecked());
    orders.BeforeEdit = [] { Abort(); };
    check.click();
    EXPECT_FALSE(check.isChecked());
}

TEST_F(DBControlsTest, DatesAreCompletedStepsCountAndNonsenseStays)
{
    auto* edit = new TDBDateTimeEditEh(&window);
    Show();
    edit->setFocus();
    QTest::keyClicks(edit, u"2024-2-29 7:05"_s);
    other->setFocus();
    EXPECT_EQ(edit->Text(), u"2024-02-29 07:05:00"_s);
    edit->setFocus();
    edit->setCursorPosition(9);
    QTest::keyClick(edit, Qt::Key_Up);
    EXPECT_EQ(edit->Text(), u"2024-03-01 07:05:00"_s);
    edit->setCursorPosition(12);
    QTest::keyClick(edit, Qt::Key_Down);
    EXPECT_EQ(edit->Text(), u"2024-03-01 06:05:00"_s);
    QTest::keyClick(edit, Qt::Key_Down, Qt::AltModifier);
    auto* calendar = edit->findChild<QCalendarWidget*>();
    ASSERT_NE(calendar, nullptr);
    calendar->setSelectedDate(QDate(2024, 12, 31));
    Q_EMIT calendar->activated(calendar->selectedDate());
    EXPECT_EQ(edit->Text(), u"2024-12-31 06:05:00"_s) << "the time of day stays";
    edit->SetText(u"昨天"_s);
    other->setFocus();
    EXPECT_EQ(edit->Text(), u"昨天"_s);
    edit->Kind = TDateTimeKind::Date;
    edit->Binding().SetDataSource(&source);
    edit->Binding().SetDataField(u"CREATE_DATE");
    EXPECT_EQ(edit->Text(), u"2024-01-01"_s);
}

TEST_F(DBControlsTest, CompletionTakesTheFirstRowThatBeginsSo)
{
    EXPECT_EQ(CompleteLookup(byName, u"上海静安"_s), u"上海静安"_s);
    EXPECT_EQ(CompleteLookup(byName, u"上"_s), u"上海浦东"_s);
    EXPECT_EQ(CompleteLookup(byName, u"shj"_s), u"上海静安"_s);
    EXPECT_EQ(CompleteLookup(byName, u"GZ"_s), u"广州天河"_s);
    EXPECT_EQ(CompleteLookup(byName, u"30"_s), u"广州天河"_s);
    EXPECT_EQ(CompleteLookup(byName, u"201"_s), u"苏州"_s) << "a whole code goes before a longer one";
    EXPECT_EQ(CompleteLookup(byName, u"2"_s), u"上海浦东"_s);
    EXPECT_EQ(CompleteLookup(byName, u"海"_s), u"海"_s) << "beginnings only";
    EXPECT_EQ(CompleteLookup(byName, u"x'y"_s), u"x'y"_s);
    EXPECT_EQ(CompleteLookup(byName, {}), QString());
    sites.Close();
    EXPECT_EQ(CompleteLookup(byName, u"上"_s), u"上"_s);
    EXPECT_EQ(CompleteLookup({}, u"上"_s), u"上"_s);
}

TEST_F(DBControlsTest, LookupNarrowsItsListAsItIsTyped)
{
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byName);
    int updates = 0, exits = 0;
    lookup->OnUpdateData = [&] { ++updates; };
    lookup->OnExit = [&] {
        ++exits;
        lookup->SetText(CompleteLookup(lookup->Lookup(), lookup->Text()));
    };
    Show();
    lookup->setFocus();
    QTest::keyClicks(lookup, u"sh"_s);
    EXPECT_TRUE(lookup->ListVisible());
    QTest::keyClick(lookup, Qt::Key_Down);
    QTest::keyClick(lookup, Qt::Key_Return);
    EXPECT_FALSE(lookup->ListVisible());
    EXPECT_EQ(lookup->Text(), u"上海静安"_s);
    EXPECT_EQ(updates, 1);
    lookup->SetText(u"gz"_s);
    lookup->DropDown();
    QTest::keyClick(lookup, Qt::Key_Escape);
    EXPECT_EQ(lookup->Text(), u"gz"_s);
    EXPECT_EQ(updates, 1);
    other->setFocus();
    EXPECT_EQ(exits, 1);
    EXPECT_EQ(lookup->Text(), u"广州天河"_s);
    // Left with a row gone to in the open list, that row is meant.
    lookup->setFocus();
    lookup->SetText(u"sh"_s);
    lookup->DropDown();
    QTest::keyClick(lookup, Qt::Key_Down);
    other->setFocus();
    EXPECT_EQ(lookup->Text(), u"上海静安"_s);
    EXPECT_FALSE(lookup->ListVisible());
}

TEST_F(DBControlsTest, LookupStoresTheKeyAndShowsTheText)
{
    TLookupParams byCode = byName;
    byCode.keyField = u"SITE_CODE"_s;
    byCode.listField = u"SITE_NAME"_s;
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byCode);
    lookup->Binding().SetDataSource(&source);
    lookup->Binding().SetDataField(u"SITE");
    Show();
    EXPECT_EQ(lookup->Text(), u"上海"_s) << "a key that the list lacks is shown as it is";
    lookup->setFocus();
    lookup->SetText(u"广州天河"_s);
    EXPECT_EQ(lookup->KeyValue(), u"3001"_s);
    QTest::keyClick(lookup, Qt::Key_Return);
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"3001"_s);
    orders.Post();
    EXPECT_EQ(lookup->Text(), u"广州天河"_s);
}

TEST_F(DBControlsTest, LookupHandlerMayEatKeys)
{
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byName);
    Show();
    lookup->setFocus();
    lookup->OnKeyDown = [](QKeyEvent* event) { event->setAccepted(event->key() == Qt::Key_X); };
    QTest::keyClicks(lookup, u"axb"_s);
    EXPECT_EQ(lookup->Text(), u"ab"_s);
}

} // namespace

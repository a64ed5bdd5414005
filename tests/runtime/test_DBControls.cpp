#include "runtime/controls/DBControls.h"
#include "runtime/controls/LookupCompletion.h"
#include "runtime/ui/Application.h"
#include "tests/runtime/DataSetRows.h"

#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QLabel>
#include <QTableView>
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
        ListSites({{u"2001"_s, u"上海浦东"_s}, {u"3001"_s, u"广州天河"_s}, {u"2010"_s, u"上海静安"_s},
            {u"201"_s, u"苏州"_s}});
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

    void ListSites(const std::vector<QStringList>& codesAndNames)
    {
        sites.OpenRows(MakeTextRows({u"SITE_CODE"_s, u"SITE_NAME"_s}, codesAndNames));
    }
    template <typename Control> Control* Bound(Control* control, QStringView field)
    {
        control->Binding().SetDataSource(&source);
        control->Binding().SetDataField(field);
        return control;
    }
    // Over what the box holds.
    static void Type(QLineEdit* box, const QString& text)
    {
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, text);
    }
    QString Text(QStringView field) { return orders.FieldByName(field).AsString(); }

    TClientDataSetEx orders, sites;
    TDataSource source, siteSource;
    TLookupParams byName;
    QWidget window;
    QLineEdit* other = nullptr;
    QStringList problems;
};

TEST_F(DBControlsTest, BoundEditFollowsTheRowAndWritesOnLeaving)
{
    auto* edit = Bound(new TDBEditEh(&window, u"DBEditEh1"_s), u"site");
    Show();
    EXPECT_EQ(edit->Text(), u"上海"_s);
    orders.Next();
    EXPECT_EQ(edit->Text(), u"北京"_s);
    Type(edit, u"x"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    EXPECT_EQ(Text(u"SITE"), u"北京"_s);
    other->setFocus();
    EXPECT_EQ(Text(u"SITE"), u"x"_s);
    orders.Cancel();
    EXPECT_EQ(edit->Text(), u"北京"_s);
    Type(edit, u"y"_s);
    orders.FieldByName(u"STATUS").SetAsInteger(2);
    EXPECT_EQ(edit->Text(), u"y"_s) << "another field's change does not disturb typing";
    orders.Post();
    EXPECT_EQ(Text(u"SITE"), u"y"_s) << "a post takes what was typed";
    source.SetDataSet(nullptr);
    EXPECT_EQ(edit->Text(), QString());
}

TEST_F(DBControlsTest, ARefusedEditPutsTheTextBack)
{
    auto* edit = Bound(new TDBEditEh(&window), u"SITE");
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
    auto* edit = Bound(new TDBEditEh(&window), u"AMOUNT");
    Show();
    Type(edit, u"abc"_s);
    other->setFocus();
    EXPECT_EQ(problems.size(), 1);
    EXPECT_TRUE(edit->property("invalid").toBool());
    EXPECT_EQ(edit->Text(), u"abc"_s);
    EXPECT_THROW(orders.Post(), EAbort);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    edit->SetText(u"4.5"_s);
    orders.Post();
    EXPECT_FALSE(edit->property("invalid").toBool());
    EXPECT_EQ(Text(u"AMOUNT"), u"4.5"_s);
}

TEST_F(DBControlsTest, ALongTextShowsItsBeginningUntilItIsWorkedOn)
{
    orders.SetFieldAndPost(u"SITE", QString(200, u'长'));
    auto* edit = Bound(new TDBEditEh(&window), u"SITE");
    auto* combo = Bound(new TDBComboBoxEh(&window), u"SITE");
    Show();
    const auto beginnings = [&] { return edit->cursorPosition() + combo->lineEdit()->cursorPosition(); };
    EXPECT_EQ(beginnings(), 0);
    orders.Next();
    orders.Prior();
    EXPECT_EQ(beginnings(), 0);
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_End);
    QTest::keyClicks(edit, u"x"_s);
    EXPECT_GT(edit->cursorPosition(), 0);
    other->setFocus();
    EXPECT_EQ(edit->cursorPosition(), 0);
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
    Bound(&combo, u"STATUS");
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
    Bound(&check, u"STATUS");
    EXPECT_FALSE(check.isChecked());
    check.click();
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 1);
    orders.Cancel();
    EXPECT_FALSE(check.isChecked());
    orders.BeforeEdit = [] { Abort(); };
    check.click();
    EXPECT_FALSE(check.isChecked());
}

TEST_F(DBControlsTest, DatesAreReadAsPeopleTypeThemAndNonsenseIsToldItsForm)
{
    auto* edit = new TDBDateTimeEditEh(&window);
    Show();
    using enum TDateTimeKind;
    const struct {
        TDateTimeKind kind;
        const char16_t* typed;
        const char16_t* shown; // nullptr: as typed, and told
    } cases[] = {
        {DateTime, u"2024-2-29 7:05", u"2024-02-29 07:05:00"},
        {DateTime, u"20261101", u"2026-11-01 00:00:00"},
        {DateTime, u"2026/11/1 8:00", u"2026-11-01 08:00:00"},
        {DateTime, u" 2026-11-1 ", u"2026-11-01 00:00:00"},
        {DateTime, u"20261101 083000", u"2026-11-01 08:30:00"},
        {DateTime, u"20261101083015", u"2026-11-01 08:30:15"},
        {DateTime, u"2026.11.1 0830", u"2026-11-01 08:30:00"},
        {DateTime, u"２０２６年１１月１日　８：００", u"2026-11-01 08:00:00"},
        {DateTime, u"", u""},
        {DateTime, u"20261301", nullptr},
        {DateTime, u"2026-2-30", nullptr},
        {DateTime, u"2026-11-123", nullptr},
        {DateTime, u"11-1", nullptr},
        {DateTime, u"2026/11/1 25:00", nullptr},
        {DateTime, u"昨天", nullptr},
        {Date, u"20261101", u"2026-11-01"},
        {Time, u"8:00", u"08:00:00"},
        {Time, u"1830", u"18:30:00"},
        {Time, u"24:00", nullptr},
    };
    for (const auto& c : cases) {
        edit->Kind = c.kind;
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        for (const QChar letter : QString::fromUtf16(c.typed)) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
            QApplication::sendEvent(edit, &press);
        }
        const QString expected = QString::fromUtf16(c.shown ? c.shown : c.typed);
        EXPECT_EQ(edit->Text(), expected) << "a query by key asks before the box is left";
        other->setFocus();
        EXPECT_EQ(edit->text(), expected);
        EXPECT_EQ(edit->toolTip().contains(DateTimeForm(c.kind)), c.shown == nullptr)
            << edit->text().toStdString();
    }
    EXPECT_NE(window.findChild<QLabel*>(u"TextMarkHint"_s), nullptr) << "no room in the box: below it";
    EXPECT_TRUE(problems.isEmpty());

    edit->Kind = DateTime;
    edit->SetText(u"2024-02-29 07:05:00"_s);
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
}

TEST_F(DBControlsTest, DatesAndTimesReachTheirFields)
{
    orders.SetFieldAndPost(u"SITE", T(u"08:00:00"));
    auto* date = Bound(new TDBDateTimeEditEh(&window), u"CREATE_DATE");
    date->Kind = TDateTimeKind::Date;
    auto* time = Bound(new TDBDateTimeEditEh(&window), u"SITE");
    time->Kind = TDateTimeKind::Time;
    Show();
    EXPECT_EQ(date->Text(), u"2024-01-01"_s);
    EXPECT_EQ(time->Text(), u"08:00:00"_s);
    const auto type = [this](QLineEdit* box, const QString& text) {
        Type(box, text);
        other->setFocus();
    };
    type(date, u"20261101"_s);
    type(time, u"9:30"_s);
    EXPECT_EQ(Text(u"CREATE_DATE"), u"2026-11-01 00:00:00"_s);
    EXPECT_EQ(Text(u"SITE"), u"09:30:00"_s) << "the text in its form";
    type(date, u"x"_s);
    EXPECT_TRUE(problems.isEmpty()) << "told at the box alone";
    EXPECT_THROW(orders.Post(), EAbort) << "and not stored";
    EXPECT_EQ(problems.size(), 1);
    EXPECT_EQ(date->Text(), u"x"_s);
    orders.Cancel();
    type(time, u"24:00"_s);
    EXPECT_THROW(orders.Post(), EAbort) << "no time, though the field would take any text";
}

TEST_F(DBControlsTest, LookupNarrowsItsListAsItIsTyped)
{
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byName);
    int updates = 0, exits = 0;
    lookup->OnUpdateData = [&] { ++updates; };
    lookup->OnExit = [&] {
        ++exits;
        lookup->Complete();
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

TEST_F(DBControlsTest, LookupOffersWhatContainsTheTextAfterWhatBeginsSo)
{
    const auto offered = [&](const QString& typed) {
        QStringList names;
        for (const int row : MatchingLookupRows(byName, typed).rows)
            names += sites.ViewText(row, 1);
        return names.join(u' ');
    };
    const std::pair<QString, QString> cases[] = {{u"01"_s, u"上海浦东 广州天河 上海静安 苏州"_s},
        {u"20"_s, u"上海浦东 上海静安 苏州"_s}, {u"201"_s, u"上海静安 苏州"_s}, {u"州"_s, u"广州天河 苏州"_s},
        {u"300"_s, u"广州天河"_s}, {{}, u"上海浦东 广州天河 上海静安 苏州"_s}};
    for (const auto& [typed, names] : cases)
        EXPECT_EQ(offered(typed), names) << typed;
    EXPECT_EQ(MatchingLookupRows(byName, u"天"_s).beginning, 0);
    const auto completed = [&](const QString& typed) {
        const int row = CompleteLookup(byName, typed);
        return row < 0 ? typed : sites.ViewText(row, 1);
    };
    EXPECT_EQ(completed(u"201"_s), u"苏州"_s) << "a whole code goes before a longer one";
    EXPECT_EQ(completed(u"2"_s), u"上海浦东"_s);
    EXPECT_EQ(completed(u"海"_s), u"海"_s) << "beginnings only";
    sites.Close();
    EXPECT_EQ(completed(u"上"_s), u"上"_s);
}

TEST_F(DBControlsTest, LookupMarksATextThatNoRowHolds)
{
    byName.unknownText = u"无此网点"_s;
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->resize(200, 24);
    lookup->SetLookup(byName);
    Show();
    const QSize asked = lookup->sizeHint();
    const auto marked = [&] {
        const auto* word = lookup->findChild<QLabel*>(u"TextMark"_s);
        EXPECT_EQ(word->isVisible(), lookup->property("unknown").toBool());
        return word->isVisible() && word->text() == u"无此网点"_s;
    };
    lookup->setFocus();
    QTest::keyClicks(lookup, u"3"_s);
    EXPECT_FALSE(marked()) << "still the beginning of one";
    QTest::keyClicks(lookup, u"x"_s);
    EXPECT_TRUE(marked()) << "at once";
    QTest::keyClick(lookup, Qt::Key_Backspace);
    EXPECT_FALSE(marked());
    QTest::keyClick(lookup, Qt::Key_Escape);
    other->setFocus();
    EXPECT_TRUE(marked()) << "no row when left";
    lookup->SetText(QString(14, u'远'));
    EXPECT_FALSE(lookup->findChild<QLabel*>(u"TextMark"_s)->isVisible()) << "does not run into the text";
    const auto* hint = window.findChild<QLabel*>(u"TextMarkHint"_s);
    EXPECT_TRUE(hint->isVisible());
    window.resize(200, 120);
    auto* row = new QWidget(&window);
    row->setGeometry(0, 60, 200, 24);
    lookup->setParent(row);
    lookup->show();
    row->show();
    EXPECT_FALSE(hint->visibleRegion().isEmpty()) << "nor is it cut off where a row has no room";
    lookup->SetText(u"某地"_s);
    EXPECT_TRUE(marked());
    EXPECT_EQ(lookup->sizeHint(), asked) << "what stands beside it stays where it is";
    for (const auto& [text, unknown] : {std::pair{u"上海浦东"_s, false}, std::pair{u"某地"_s, true},
             std::pair{QString(), false}, std::pair{u"苏州 "_s, true}}) {
        lookup->SetText(text);
        EXPECT_EQ(marked(), unknown) << text.toStdString();
    }
    sites.OpenRows(MakeRows({Column(u"SITE_NAME", wire::ColumnType::Text)}, {{T(u"苏州 ")}}));
    EXPECT_FALSE(marked()) << "another list was read";
    lookup->SetText(u"某地"_s);
    sites.Close();
    EXPECT_FALSE(marked()) << "without a list nobody knows";
    EXPECT_TRUE(problems.isEmpty());
}

TEST_F(DBControlsTest, LookupKeepsTheRowThatWasChosenAmongEqualNames)
{
    ListSites({{u"01"_s, u"张三"_s}, {u"02"_s, u"张三"_s}, {u"03"_s, u"李四"_s}});
    byName.keyField = u"SITE_CODE"_s;
    byName.listField = u"SITE_NAME"_s;
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byName);
    QString told;
    lookup->OnUpdateData = [&] { told = lookup->ListText(u"SITE_CODE"); };
    Show();
    lookup->setFocus();
    lookup->DropDown();
    QTest::keyClick(lookup, Qt::Key_Down);
    QTest::keyClick(lookup, Qt::Key_Down);
    QTest::keyClick(lookup, Qt::Key_Return);
    EXPECT_EQ(told, u"02"_s);
    EXPECT_EQ(lookup->KeyValue(), u"02"_s);
    EXPECT_EQ(lookup->ChosenRow(), sites.ViewBookmark(1));
    sites.AddIndex(u"down"_s, u"SITE_CODE"_s, u"SITE_CODE"_s);
    sites.SetIndexName(u"down"_s);
    EXPECT_EQ(lookup->KeyValue(), u"02"_s) << "whatever the order";
    sites.SetIndexName({});
    lookup->SetText(u"李四"_s);
    EXPECT_EQ(lookup->ChosenRow(), 0u);
    lookup->SetText(u"张三"_s);
    EXPECT_EQ(lookup->KeyValue(), u"01"_s) << "a name set is the first of that name";
    lookup->SetText(u"02"_s);
    lookup->SetText(u"0"_s);
    lookup->Complete();
    EXPECT_EQ(lookup->ListText(u"SITE_CODE"), u"01"_s);
    ListSites({{u"09"_s, u"张三"_s}});
    EXPECT_EQ(lookup->ChosenRow(), 0u) << "rows of a list read anew are others";
}

TEST_F(DBControlsTest, LookupStoresTheKeyAndShowsTheText)
{
    TLookupParams byCode = byName;
    byCode.keyField = u"SITE_CODE"_s;
    byCode.listField = u"SITE_NAME"_s;
    auto* lookup = Bound(new TDBLookupComboboxEh(&window), u"SITE");
    lookup->SetLookup(byCode);
    Show();
    EXPECT_EQ(lookup->Text(), u"上海"_s) << "a key that the list lacks is shown as it is";
    lookup->setFocus();
    lookup->SetText(u"广州天河"_s);
    EXPECT_EQ(lookup->KeyValue(), u"3001"_s);
    QTest::keyClick(lookup, Qt::Key_Return);
    EXPECT_EQ(Text(u"SITE"), u"3001"_s);
    orders.Post();
    EXPECT_EQ(lookup->Text(), u"广州天河"_s);
}

TEST_F(DBControlsTest, BoxesWithADropDownListAreOneFamily)
{
    auto* combo = new TDBComboBoxEh(&window);
    combo->SetItems(
        {u"全部"_s, u"A1 浦东"_s, u"A2 一个很长的名字，比这个框宽得多，也看得全"_s, u"B1 天河"_s});
    auto* fixed = new TDBComboBoxEh(&window);
    fixed->setEditable(false);
    auto* lookup = new TDBLookupComboboxEh(&window);
    lookup->SetLookup(byName);
    auto* boxes = new QVBoxLayout(&window);
    for (QWidget* box : std::initializer_list<QWidget*>{combo, fixed, lookup})
        boxes->addWidget(box);
    Show();
    EXPECT_EQ(combo->height(), lookup->height());
    EXPECT_EQ(fixed->height(), lookup->height());

    lookup->setFocus();
    QTest::keyClick(lookup, Qt::Key_F4);
    const int rowHeight = lookup->findChild<QTableView*>()->rowHeight(0);
    QTest::keyClick(lookup, Qt::Key_Escape);
    combo->setFocus();
    combo->resize(80, combo->height());
    const QAbstractItemView& list = *combo->view();
    for (const auto& [key, modifier] :
        {std::pair(Qt::Key_F4, Qt::NoModifier), std::pair(Qt::Key_Down, Qt::AltModifier)}) {
        QTest::keyClick(combo, key, modifier);
        ASSERT_TRUE(list.isVisible());
        EXPECT_EQ(list.sizeHintForRow(0), rowHeight);
        EXPECT_GE(list.viewport()->width(), list.sizeHintForColumn(0)) << "the longest text is not cut";
        QTest::keyClick(combo->view(), Qt::Key_Escape);
        EXPECT_FALSE(list.isVisible());
    }

    // Typing leads to what is offered, what nothing holds is marked, Esc gives the text back.
    struct TKind {
        QWidget* box;
        QLineEdit* edit;
        QString typed;
        std::function<bool()> led;
    };
    combo->SetText(u"全部"_s);
    lookup->SetText(u"苏州"_s);
    for (const TKind& kind :
        {TKind{combo, combo->lineEdit(), u"A"_s, [&] { return combo->Text() == u"A1 浦东"; }},
            TKind{lookup, lookup, u"3"_s, [&] { return lookup->ListVisible(); }}}) {
        const QString before = kind.edit->text();
        other->setFocus();
        kind.box->setFocus();
        kind.edit->selectAll();
        QTest::keyClicks(kind.box, kind.typed);
        EXPECT_TRUE(kind.led()) << before;
        QTest::keyClicks(kind.box, u"zz"_s);
        EXPECT_TRUE(kind.edit->property("unknown").toBool()) << before;
        for (int presses = 0; presses < 2 && kind.edit->text() != before; ++presses)
            QTest::keyClick(kind.box, Qt::Key_Escape);
        EXPECT_EQ(kind.edit->text(), before);
        EXPECT_FALSE(kind.edit->property("unknown").toBool()) << before;
    }
}

} // namespace

#include "framework/LabelledControls.h"
#include "runtime/controls/DBControls.h"
#include "tests/framework/ProbeScreen.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A screen with the boxes of a query.
class Tfrm_Asking : public Tfrm_Probe {
public:
    using Tfrm_Probe::Tfrm_Probe;

    void CreateControls() override
    {
        Tfrm_Probe::CreateControls();
        Edit = new TDBEditEh(this, u"DBEditEh1"_s);
        From = new TDBDateTimeEditEh(this, u"DBDateTimeEditEh1"_s);
        List = new TDBComboBoxEh(this, u"DBComboBoxEh1"_s);
        List->SetItems({u"全部"_s, u"一"_s});
        List->SetText(u"全部"_s);
        Check = new TDBCheckBoxEh(this, u"DBCheckBoxEh1"_s);
        Query = NewButton(this, u"Button2"_s, u"查询"_s);
        auto* actions = new QWidget(this);
        Driver = new TDBEditEh(actions, u"DBEditEh3"_s);
        NewButton(actions, u"Button3"_s, u"批量分派"_s);
        Bound = new TDBEditEh(this, u"DBEditEh2"_s);
        Bound->Binding().SetDataSource(DataView1->DS);
        Bound->Binding().SetDataField(u"NOTE");
    }
    void FormShow() override { Setup(DataView1, cds, nullptr, Query); }

    TDBEditEh* Edit = nullptr;
    TDBEditEh* Driver = nullptr;
    TDBEditEh* Bound = nullptr;
    TDBDateTimeEditEh* From = nullptr;
    TDBComboBoxEh* List = nullptr;
    TDBCheckBoxEh* Check = nullptr;
    QPushButton* Query = nullptr;
};

class LastState : public ::testing::Test {
protected:
    LastState() { host.MainForm.show(); }

    void OpenAs(const QString& account)
    {
        delete screen.data();
        host.SetValue(u"user"_s, account);
        screen = MakeScreen<Tfrm_Asking>(&host.App);
        screen->Show();
        grid = screen->DataView1->DataViewGrid;
    }
    // As the user sees them, hidden ones in brackets.
    QString Columns() const
    {
        QStringList names;
        for (int i = 0; i < grid->ColumnCount(); ++i) {
            const TColumnEh& column = grid->Column(i);
            names += column.visible ? column.title : u'(' + column.title + u')';
        }
        return names.join(u' ');
    }
    QString Ids() const
    {
        QString ids;
        for (int row = 0; row < screen->cds->RecordCount(); ++row)
            ids += screen->cds->ViewText(row, 0);
        return ids;
    }

    TProbeHost host;
    QPointer<Tfrm_Asking> screen;
    TDBGridEh* grid = nullptr;
};

const QString kAsMade = u"序号 (隐藏) 编号 备注 其它"_s;

} // namespace

TEST_F(LastState, AListComesBackAsItsAccountLeftIt)
{
    OpenAs(u"anna"_s);
    EXPECT_EQ(Columns(), kAsMade);
    const int frozen = grid->FrozenCols();
    screen->OpenBoth();
    grid->ClickTitle(grid->ColumnIndex(u"NOTE"));
    grid->ClickTitle(grid->ColumnIndex(u"NOTE")); // descending
    grid->MoveColumn(grid->ColumnIndex(u"NOTE"), grid->ColumnIndex(u"ID"));
    grid->ModifyColumn(grid->ColumnIndex(u"ID"), [](TColumnEh& column) { column.width = 123; });
    grid->ModifyColumn(grid->ColumnIndex(u"EXTRA"), [](TColumnEh& column) { column.visible = false; });
    grid->SetFrozenCols(3);
    const QString left = u"序号 (隐藏) 备注 编号 (其它)"_s;

    OpenAs(u"bert"_s);
    EXPECT_EQ(Columns(), u"序号 (隐藏) 备注 其它 编号"_s)
        << "the layout of the machine, which knows what shows";
    EXPECT_EQ(grid->FrozenCols(), frozen);
    screen->OpenBoth();
    EXPECT_EQ(Ids(), u"12"_s);
    grid->MoveColumn(grid->ColumnIndex(u"NOTE"), grid->ColumnIndex(u"ID"));

    OpenAs(u"anna"_s);
    EXPECT_EQ(Columns(), left);
    EXPECT_EQ(grid->Column(grid->ColumnIndex(u"ID")).width, 123);
    EXPECT_EQ(grid->FrozenCols(), 3);
    EXPECT_EQ(grid->FooterText(0, grid->ColumnIndex(u"NOTE")), u"记录数"_s) << "under what shows first";
    EXPECT_TRUE(host.MainForm.Notices.isEmpty());
    screen->OpenBoth();
    EXPECT_EQ(host.MainForm.Notices, QStringList(u"按上次的排序列出：备注。"_s))
        << "the title may be out of sight";
    EXPECT_EQ(Ids(), u"21"_s);
    EXPECT_EQ(grid->Column(grid->ColumnIndex(u"NOTE")).sortMarker, TSortMarker::Down);
    grid->ClearSortMarkers();
    OpenAs(u"anna"_s);
    screen->OpenBoth();
    EXPECT_EQ(Ids(), u"12"_s);

    // Columns that are gone or damaged are passed over, new ones stand where they were made.
    delete screen.data();
    const QString section = u"anna.DataViewGrid.DataView1.frm_Probe"_s;
    LayoutStorage->EraseSection(section);
    const QStringList entries{
        u"GONE;50;1"_s, u"\u0001;;;"_s, u"EXTRA;70;1"_s, u"NOTE;-4;0"_s, u"ID;80;0"_s, u"extra;90;0"_s};
    for (qsizetype i = 0; i < entries.size(); ++i)
        LayoutStorage->WriteString(section, u"Column%1"_s.arg(i), entries[i]);
    LayoutStorage->WriteString(section, u"Frozen"_s, u"99999"_s);
    LayoutStorage->WriteString(section, u"Sorting"_s, u"GONE;-ID"_s);
    OpenAs(u"anna"_s);
    EXPECT_TRUE(Columns().contains(u"其它"_s) && Columns().contains(u"(编号)"_s));
    EXPECT_EQ(grid->FrozenCols(), frozen);
    screen->OpenBoth();
    EXPECT_EQ(Ids(), u"21"_s);
}

TEST_F(LastState, TheCriteriaOfTheLastQueryComeBackWhenAskedFor)
{
    OpenAs(u"anna"_s);
    auto* recall = screen->findChild<QAction*>(u"LastCriteria"_s);
    ASSERT_NE(recall, nullptr);
    EXPECT_FALSE(recall->isEnabled()) << "there was no query";
    screen->Edit->SetText(u"O'Hara ;=[1]"_s);
    screen->From->SetText(u"2024-01-01 00:00:00"_s);
    screen->List->SetText(u"一"_s);
    screen->Check->setChecked(true);
    screen->Driver->SetText(u"张三"_s);
    screen->Query->click();
    EXPECT_TRUE(recall->isEnabled());
    screen->Edit->SetText(u"not asked for"_s);

    OpenAs(u"anna"_s);
    EXPECT_TRUE(screen->Edit->Text().isEmpty()) << "a screen opens on its own criteria";
    screen->List->setEnabled(false);
    screen->From->SetText(u"2024-01-31 00:00:00"_s);
    screen->OpenBoth();
    screen->findChild<QAction*>(u"LastCriteria"_s)->trigger();
    EXPECT_EQ(screen->Edit->Text(), u"O'Hara ;=[1]"_s);
    EXPECT_TRUE(screen->Check->isChecked());
    EXPECT_EQ(screen->List->Text(), u"全部"_s) << "fixed here";
    EXPECT_EQ(screen->From->Text(), u"2024-01-31 00:00:00"_s) << "a day that is over is no use";
    EXPECT_EQ(screen->Bound->Text(), u"a"_s) << "belongs to a row";
    EXPECT_TRUE(screen->Driver->Text().isEmpty()) << "belongs to an action";
    EXPECT_EQ(host.MainForm.Notices.size(), 1);

    OpenAs(u"bert"_s);
    EXPECT_FALSE(screen->findChild<QAction*>(u"LastCriteria"_s)->isEnabled());
}

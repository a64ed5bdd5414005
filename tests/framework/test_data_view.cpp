#include "framework/DataViewLayout.h"
#include "framework/RecordButtons.h"
#include "tests/framework/ProbeScreen.h"
#include "wire/Error.h"

#include <QApplication>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList Fields(const TDBGridEh& grid)
{
    QStringList names;
    for (int i = 0; i < grid.ColumnCount(); ++i)
        names += grid.Column(i).fieldName;
    return names;
}

class DataView : public ::testing::Test {
protected:
    DataView() { Reopen(); }

    void Reopen()
    {
        delete screen.data();
        screen = MakeScreen<Tfrm_Probe>(&host.App);
        screen->OpenBoth();
        grid = screen->DataView1->DataViewGrid;
    }

    TProbeHost host;
    QPointer<Tfrm_Probe> screen;
    TDBGridEh* grid = nullptr;
    const QString section = u".DataViewGrid.DataView1.frm_Probe"_s;
};

} // namespace

TEST_F(DataView, FirstVisibleColumnWithAFieldCounts)
{
    EXPECT_EQ(grid->FooterRowCount(), 2);
    EXPECT_EQ(grid->FooterText(0, 2), u"记录数"_s);
    EXPECT_EQ(grid->FooterText(1, 2), u"2"_s);
    for (int i = 0; i < grid->ColumnCount(); ++i) {
        EXPECT_EQ(grid->Column(i).titleButton, grid->Column(i).visible) << i;
        EXPECT_EQ(grid->Column(i).footers.empty(), i != 2) << i;
    }

    TDataView fieldless(screen, u"DataView2"_s);
    fieldless.DataViewGrid->SetColumns({{.title = u"序号"_s}});
    fieldless.Loaded();
    EXPECT_TRUE(fieldless.DataViewGrid->Column(0).footers.empty());
}

TEST_F(DataView, RowNumbersOnlyUnderTheirCaptionAndOverRecords)
{
    QImage image(60, 30, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    TDataView& view = *screen->DataView1;
    EXPECT_TRUE(view.DataViewGridDrawColumnCell(painter, image.rect(), 0, 1));
    EXPECT_FALSE(view.DataViewGridDrawColumnCell(painter, image.rect(), 2, 1));
    EXPECT_FALSE(view.DataViewGridDrawColumnCell(painter, image.rect(), 0, -1));
    grid->SetSumListActive(false);
    EXPECT_FALSE(view.DataViewGridDrawColumnCell(painter, image.rect(), 0, 1));
    grid->SetSumListActive(true);
    screen->cds->Close();
    EXPECT_FALSE(view.DataViewGridDrawColumnCell(painter, image.rect(), 0, 1));
}

TEST_F(DataView, StripesByRecordNumber)
{
    TCellParams params;
    params.background = Qt::red;
    screen->DataView1->DataViewGridGetCellParams(grid->Column(2), 0, params);
    EXPECT_EQ(params.background, QColor(Qt::red));
    screen->DataView1->SetStriped(true);
    screen->DataView1->DataViewGridGetCellParams(grid->Column(2), 0, params);
    EXPECT_EQ(params.background, QColor(0xC4, 0xC4, 0xFF));
    screen->DataView1->DataViewGridGetCellParams(grid->Column(2), 1, params);
    EXPECT_EQ(params.background, QColor(0xDD, 0xDD, 0xFF));
}

TEST_F(DataView, ATitleClickSortsAndClearsTheSelection)
{
    screen->Show();
    grid->SelectRows({screen->cds->ViewBookmark(0), screen->cds->ViewBookmark(1)});
    ASSERT_EQ(grid->SelectedRows().size(), 2U);
    grid->ClickTitle(3);
    EXPECT_TRUE(grid->SelectedRows().empty());
    EXPECT_EQ(screen->cds->IndexName(), u"SortIndexEh"_s);
}

TEST_F(DataView, SortingRestsWhileARowIsEdited)
{
    EXPECT_TRUE(grid->SortLocal());
    screen->cds->Edit();
    EXPECT_FALSE(grid->SortLocal());
    screen->cds->Cancel();
    EXPECT_TRUE(grid->SortLocal());
    screen->cds->Append();
    EXPECT_FALSE(grid->SortLocal());
    screen->cds->Close();
    EXPECT_TRUE(grid->SortLocal());
}

TEST_F(DataView, ControlsLeftDisabledAreEnabledButNotDuringAWalk)
{
    screen->cds->DisableControls();
    Tfrm_Probe::Change(*screen->cds);
    EXPECT_TRUE(screen->cds->ControlsDisabled());
    screen->cds->EnableControls();
    QApplication::processEvents();
    EXPECT_FALSE(screen->cds->ControlsDisabled());

    screen->cds->DisableControls();
    screen->cds->DisableControls();
    Tfrm_Probe::Change(*screen->cds);
    screen->cds->EnableControls();
    screen->DataView1->DSStateChange();
    QApplication::processEvents();
    EXPECT_FALSE(screen->cds->ControlsDisabled());
}

TEST_F(DataView, TheLayoutComesBack)
{
    EXPECT_EQ(LayoutSection(*grid), section);
    grid->MoveColumn(grid->ColumnIndex(u"NOTE"), grid->ColumnIndex(u"ID"));
    grid->ModifyColumn(grid->ColumnIndex(u"ID"), [](TColumnEh& column) {
        column.width = 321;
        column.title = u"编;号=[1]"_s;
    });
    Reopen();
    EXPECT_EQ(Fields(*grid), QStringList({{}, u"HIDDEN"_s, u"NOTE"_s, u"ID"_s, u"EXTRA"_s}));
    EXPECT_EQ(grid->Column(3).width, 321);
    EXPECT_EQ(grid->Column(3).title, u"编;号=[1]"_s);
    // The count moves to what is now the first.
    EXPECT_EQ(grid->FooterText(0, 2), u"记录数"_s);

    // From the file itself, too.
    TIniPropStorageManEh fresh;
    fresh.SetIniFileName(LayoutStorage->IniFileName());
    EXPECT_EQ(fresh.ReadString(section, u"FieldIndex0"_s), u"NOTE;备注;200"_s);
    EXPECT_EQ(fresh.ReadString(section, u"FieldIndex1"_s), u"ID;编;号=[1];321"_s);
}

TEST_F(DataView, FiltersAreChipsThatEndThem)
{
    screen->Show();
    const auto words = [this] {
        QApplication::processEvents();
        QStringList texts;
        for (const QToolButton* chip : screen->DataView1->FilterBar->findChildren<QToolButton*>())
            texts += chip->text();
        if (const auto* count = screen->DataView1->FilterBar->findChild<QLabel*>(u"FilteredCount"_s))
            texts += count->text();
        return texts.join(u'|');
    };
    EXPECT_TRUE(screen->DataView1->FilterBar->isHidden());
    grid->SetFilter({u"NOTE"_s, {u"b"_s}, {}, {}});
    grid->SetFilter({u"ID"_s, {u"1"_s}, {}, {}});
    EXPECT_EQ(words(), u"备注：b  ✕|编号：1  ✕|清除全部|显示0行，共2行"_s);
    screen->DataView1->FilterBar->findChildren<QToolButton*>().at(1)->click();
    EXPECT_EQ(words(), u"备注：b  ✕|显示1行，共2行"_s);
    screen->DataView1->FilterBar->findChildren<QToolButton*>().at(0)->click();
    QApplication::processEvents();
    EXPECT_TRUE(screen->DataView1->FilterBar->isHidden());
    EXPECT_EQ(screen->cds->RecordCount(), 2);
}

TEST_F(DataView, AViewOutsideItsScreenIsRefused)
{
    QWidget page;
    TDataView early(&page, u"DataView2"_s);
    EXPECT_THROW(early.Loaded(), wire::Error) << "its layout would be stored without the screen's name";
    page.setParent(screen);
    early.Loaded();
    EXPECT_EQ(LayoutSection(*early.DataViewGrid), u".DataViewGrid.DataView2.frm_Probe"_s);
    page.setParent(nullptr);
}

TEST_F(DataView, AColumnShownLaterSortsByItsTitle)
{
    const int hidden = grid->ColumnIndex(u"HIDDEN");
    grid->ModifyColumn(hidden, [](TColumnEh& column) {
        column.visible = true;
        column.fieldName = u"NOTE"_s;
    });
    grid->ClickTitle(hidden);
    EXPECT_EQ(screen->cds->IndexFields(u"SortIndexEh"_s), u"NOTE"_s);
}

TEST_F(DataView, RecordButtonsFollowTheRowsState)
{
    TRecordButtons buttons(screen, u"RecordButtons1"_s);
    const auto live = [&] {
        return std::pair(buttons.AddButton->isEnabled(), buttons.DiscardButton->isEnabled());
    };
    EXPECT_EQ(live(), std::pair(false, false));
    buttons.SetDataSource(screen->DataView1->DS);
    EXPECT_EQ(live(), std::pair(true, false));
    buttons.AddButton->click();
    EXPECT_EQ(screen->cds->RecordCount(), 3);
    EXPECT_EQ(live(), std::pair(true, true));
    screen->cds->BeforePost = [] { Abort(); };
    buttons.AddButton->click();
    EXPECT_EQ(screen->cds->RecordCount(), 3) << "a refused row keeps the next one waiting";
    screen->cds->BeforePost = {};
    screen->cds->Post();
    EXPECT_TRUE(buttons.DiscardButton->isEnabled()) << "added, and not saved";
    buttons.DiscardButton->click();
    EXPECT_EQ(screen->cds->RecordCount(), 2);
    screen->cds->Close();
    EXPECT_EQ(live(), std::pair(false, false));
}

TEST_F(DataView, DamagedEntriesAndUnknownFieldsArePassedOver)
{
    delete screen.data();
    LayoutStorage->EraseSection(section);
    const QStringList entries = {u"EXTRA;其它;77"_s, u"GONE;没有了;50"_s, u"nonsense"_s, u";x;5"_s,
        u"NOTE;备注;-3"_s, u"NOTE;备注;99999999999"_s, u"ID;;40"_s, {}, u"extra;重复;10"_s,
        u"note;附注;150"_s};
    for (qsizetype i = 0; i < entries.size(); ++i)
        LayoutStorage->WriteString(section, u"FieldIndex"_s + QString::number(i), entries[i]);
    Reopen();
    // ID has no entry that can be read: it stays behind its left neighbours, which lead.
    EXPECT_EQ(Fields(*grid), QStringList({{}, u"HIDDEN"_s, u"ID"_s, u"EXTRA"_s, u"NOTE"_s}));
    EXPECT_EQ(grid->Column(3).width, 77);
    EXPECT_EQ(grid->Column(3).title, u"其它"_s);
    EXPECT_EQ(grid->Column(4).title, u"附注"_s);
    EXPECT_EQ(grid->Column(2).title, u"编号"_s);
}

TEST_F(DataView, AnUntouchedLayoutIsNotWrittenAgain)
{
    Reopen();
    const QString path = LayoutStorage->IniFileName();
    ASSERT_TRUE(QFile::remove(path));
    Reopen();
    EXPECT_FALSE(QFile::exists(path));
}

#include "runtime/controls/DBControls.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"
#include "tests/runtime/GridFixture.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QTimer>
#include <QToolTip>

using namespace Qt::Literals::StringLiterals;

namespace {

class DBGridEditingTest : public GridTest {
protected:
    QString Cell(int row, const char16_t* field) const
    {
        return orders.ViewText(row, orders.FieldIndex(QString::fromUtf16(field)));
    }
};

TEST_F(DBGridEditingTest, TypingEditsEnterMovesOnAndTheNextRowPosts)
{
    Open(OrderGridColumns());
    QStringList events;
    orders.BeforeEdit = [&] { events += u"edit"_s; };
    orders.AfterPost = [&] { events += u"post"_s; };
    TypeInto(u"SITE", u"广州"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    Type(u"{Return}"_s);
    EXPECT_EQ(grid.SelectedField(), u"AMOUNT"_s);
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"广州"_s);
    Type(u"7.25{Tab}"_s);
    EXPECT_EQ(events, QStringList{u"edit"_s}) << "a row is one edit, posted when it is left";
    Type(u"{Down}"_s);
    EXPECT_EQ(events, (QStringList{u"edit"_s, u"post"_s}));
    EXPECT_EQ(orders.RecNo(), 2);
    EXPECT_EQ(Cell(0, u"AMOUNT"), u"7.25"_s);
    EXPECT_EQ(Cell(0, u"SITE"), u"广州"_s);
}

TEST_F(DBGridEditingTest, EscapeGivesUpTheCellThenTheRow)
{
    Open(OrderGridColumns());
    TypeInto(u"SITE", u"甲{Tab}"_s);
    TypeInto(u"SITE", u"乙{Esc}"_s);
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"甲"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    Type(u"{Esc}"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    EXPECT_EQ(Cell(0, u"SITE"), u"上海"_s);
    EXPECT_EQ(orders.ChangeCount(), 0);
}

TEST_F(DBGridEditingTest, WhatIsNotSavedIsMarkedToldAndTakenBackByKeyAndMenu)
{
    Open(OrderGridColumns());
    const auto marked = [&] {
        const QPoint corner = grid.visualRect(grid.model()->index(0, 2)).topLeft() + QPoint(1, 1);
        return grid.viewport()->grab().toImage().pixelColor(corner) == ChangedCellColor();
    };
    TypeInto(u"SITE", u"甲{Tab}"_s);
    EXPECT_TRUE(marked()) << "before the row is posted, too";
    Type(u"{Down}"_s);
    QHelpEvent asked(QEvent::ToolTip, CellCentre(0, 2), grid.viewport()->mapToGlobal(CellCentre(0, 2)));
    QApplication::sendEvent(grid.viewport(), &asked);
    EXPECT_TRUE(QToolTip::text().contains(u"原值：上海"_s)) << QToolTip::text();
    Type(u"{Ctrl+Z}"_s);
    EXPECT_EQ(Cell(0, u"SITE"), u"上海"_s);
    EXPECT_FALSE(marked());
    EXPECT_EQ(orders.RecNo(), 1) << "where it was";
    Type(u"{Ctrl+Y}"_s);
    EXPECT_EQ(Cell(0, u"SITE"), u"甲"_s);

    QAction whole(u"导出"_s);
    grid.addAction(&whole);
    grid.OnContextMenu = [](QMenu& menu) { menu.addAction(u"批量"_s); };
    QStringList offered;
    QTimer::singleShot(0, &grid, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions()) {
            offered += action->text().section(u'\t', 0, 0);
            if (offered.last() == u"撤销此行"_s)
                action->trigger();
        }
        menu->close();
    });
    QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, {});
    QApplication::sendEvent(grid.viewport(), &byKey);
    EXPECT_EQ(offered.mid(offered.size() - 3).join(u','), u",导出,批量"_s);
    EXPECT_EQ(orders.ChangeCount(), 0);
    grid.removeAction(&whole);
}

TEST_F(DBGridEditingTest, APastedColumnGoesThroughTheRulesRowByRow)
{
    Open(OrderGridColumns());
    orders.BeforePost = [this] {
        if (orders.FieldByName(u"SITE").AsString() != u"禁"_s)
            return;
        Application->MessageBox(u"详细：此网点已停用！"_s, u"规则"_s, TMessageIcon::Warning);
        Abort();
    };
    const auto paste = [&](const QString& text) {
        Application->ClearShownMessages();
        QApplication::clipboard()->setText(text);
        Type(u"{Ctrl+V}"_s);
        return Application->ShownMessages().empty() ? QString() : Application->ShownMessages().back().text;
    };
    grid.SelectField(u"SITE");
    EXPECT_EQ(paste(u"甲\r\n禁\r\n乙\r\n丙\r\n"_s),
        u"粘贴了2行。\n还有1行没有对应的行，没有粘贴。\n1行没有接受：\n第2行：此网点已停用！"_s);
    EXPECT_EQ(Joined(orders, u"SITE"), u"甲 北京 乙"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    Type(u"{Ctrl+Z}"_s);
    EXPECT_EQ(Joined(orders, u"SITE"), u"上海 北京 "_s) << "one step";
    grid.selectAll();
    grid.SelectField(u"STATUS");
    EXPECT_EQ(paste(u"接单失败"_s), u"粘贴了3行。"_s) << "one value for all of them";
    EXPECT_EQ(Joined(orders, u"STATUS"), u"2 2 2"_s);
    EXPECT_TRUE(paste(u"没有的状态"_s).contains(u"第3行：“没有的状态”不在列表中"_s));
    EXPECT_TRUE(paste(u"0\n1\n2\n0\n1"_s).startsWith(u"粘贴了3行。\n还有2行没有对应的行"_s))
        << "no more than selected";
    grid.SelectField(u"AMOUNT");
    EXPECT_TRUE(paste(u"7\n七\n9"_s).startsWith(u"粘贴了2行。\n1行没有接受：\n第2行："_s));
    EXPECT_EQ(Joined(orders, u"AMOUNT"), u"7  9"_s);
    grid.ModifyColumn(2, [](TColumnEh& column) { column.numericOnly = true; });
    grid.SelectField(u"SITE");
    EXPECT_EQ(paste(u"12\n十二\n3"_s), u"粘贴了2行。\n1行没有接受：\n第2行：“十二”不是数字"_s);
    grid.ModifyColumn(2, [](TColumnEh& column) { column.numericOnly = false; });
    EXPECT_EQ(paste(u"\"甲\n\"\"乙\"\"\"\n\"丙\"\n\"丁"_s), u"粘贴了3行。"_s) << "a break in quotes";
    EXPECT_EQ(Joined(orders, u"SITE"), u"甲 \"乙\" \"丙\" \"丁"_s);
    grid.SelectField(u"ID");
    EXPECT_TRUE(paste(u"D9"_s).contains(u"不能修改"_s));
    EXPECT_EQ(Joined(orders, u"ID"), u"D1 D2 D3"_s);
    EXPECT_TRUE(Application->Unattended);
}

TEST_F(DBGridEditingTest, APasteEndsWhereItsRulesLoseTheServer)
{
    Open(OrderGridColumns());
    TFakeServer server;
    TSocketConnectionEx connection;
    connection.SetTransport(server.MakeTransport());
    connection.Open(u"a"_s, u"right"_s);
    orders.SetRemoteServer(&connection);
    orders.BeforePost = [&] {
        if (orders.RecNo() == 2)
            server.Faults = {Fault::LoseRequest};
        wire::Request rule;
        rule.kind = wire::RequestKind::Execute;
        struct : wire::ReplySink {
            void Columns(const wire::ColumnInfos&) override { }
            void Rows(std::vector<wire::Column>) override { }
        } nothing;
        connection.Send(rule, nothing);
    };
    grid.SelectField(u"SITE");
    QApplication::clipboard()->setText(u"甲\n乙\n丙"_s);
    Key(Qt::Key_V, Qt::ControlModifier);
    const QString summary = Application->ShownMessages().back().text;
    EXPECT_TRUE(summary.startsWith(u"粘贴了1行。\n连接断开了，余下的1行没有粘贴。\n1行没有接受：\n第2行："_s))
        << summary;
    EXPECT_EQ(Joined(orders, u"SITE"), u"甲 北京 "_s);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    orders.SetRemoteServer(nullptr);
}

TEST_F(DBGridEditingTest, AnEditRefusedBeforeItBeginsChangesNothing)
{
    Open(OrderGridColumns());
    int asked = 0;
    orders.BeforeEdit = [&] {
        ++asked;
        Abort();
    };
    TypeInto(u"SITE", u"甲"_s);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(QApplication::focusWidget(), &grid) << "the editor is gone";
    EXPECT_EQ(Cell(0, u"SITE"), u"上海"_s);
    grid.SelectField(u"STATUS");
    EXPECT_TRUE(grid.EditCurrentCell()) << "looking is allowed";
    Type(u"{Esc}"_s);
    EXPECT_TRUE(problems.isEmpty());
}

TEST_F(DBGridEditingTest, ARefusedPostKeepsTheRowInEditWhereItIs)
{
    Open(OrderGridColumns());
    bool refuse = true;
    orders.BeforePost = [&] {
        if (refuse)
            Abort();
    };
    grid.SelectField(u"SITE");
    for (const auto& leave :
        std::vector<std::function<void()>>{[&] { Type(u"{Down}"_s); }, [&] { Click(2, 2); },
            [&] { Type(u"{PgDown}"_s); }, [&] { grid.setCurrentIndex(grid.model()->index(1, 2)); }}) {
        Type(u"甲"_s);
        leave();
        QCoreApplication::processEvents();
        EXPECT_EQ(orders.RecNo(), 1);
        EXPECT_EQ(grid.currentIndex().row(), 0);
        EXPECT_EQ(orders.State(), TDataSetState::Edit);
        EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"甲"_s);
    }
    refuse = false;
    Type(u"{Down}"_s);
    EXPECT_EQ(orders.RecNo(), 2);
    EXPECT_EQ(Cell(0, u"SITE"), u"甲"_s);
}

TEST_F(DBGridEditingTest, WhatTheFieldCannotTakeStaysInTheEditor)
{
    Open(OrderGridColumns());
    TypeInto(u"AMOUNT", u"abc{Return}"_s);
    EXPECT_EQ(problems.size(), 1);
    EXPECT_EQ(grid.SelectedField(), u"AMOUNT"_s);
    EXPECT_NE(QApplication::focusWidget(), &grid);
    // A post from elsewhere, a save button's say, is stopped too.
    EXPECT_THROW(orders.Post(), EAbort);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    Type(u"{Esc}{Esc}"_s);
    EXPECT_EQ(Cell(0, u"AMOUNT"), u"1.5"_s);
}

TEST_F(DBGridEditingTest, APostTakesWhatTheEditorHolds)
{
    Open(OrderGridColumns());
    TypeInto(u"SITE", u"深圳"_s);
    orders.Post();
    EXPECT_EQ(Cell(0, u"SITE"), u"深圳"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    EXPECT_EQ(QApplication::focusWidget(), &grid);
}

TEST_F(DBGridEditingTest, PickListsStoreKeysAndTakeBeginnings)
{
    Open(OrderGridColumns());
    TypeInto(u"STATUS", u"接单失{Return}"_s);
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 2);
    TypeInto(u"STATUS", u"{F2}"_s);
    auto* box = grid.viewport()->findChild<TDBComboBoxEh*>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->Items(), grid.Column(1).pickList);
    box->lineEdit()->selectAll();
    Type(u"没有{Return}"_s);
    EXPECT_EQ(problems.size(), 1) << "a text that is not in the list is refused";
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 2);
}

TEST_F(DBGridEditingTest, CheckBoxesToggleBySpaceAndClick)
{
    auto columns = OrderGridColumns();
    columns[1].style = TColumnStyle::CheckBox;
    columns[1].keyList = {u"1"_s, u"0"_s};
    Open(columns);
    TypeInto(u"STATUS", u"{Space}"_s);
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 1);
    Click(0, 1);
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 0);
    Click(1, 1);
    EXPECT_EQ(orders.RecNo(), 2) << "a click in another row posts the first, then toggles";
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 0);
    QApplication::clipboard()->setText(u"是\n也许"_s);
    orders.First();
    Type(u"{Ctrl+V}"_s);
    EXPECT_EQ(Joined(orders, u"STATUS"), u"1 0 "_s) << "ticks are pasted as they are exported";
    grid.ReadOnly = true;
    Type(u"{Space}"_s);
    EXPECT_EQ(orders.FieldByName(u"STATUS").AsInteger(), 1);
}

TEST_F(DBGridEditingTest, LookupCompletesCodesAndInitials)
{
    TClientDataSetEx sites;
    sites.OpenRows(
        MakeRows({Column(u"SITE_CODE", wire::ColumnType::Text), Column(u"SITE_NAME", wire::ColumnType::Text)},
            {{T(u"2001"), T(u"上海浦东")}, {T(u"3001"), T(u"广州天河")}}));
    TDataSource siteSource;
    siteSource.SetDataSet(&sites);
    auto columns = OrderGridColumns();
    columns[2].style = TColumnStyle::Lookup;
    columns[2].lookup = {
        &siteSource, u"SITE_NAME"_s, {}, {{u"SITE_CODE"_s, u"编号"_s, 80}}, {u"SITE_CODE"_s}};
    Open(columns);
    for (const auto& [typed, expected] :
        {std::pair{u"30"_s, u"广州天河"_s}, std::pair{u"shp"_s, u"上海浦东"_s},
            std::pair{u"广"_s, u"广州天河"_s}, std::pair{u"别处"_s, u"别处"_s}}) {
        grid.SelectField(u"SITE");
        Type(typed + u"{Return}"_s);
        EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), expected);
        EXPECT_EQ(grid.SelectedField(), u"AMOUNT"_s);
    }
    // The second row of the list, gone to by key, is taken rather than the first match.
    TypeInto(u"SITE", u"{F4}{Down}{Return}"_s);
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"上海浦东"_s);
    // What no row of the list holds is told in its cell, whoever wrote it.
    const auto marked = [&] {
        const QRect cell = grid.visualRect(grid.model()->index(0, 2));
        const QImage picture = grid.viewport()->grab(cell).toImage();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixelColor(x, y) == UnknownTextColor())
                    return true;
            }
        }
        return false;
    };
    grid.SelectField(u"AMOUNT");
    EXPECT_FALSE(marked());
    orders.FieldByName(u"SITE").SetAsString(u"口口口口"_s);
    EXPECT_TRUE(marked());
    orders.FieldByName(u"SITE").Clear();
    EXPECT_FALSE(marked());
    grid.SetDataSource(nullptr);
}

TEST_F(DBGridEditingTest, DatesAreTypedShortAndRefusedWhenNone)
{
    Open(OrderGridColumns());
    TypeInto(u"CREATE_DATE", u"2024-3-5{Return}"_s);
    EXPECT_EQ(orders.RecNo(), 2) << "after the last column comes the next row";
    EXPECT_EQ(Cell(0, u"CREATE_DATE"), u"2024-03-05 00:00:00"_s);
    TypeInto(u"CREATE_DATE", u"2024-13-99{Up}"_s);
    EXPECT_EQ(orders.RecNo(), 2);
    EXPECT_TRUE(QApplication::focusWidget()->toolTip().contains(u"yyyy-mm-dd hh:mm:ss"_s));
    EXPECT_TRUE(problems.isEmpty()) << "told at the cell, not in a box";
    Type(u"{Esc}2026/11/1 8:00{Tab}"_s);
    EXPECT_EQ(Cell(1, u"CREATE_DATE"), u"2026-11-01 08:00:00"_s);
    EXPECT_EQ(Selected(), u"D3"_s);
    TypeInto(u"ID", u"{Backtab}"_s);
    EXPECT_EQ(grid.currentIndex(), grid.model()->index(1, 4));
    EXPECT_EQ(Selected(), u"D2"_s) << "the row gone back to";
}

TEST_F(DBGridEditingTest, AColumnMayRefuseToBeLeft)
{
    Open(OrderGridColumns());
    QStringList entered;
    grid.OnColExit = [&](int column) { return grid.Column(column).fieldName != u"SITE"_s; };
    grid.OnColEnter = [&] { entered += grid.SelectedField(); };
    TypeInto(u"STATUS", u"{Right}{Right}"_s);
    EXPECT_EQ(grid.SelectedField(), u"SITE"_s);
    Click(0, 4);
    EXPECT_EQ(grid.SelectedField(), u"SITE"_s);
    EXPECT_EQ(entered, QStringList{u"SITE"_s});
    Type(u"{Down}"_s);
    EXPECT_EQ(orders.RecNo(), 2) << "another row of the same column";
}

TEST_F(DBGridEditingTest, RowsAreAddedAndDeletedOnlyWhereAllowed)
{
    Open(OrderGridColumns());
    orders.Last();
    Type(u"{Down}{Ins}{Ctrl+Del}"_s);
    EXPECT_EQ(orders.RecordCount(), 3);
    grid.AllowInsert = grid.AllowDelete = true;
    Type(u"{Down}"_s);
    EXPECT_EQ(orders.State(), TDataSetState::Insert);
    EXPECT_EQ(grid.currentIndex().row(), 3);
    TypeInto(u"SITE", u"新{Up}"_s);
    EXPECT_EQ(orders.RecordCount(), 4);
    EXPECT_EQ(Cell(3, u"SITE"), u"新"_s);
    Application->QueueAnswer({u"cancel"_s});
    Type(u"{Ctrl+Del}"_s);
    EXPECT_EQ(orders.RecordCount(), 4);
    Application->QueueAnswer({u"ok"_s});
    Type(u"{Ctrl+Del}"_s);
    EXPECT_EQ(orders.RecordCount(), 3);
}

TEST_F(DBGridEditingTest, LeavingTheGridKeepsWhatWasTyped)
{
    Open(OrderGridColumns());
    QLineEdit elsewhere(&window);
    elsewhere.show();
    TypeInto(u"SITE", u"成都"_s);
    elsewhere.setFocus();
    QCoreApplication::processEvents();
    EXPECT_EQ(orders.FieldByName(u"SITE").AsString(), u"成都"_s);
    EXPECT_EQ(QApplication::focusWidget(), &elsewhere);
    EXPECT_EQ(orders.State(), TDataSetState::Edit) << "the row itself is not posted by that";
}

TEST_F(DBGridEditingTest, AnotherListStyleLosesNeitherEditNorSelection)
{
    Open(OrderGridColumns());
    orders.First();
    grid.SelectRows({orders.ViewBookmark(0), orders.ViewBookmark(2)});
    grid.SelectField(u"SITE");
    Type(u"苏");
    QWidget* editor = QApplication::focusWidget();
    const int height = grid.RowHeight();
    const int width = grid.columnWidth(grid.SelectedIndex());
    TListStyles::Instance().Set({.fontSize = 24, .rowSpace = 10, .stripes = true});
    EXPECT_GT(grid.RowHeight(), height * 3 / 2);
    EXPECT_EQ(grid.columnWidth(grid.SelectedIndex()), width * 2) << "wide enough for the same text";
    ASSERT_EQ(QApplication::focusWidget(), editor);
    EXPECT_TRUE(grid.visualRect(grid.currentIndex()).contains(editor->geometry()));
    EXPECT_EQ(editor->font().pixelSize(), grid.font().pixelSize());
    EXPECT_EQ(Selected(), u"D1 D3"_s);
    const QImage rows = grid.viewport()->grab().toImage();
    const auto ground = [&](int row) {
        return rows.pixelColor(CellCentre(row, 0).x(), grid.RowHeight() * row + 2);
    };
    EXPECT_NE(ground(1), QColor(Qt::white)) << "every other row";

    Type(u"州");
    Key(Qt::Key_Return);
    TListStyles::Instance().Set({});
    EXPECT_EQ(grid.RowHeight(), height);
    EXPECT_EQ(grid.columnWidth(grid.ColumnIndex(u"SITE")), width);
    EXPECT_EQ(orders.ViewText(0, 2), u"苏州"_s);
    EXPECT_TRUE(orders.IsEditing());
}

TEST_F(DBGridEditingTest, ClosingTheDataSetUnderAnOpenEditorIsHarmless)
{
    Open(OrderGridColumns());
    TypeInto(u"SITE", u"甲"_s);
    orders.Close();
    EXPECT_EQ(QApplication::focusWidget(), &grid);
    Type(u"乙{Return}"_s);
    orders.OpenRows(ThreeOrders());
    EXPECT_EQ(Cell(0, u"SITE"), u"上海"_s);
}

} // namespace

#include "runtime/grid/GridText.h"
#include "runtime/ui/Style.h"
#include "tests/runtime/GridFixture.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using Reporting = QAbstractItemModelTester::FailureReportingMode;

namespace {

class DBGridTest : public GridTest { };

TEST_F(DBGridTest, ModelStaysConsistentThroughEveryChangeOfTheDataSet)
{
    Open(OrderGridColumns());
    QAbstractItemModelTester tester(grid.model(), Reporting::Fatal);
    QSignalSpy resets(grid.model(), &QAbstractItemModel::modelReset);
    orders.Append();
    orders.FieldByName(u"ID").SetAsString(u"D4"_s);
    orders.Post();
    orders.First();
    orders.Insert();
    EXPECT_EQ(grid.model()->rowCount(), 5);
    orders.Cancel();
    orders.SetRecNo(2);
    orders.Delete();
    EXPECT_EQ(grid.model()->rowCount(), 3);
    EXPECT_EQ(resets.count(), 0) << "single rows come and go without rebuilding the view";
    orders.SetFieldAndPost(u"SITE", T(u"广州"));
    orders.SetFilter(u"STATUS = 0"_s);
    orders.SetFiltered(true);
    EXPECT_EQ(grid.model()->rowCount(), orders.RecordCount());
    orders.SetFiltered(false);
    orders.AddIndex(u"x"_s, u"SITE");
    orders.SetIndexName(u"x"_s);
    orders.Close();
    EXPECT_EQ(grid.model()->rowCount(), 0);
    orders.OpenRows(ThreeOrders());
    EXPECT_EQ(grid.model()->rowCount(), 3);
    orders.DisableControls();
    orders.Delete();
    orders.Delete();
    grid.viewport()->repaint(); // what is gone must not be read meanwhile
    orders.EnableControls();
    EXPECT_EQ(grid.model()->rowCount(), 1);
    EXPECT_EQ(grid.CellText(0, 0), orders.FieldByName(u"ID").AsString());
    source.SetDataSet(nullptr);
    EXPECT_EQ(grid.model()->rowCount(), 0);
}

TEST_F(DBGridTest, CellsShowWhatTheirColumnSays)
{
    auto columns = OrderGridColumns();
    columns.push_back(Titled(u"STATUS", u"标志"));
    columns.back().style = TColumnStyle::CheckBox;
    columns.push_back(Titled(u"CREATE_DATE", u"日期"));
    columns.back().displayFormat = u"mm-dd hh:nn"_s;
    columns.push_back(Titled(u"NO_SUCH_FIELD", u"无"));
    columns.push_back(Titled(u"", u"序号"));
    columns.push_back(columns[1]);
    columns.back().keyList = {u"0"_s, u"9"_s};
    columns.back().footers = SumFooters(u"总票数"_s);
    Open(columns);
    grid.SetRowNumberTitle(u"序号"_s);
    // Null is no zero; 1 stands for no item of the last column.
    EXPECT_EQ(RowText(0), u"D1|等待接单|上海|1.50|2024-01-01 00:00:00|0|01-01 00:00||1|等待接单"_s);
    EXPECT_EQ(RowText(1), u"D2|接单成功|北京||2024-01-02 00:00:00|1|01-02 00:00||2|1"_s);
    EXPECT_EQ(grid.CellText(2, 1), QString());
    EXPECT_EQ(grid.FooterText(0, 9) + grid.FooterText(1, 9), u"总票数1"_s);
    EXPECT_EQ(grid.CellText(3, 0), QString());
    Type(u"{Ctrl+C}"_s);
    EXPECT_EQ(QApplication::clipboard()->text(), u"D1"_s);
    EXPECT_TRUE(
        QApplication::clipboard()->mimeData()->html().contains(u"mso-number-format:'\\@'\">D1</td>"_s))
        << "a cell alone, too";
    grid.selectAll();
    Type(u"{Ctrl+C}"_s);
    EXPECT_EQ(QApplication::clipboard()->text().section(u'\t', 0, 0), u"D1"_s);
    Type(u"{Ctrl+Shift+C}"_s);
    EXPECT_TRUE(
        QApplication::clipboard()->mimeData()->html().contains(u"mso-number-format:'\\@'\">D1</td>"_s))
        << "text stays text in a spreadsheet";
    const QStringList lines = QApplication::clipboard()->text().split(u'\n');
    EXPECT_EQ(lines.value(0).section(u'\t', 8, 8) + lines.value(3).section(u'\t', 8, 8), u"序号3"_s);
    grid.SetSumListActive(false);
    EXPECT_EQ(grid.CellText(1, 8), QString());
}

TEST_F(DBGridTest, TextsPutTogetherLookAsIfLaidOut)
{
    QFont font(u"宋体"_s);
    font.setPixelSize(12);
    TGridText texts;
    for (const QString& text :
        {u"安徽合肥1部"_s, u"ZM2024050200000013"_s, u"2026-11-20 15:30:00"_s, u"AVATo Type, 3 P0"_s,
            u"100号(东门)A座：“浦东”，b1"_s, u"office fjord"_s, u"あアー"_s, u"𠮷野\t家"_s, u"é…ü"_s}) {
        for (const double scale : {1.0, 1.5}) {
            for (const int width : {400, 61}) {
                QImage seen(600, 60, QImage::Format_RGB32);
                seen.setDevicePixelRatio(scale);
                seen.fill(Qt::white);
                QImage wanted = seen;
                const QString shown = QFontMetrics(font).elidedText(text, Qt::ElideRight, width);
                {
                    QPainter painter(&wanted);
                    painter.setFont(font);
                    painter.drawText(QPointF(5, 3 + QFontMetrics(font).ascent()), shown);
                }
                {
                    QPainter painter(&seen);
                    painter.setFont(font);
                    EXPECT_LE(texts.Fit(text, width, font), width);
                    texts.Draw(painter, 5, 3);
                }
                EXPECT_EQ(seen, wanted) << qUtf8Printable(text) << " " << scale << " " << width;
            }
        }
    }
}

TEST_F(DBGridTest, TitleClicksMarkSeveralColumnsAndSortTheDataSet)
{
    Open(OrderGridColumns());
    std::vector<int> clicked;
    grid.OnTitleBtnClick = [&](int column) { clicked.push_back(column); };
    orders.Last();
    grid.ClickTitle(3);
    EXPECT_EQ(orders.IndexName(), u"SortIndexEh"_s);
    EXPECT_EQ(Joined(orders, u"ID"), u"D2 D3 D1"_s);
    EXPECT_EQ(orders.RecNo(), 1);
    grid.ClickTitle(3);
    EXPECT_EQ(grid.Column(3).sortMarker, TSortMarker::Down);
    grid.ClickTitle(0);
    EXPECT_EQ(orders.IndexFields(u"SortIndexEh"_s), u"AMOUNT;ID"_s) << "in marking order, not column order";
    EXPECT_EQ(orders.IndexDescendingFields(u"SortIndexEh"_s), u"AMOUNT"_s);
    grid.ClickTitle(3);
    EXPECT_EQ(orders.IndexFields(u"SortIndexEh"_s), u"ID"_s);
    grid.ClickTitle(0);
    grid.ClickTitle(0);
    EXPECT_EQ(orders.IndexName(), QString());
    EXPECT_EQ(Joined(orders, u"ID"), u"D1 D2 D3"_s);
    EXPECT_EQ(clicked, (std::vector<int>{3, 3, 0, 3, 0, 0}));

    grid.SetSortLocal(false);
    grid.ClickTitle(0);
    EXPECT_EQ(grid.Column(0).sortMarker, TSortMarker::None);
    EXPECT_EQ(clicked.size(), 7u) << "the handler hears of the click all the same";
}

TEST_F(DBGridTest, MarkersOutliveAReopeningThatKeepsTheOrderOnly)
{
    Open(OrderGridColumns());
    grid.ClickTitle(3);
    orders.OpenRows(ThreeOrders());
    EXPECT_EQ(grid.Column(3).sortMarker, TSortMarker::Up);
    EXPECT_EQ(Joined(orders, u"ID"), u"D2 D3 D1"_s);
    orders.SetIndexName({});
    EXPECT_EQ(grid.Column(3).sortMarker, TSortMarker::None);
}

TEST_F(DBGridTest, TitleIsClickedDraggedAndWidenedByMouse)
{
    Open(OrderGridColumns());
    QWidget* titles = grid.horizontalHeader()->viewport();
    const int height = titles->height();
    const auto at = [&](int column, double share) {
        const QRect cell = grid.visualRect(grid.model()->index(0, column));
        return QPoint(cell.left() + int(cell.width() * share), height - 6);
    };
    QTest::mouseClick(titles, Qt::LeftButton, {}, at(2, 0.5));
    EXPECT_EQ(grid.Column(2).sortMarker, TSortMarker::Up);

    QSignalSpy changed(&grid, &TDBGridEh::ColumnsChanged);
    const QPoint edge(grid.visualRect(grid.model()->index(0, 0)).right(), height / 2);
    QTest::mousePress(titles, Qt::LeftButton, {}, edge);
    QTest::mouseMove(titles, edge + QPoint(30, 0));
    QTest::mouseRelease(titles, Qt::LeftButton, {}, edge + QPoint(30, 0));
    EXPECT_EQ(grid.Column(0).width, 110);
    EXPECT_EQ(changed.count(), 1);

    QTest::mousePress(titles, Qt::LeftButton, {}, at(0, 0.5));
    QTest::mouseMove(titles, at(1, 0.3));
    QTest::mouseMove(titles, at(1, 0.8));
    QTest::mouseRelease(titles, Qt::LeftButton, {}, at(1, 0.8));
    EXPECT_EQ(grid.Column(0).fieldName, u"STATUS"_s);
    EXPECT_EQ(grid.Column(1).fieldName, u"ID"_s);
    EXPECT_EQ(grid.Column(2).sortMarker, TSortMarker::Up) << "a drag is no click";
    EXPECT_EQ(grid.columnWidth(1), 110);
}

TEST_F(DBGridTest, TitleMenuStaysForSeveralTicksAndLeadsBackToTheDefaults)
{
    auto columns = OrderGridColumns();
    columns.push_back(Titled(u"SITE_PHONE", u"", 60));
    columns.back().visible = false;
    Open(columns);
    grid.ModifyColumn(4, [](TColumnEh& column) { column.visible = false; }); // the program's wish
    grid.MoveColumn(0, 2);
    grid.ClickTitle(0);
    QStringList offered;
    bool stayed = false;
    const auto inMenu = [&](const std::function<void(QMenu&)>& work) {
        QTimer::singleShot(0, &grid, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_NE(menu, nullptr);
            work(*menu);
            menu->close();
        });
        QWidget* titles = grid.horizontalHeader()->viewport();
        QContextMenuEvent asked(QContextMenuEvent::Mouse, QPoint(5, 5), titles->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(titles, &asked);
    };
    const auto pick = [](QMenu& menu, int index) {
        QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(menu.actions().at(index)).center());
    };
    inMenu([&](QMenu& menu) {
        for (const QAction* action : menu.actions())
            offered += action->text();
        pick(menu, 1);
        pick(menu, 3);
        stayed = menu.isVisible();
    });
    EXPECT_EQ(
        offered.join(u','), u"状态,网点 · 名称,物流号,网点 · 金额,时间,,清除排序,恢复默认列,冻结到此列"_s);
    EXPECT_TRUE(stayed);
    EXPECT_TRUE(grid.isColumnHidden(1) && grid.isColumnHidden(3));
    inMenu([&](QMenu& menu) { pick(menu, 6); });
    EXPECT_EQ(orders.IndexName(), QString());
    inMenu([&](QMenu& menu) { pick(menu, 7); });
    EXPECT_EQ(grid.Column(0).fieldName, u"ID"_s);
    for (int column = 0; column < grid.ColumnCount(); ++column)
        EXPECT_EQ(grid.Column(column).visible, column < 4) << column;
    for (const int frozen : {1, 0}) {
        inMenu([&](QMenu& menu) { pick(menu, 8); });
        EXPECT_EQ(grid.FrozenCols(), frozen);
    }
}

TEST_F(DBGridTest, AFunnelOffersTheValuesOfItsColumnAndNarrowsTheRows)
{
    auto columns = OrderGridColumns();
    columns[0].footers = {{TFooterValueType::Count, {}, TAlignment::Center}};
    Open(columns);
    grid.selectAll();
    const auto inPopup = [&](const std::function<void(QWidget&, QListWidget&)>& work) {
        auto* popup = grid.findChild<QWidget*>(u"FilterPopup"_s);
        ASSERT_NE(popup, nullptr);
        work(*popup, *popup->findChild<QListWidget*>());
        if (auto* ok = popup->findChild<QPushButton*>(u"FilterOk"_s))
            ok->click();
        for (const auto kind : {QEvent::MetaCall, QEvent::DeferredDelete})
            QCoreApplication::sendPostedEvents(nullptr, kind);
    };
    QWidget* titles = grid.horizontalHeader()->viewport();
    const QRect title = grid.visualRect(grid.model()->index(0, 1));
    QTest::mouseClick(titles, Qt::LeftButton, {}, QPoint(title.right() - 10, titles->height() - 9));
    EXPECT_EQ(grid.Column(1).sortMarker, TSortMarker::None) << "the funnel does not sort";
    inPopup([](QWidget&, QListWidget& list) {
        ASSERT_EQ(list.count(), 3);
        EXPECT_EQ(list.item(0)->text(), u"（空白）  (1)"_s);
        EXPECT_EQ(list.item(2)->text(), u"接单成功  (1)"_s);
        list.item(2)->setCheckState(Qt::Unchecked);
    });
    EXPECT_EQ(Joined(orders, u"ID"), u"D1 D3"_s);
    EXPECT_EQ(grid.FooterText(0, 0), u"2"_s);
    EXPECT_EQ(grid.Filters().at(0).Words(), u"（空白）、等待接单"_s);
    EXPECT_EQ(Selected(), u"D1 D3"_s);
    grid.ShowFilter(0);
    inPopup([](QWidget& popup, QListWidget& list) {
        EXPECT_EQ(list.count(), 2) << "of the rows that other columns leave";
        popup.findChild<QLineEdit*>(u"FilterSearch"_s)->setText(u"3"_s);
    });
    EXPECT_EQ(Joined(orders, u"ID"), u"D3"_s);
    grid.ClearFilters();
    EXPECT_EQ(Selected(), u"D1 D2 D3"_s) << "hidden rows come back as they were";
    const struct {
        int column;
        QString from, to, shown;
    } ranges[] = {{3, u"-2"_s, u"1"_s, u"D3"_s}, {3, u"0"_s, {}, u"D1"_s},
        {4, u"2024-01-02"_s, u"2024-01-02 00:00:00"_s, u"D2"_s}, {4, u"2024-1-1"_s, u"2024-01-01"_s, u"D1"_s},
        {4, u"20240102"_s, {}, u"D2"_s}};
    for (const auto& range : ranges) {
        grid.ShowFilter(range.column);
        inPopup([&](QWidget& popup, QListWidget&) {
            popup.findChild<QLineEdit*>(u"FilterFrom"_s)->setText(range.from);
            popup.findChild<QLineEdit*>(u"FilterTo"_s)->setText(range.to);
        });
        EXPECT_EQ(Joined(orders, u"ID"), range.shown) << range.from << ".." << range.to;
        grid.ClearFilters();
    }
    grid.ShowFilter(3);
    inPopup([&](QWidget& popup, QListWidget& list) {
        auto* to = popup.findChild<QLineEdit*>(u"FilterTo"_s);
        to->setText(u"很多"_s);
        Type(u"{Down}{Return}"_s);
        EXPECT_TRUE(to->hasFocus()) << "what is no number is asked again";
        to->setText(u"9"_s);
        list.setFocus();
        Type(u"{Return}"_s);
    });
    EXPECT_EQ(grid.Filters().size(), 1u);
    grid.ClearFilters();
    TypeInto(u"SITE", u"{Ctrl+L}"_s);
    EXPECT_EQ(Joined(orders, u"ID"), orders.FieldByName(u"ID").AsString());
}

TEST_F(DBGridTest, HiddenColumnsTakeNoRoomAndKeysGoToTheHandlerFirst)
{
    Open(OrderGridColumns());
    grid.ModifyColumn(1, [](TColumnEh& column) { column.visible = false; });
    EXPECT_TRUE(grid.isColumnHidden(1));
    grid.SetSelectedIndex(0);
    Type(u"{Right}"_s);
    EXPECT_EQ(grid.SelectedField(), u"SITE"_s);
    grid.SetSelectedIndex(1);
    EXPECT_EQ(grid.SelectedField(), u"SITE"_s);
    grid.OnKeyDown = [](QKeyEvent* event) { event->setAccepted(event->key() == Qt::Key_Down); };
    Type(u"{Down}"_s);
    EXPECT_EQ(orders.RecNo(), 1);
    Type(u"{Ctrl+End}"_s);
    EXPECT_EQ(orders.RecNo(), 3);
}

TEST_F(DBGridTest, FootersCountAndSumWhatTheFilterPasses)
{
    auto columns = OrderGridColumns();
    columns[0].footers = {{TFooterValueType::StaticText, u"记录数"_s, TAlignment::Center},
        {TFooterValueType::Count, {}, TAlignment::Center}};
    columns[3].footers = {{TFooterValueType::Sum, {}, TAlignment::Right}};
    Open(columns);
    const int rowsBefore = grid.viewport()->height();
    grid.SetFooterRowCount(2);
    EXPECT_EQ(grid.viewport()->height(), rowsBefore - 2 * grid.RowHeight()) << "footers take their own room";
    EXPECT_EQ(grid.FooterText(0, 0), u"记录数"_s);
    EXPECT_EQ(grid.FooterText(1, 0), u"3"_s);
    EXPECT_EQ(grid.FooterText(0, 3), u"-0.50"_s);
    EXPECT_EQ(grid.FooterText(1, 3), QString());
    orders.SetFieldAndPost(u"AMOUNT", N(2.125));
    EXPECT_EQ(grid.FooterText(0, 3), u"0.125"_s) << "money is never rounded away";
    orders.SetFilter(u"AMOUNT > 0"_s);
    orders.SetFiltered(true);
    EXPECT_EQ(grid.FooterText(1, 0), u"1"_s);
    EXPECT_EQ(grid.FooterText(0, 3), u"2.125"_s);
    orders.Close();
    EXPECT_EQ(grid.FooterText(1, 0), QString());
}

TEST_F(DBGridTest, FrozenColumnsStayWhileTheRestScrolls)
{
    auto columns = OrderGridColumns();
    columns[4].width = 900;
    Open(columns);
    grid.SetFrozenCols(2);
    const QRect frozen = grid.visualRect(grid.model()->index(0, 1));
    const QRect scrolled = grid.visualRect(grid.model()->index(0, 3));
    grid.horizontalScrollBar()->setValue(70);
    EXPECT_EQ(grid.visualRect(grid.model()->index(0, 1)), frozen);
    EXPECT_EQ(grid.visualRect(grid.model()->index(0, 3)), scrolled.translated(-70, 0));
    // The third column has moved below the frozen ones: a click there is theirs.
    Click(1, 1);
    EXPECT_EQ(grid.SelectedField(), u"STATUS"_s);
    EXPECT_EQ(orders.RecNo(), 2);
    grid.SelectField(u"SITE");
    EXPECT_GE(grid.visualRect(grid.model()->index(1, 2)).left(), frozen.right()) << "brought out from below";
    grid.horizontalScrollBar()->setValue(70);
    grid.SelectField(u"STATUS");
    ASSERT_TRUE(grid.EditCurrentCell());
    EXPECT_TRUE(
        frozen.translated(0, grid.RowHeight()).contains(QApplication::focusWidget()->geometry().center()));
    EXPECT_EQ(grid.horizontalScrollBar()->value(), 70);
}

TEST_F(DBGridTest, RowsAreSelectedByMouseAndKeysAndKeptThroughSorting)
{
    Open(OrderGridColumns());
    EXPECT_EQ(Selected(), QString()) << "nothing is selected by a query alone";
    Click(0, 2);
    EXPECT_EQ(Selected(), u"D1"_s);
    Click(2, 2, Qt::ControlModifier);
    EXPECT_EQ(Selected(), u"D1 D3"_s);
    grid.ClickTitle(3);
    EXPECT_EQ(Selected(), u"D3 D1"_s) << "in the order shown";
    Click(2, 2, Qt::ControlModifier);
    EXPECT_EQ(Selected(), u"D3"_s);
    Click(0, 2);
    Type(u"{Shift+Down}"_s);
    EXPECT_EQ(Selected(), u"D2 D3"_s);
    Type(u"{Ctrl+A}"_s);
    EXPECT_EQ(Selected(), u"D2 D3 D1"_s);
    Type(u"{Up}"_s);
    EXPECT_EQ(Selected(), u"D2"_s);
    Type(u"{Esc}"_s);
    EXPECT_TRUE(grid.SelectedRows().empty());
    grid.SelectRows({orders.ViewBookmark(0), orders.ViewBookmark(1)});
    orders.OpenRows(ThreeOrders());
    orders.Close();
    EXPECT_TRUE(grid.SelectedRows().empty());
}

TEST_F(DBGridTest, CellClickIsToldOnReleaseOverTheSameCell)
{
    Open(OrderGridColumns());
    QStringList clicked;
    grid.OnCellClick = [&](const TColumnEh& column) { clicked += column.fieldName; };
    Click(1, 2);
    QTest::mousePress(grid.viewport(), Qt::LeftButton, {}, CellCentre(0, 0));
    QTest::mouseRelease(grid.viewport(), Qt::LeftButton, {}, CellCentre(0, 3));
    EXPECT_EQ(clicked, QStringList{u"SITE"_s});
    int doubled = 0;
    grid.OnDblClick = [&] { ++doubled; };
    QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, CellCentre(2, 0));
    EXPECT_EQ(doubled, 1);
    EXPECT_EQ(orders.RecNo(), 3);
}

TEST_F(DBGridTest, TypingInAReadOnlyColumnSearches)
{
    Open(OrderGridColumns());
    TypeInto(u"ID", u"d3"_s);
    EXPECT_EQ(orders.RecNo(), 3);
    EXPECT_EQ(orders.State(), TDataSetState::Browse);
    Type(u"{Backspace}2"_s);
    EXPECT_EQ(orders.RecNo(), 2) << "after a wrap to the beginning";
    grid.SelectField(u"SITE");
    EXPECT_FALSE(grid.FindText(u"北京"_s)) << "the current row is not the next one";
    EXPECT_TRUE(grid.FindText(u"海"_s, true, true));
    EXPECT_EQ(orders.RecNo(), 1);
    EXPECT_TRUE(grid.FindText(u"北"_s, false));
    EXPECT_EQ(orders.RecNo(), 2);
}

TEST_F(DBGridTest, AGroupsNameStandsOverWhatIsVisibleOfIt)
{
    Open({Titled(u"ID", u"物流号", 100), Titled(u"STATUS", u"客户|一", 700), Titled(u"SITE", u"客户|二", 700),
        Titled(u"AMOUNT", u"金额", 700)});
    grid.SetFrozenCols(1);
    const auto middleOfName = [&] {
        const QImage picture = grid.horizontalHeader()->viewport()->grab().toImage();
        int first = -1, last = -1;
        for (int x = grid.columnWidth(0) + 4; x < picture.width() - 4; ++x) {
            if (qGray(picture.pixel(x, QFontMetrics(grid.font()).height() / 2 + 3)) < 120) {
                first = first < 0 ? x : first;
                last = x;
            }
        }
        return first < 0 ? -1 : (first + last) / 2;
    };
    const int width = grid.viewport()->width();
    for (const int scrolled : {0, 300, 1100}) { // as wide as the window; its last 300 pixels
        grid.horizontalScrollBar()->setValue(scrolled);
        const int end = std::min(width, 100 + 1400 - scrolled);
        EXPECT_NEAR(middleOfName(), (100 + end) / 2, 8) << scrolled;
    }
}

TEST_F(DBGridTest, AFoundCellIsColouredAndShownWithItsNeighbours)
{
    std::vector<Row> rows;
    for (int i = 0; i < 100; ++i)
        rows.push_back({T(u"D"), I(i), i == 60 ? T(u"目标") : T(u"别处"), Null, Null, Null});
    orders.OpenRows(MakeRows(OrderColumns(), rows));
    auto columns = OrderGridColumns();
    columns[0].width = 900;
    Open(columns);
    grid.SelectField(u"SITE");
    grid.horizontalScrollBar()->setValue(0);
    ASSERT_TRUE(grid.FindText(u"标"_s));
    const QRect cell = grid.visualRect(grid.model()->index(60, 2));
    const QRect seen = grid.viewport()->rect();
    EXPECT_TRUE(seen.contains(cell));
    EXPECT_TRUE(seen.contains(cell.translated(0, 2 * grid.RowHeight()))) << "two rows below it";
    const auto colours = [&] {
        const QImage picture = grid.viewport()->grab().toImage();
        std::pair<bool, bool> found;
        for (int x = cell.left(); x < cell.right(); ++x) {
            found.first |= picture.pixelColor(x, cell.top() + 3) == FoundCellColor();
            found.second |= picture.pixelColor(x, cell.top() + 3) == FoundTextColor();
        }
        return found;
    };
    EXPECT_EQ(colours(), std::pair(true, true));
    Type(u"{Down}"_s);
    EXPECT_EQ(colours(), std::pair(false, false)) << "until the user goes on";
}

TEST_F(DBGridTest, TheCurrentRowKeepsItsPlaceAndADoubleClickItsRow)
{
    std::vector<Row> rows(100, Row{T(u"D"), I(1), Null, Null, Null, Null});
    orders.OpenRows(MakeRows(OrderColumns(), rows));
    Open(OrderGridColumns());
    grid.KeepsRowPlace = true;
    int opened = 0;
    grid.OnDblClick = [&] { ++opened; };
    grid.verticalScrollBar()->setValue(40);
    QApplication::processEvents();
    const QPoint point = CellCentre(45, 1);
    const QPoint inWindow = grid.viewport()->mapTo(&window, point);
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, point);
    QApplication::processEvents();
    for (const int top : {60, 0}) {
        grid.setGeometry(0, top, 600, 300 - top);
        const int row = grid.rowAt(grid.viewport()->mapFrom(&window, inWindow).y());
        EXPECT_EQ(row, 45) << top;
    }
    grid.KeepsRowPlace = false;
    grid.verticalScrollBar()->setValue(35);
    QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, point);
    EXPECT_EQ(opened, 0) << "another row had come under the pointer";
    EXPECT_EQ(orders.RecNo(), 41);
    QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, point);
    EXPECT_EQ(opened, 1);
}

TEST_F(DBGridTest, HandlersPaintCellsOverTheRowsOwnLook)
{
    Open(OrderGridColumns());
    grid.OnGetCellParams = [](const TColumnEh& column, int row, TCellParams& params) {
        if (row == 1 && column.fieldName == u"SITE"_s)
            params.background = Qt::green;
    };
    grid.OnDrawColumnCell = [](QPainter& painter, const QRect& rect, int column, int) {
        if (column == 4)
            painter.fillRect(rect, Qt::blue);
        return column == 4;
    };
    const QImage picture = grid.viewport()->grab().toImage();
    const auto corner = [&](int row, int column) {
        return picture.pixelColor(grid.visualRect(grid.model()->index(row, column)).topLeft() + QPoint(1, 2));
    };
    EXPECT_EQ(corner(1, 2), QColor(Qt::green));
    EXPECT_EQ(corner(1, 1), QColor(Qt::white));
    EXPECT_EQ(corner(2, 4), QColor(Qt::blue));
    EXPECT_NE(corner(0, 1), QColor(Qt::white)) << "the current row stands out";
}

} // namespace

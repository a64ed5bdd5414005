#include "runtime/grid/GridFind.h"
#include "runtime/grid/SelectionSum.h"
#include "runtime/ui/Style.h"
#include "tests/runtime/GridFixture.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

namespace {

class GridFindTest : public GridTest {
protected:
    template <typename TWidget> TWidget* Part(const char* name)
    {
        return grid.findChild<TWidget*>(QLatin1StringView(name));
    }
    QString State() { return Part<QLabel>("FindState")->text(); }
    bool Says(const QString& state)
    {
        return QTest::qWaitFor([&] { return State() == state; });
    }
    void OpenMany()
    {
        std::vector<Row> rows;
        for (int i = 0; i < 200; ++i)
            rows.push_back({wire::TextValue(u"LP%1"_s.arg(i, 3, 10, QChar(u'0'))), I(i % 2),
                i % 50 == 9 ? T(u"上海") : T(u"北京"), N(i), Null, wire::TextValue(QString::number(i))});
        orders.OpenRows(MakeRows(OrderColumns(), rows));
        auto columns = OrderGridColumns();
        columns.push_back(Titled(u"SITE_PHONE", u"电话"));
        Open(columns);
    }
    QString FirstRows(int count)
    {
        QStringList names;
        for (int row = 0; row < count; ++row)
            names += grid.CellText(row, 0);
        return names.join(u' ');
    }
};

} // namespace

TEST_F(GridFindTest, ComparesWhatIsShown)
{
    struct {
        const char16_t* text;
        const char16_t* field;
        int hits;
    } const cases[] = {
        {u"海", u"", 1},
        {u"接单成功", u"", 1}, // the word, not the number behind it
        {u"1.50", u"", 1}, // as the column formats it
        {u"d", u"", 3}, // small letters and capitals alike
        {u"d", u"SITE", 0},
        {u"2024-01", u"CREATE_DATE", 2},
        {u"021", u"", 0}, // a column that is not shown
        {u"", u"", 0},
    };
    Open(OrderGridColumns());
    TGridFind find(grid);
    for (const auto& each : cases) {
        find.FindText(QString::fromUtf16(each.text), QString::fromUtf16(each.field));
        ASSERT_TRUE(QTest::qWaitFor([&] { return !find.IsRunning(); }));
        EXPECT_EQ(find.Hits(), each.hits) << QString::fromUtf16(each.text);
    }
    find.FindText(u"海"_s, {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !find.IsRunning(); }));
    orders.SetRecNo(2);
    orders.SetFieldAndPost(u"SITE", T(u"海口"));
    EXPECT_EQ(find.Hits(), 2) << "what is edited is counted again";
    orders.SetFilter(u"ID = 'D1'"_s);
    orders.SetFiltered(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !find.IsRunning(); }));
    EXPECT_EQ(find.Hits(), 1);
}

TEST_F(GridFindTest, StepsThroughTheHitsAndGivesTheKeyboardBack)
{
    OpenMany();
    Key(Qt::Key_F, Qt::ControlModifier);
    ASSERT_EQ(QApplication::focusWidget(), Part<QLineEdit>("FindText"));
    Type(u"上海");
    EXPECT_TRUE(Says(u"4 处"_s)) << State();
    EXPECT_EQ(orders.RecNo(), 1) << "typing alone moves nothing";
    Key(Qt::Key_Return);
    EXPECT_EQ(orders.RecNo(), 10);
    EXPECT_EQ(grid.SelectedField(), u"SITE"_s);
    EXPECT_EQ(State(), u"1 / 4"_s);
    Key(Qt::Key_F3);
    EXPECT_EQ(orders.RecNo(), 60);
    const QRect cell = grid.visualRect(grid.model()->index(59, 2));
    EXPECT_TRUE(grid.viewport()->rect().contains(cell.translated(0, 2 * grid.RowHeight())));
    const auto marked = [&] {
        const QImage picture = grid.viewport()->grab().toImage();
        for (int x = cell.left(); x < cell.right(); ++x) {
            if (picture.pixelColor(x, cell.top() + 3) == HitTextColor())
                return true;
        }
        return false;
    };
    EXPECT_TRUE(marked());
    Key(Qt::Key_F3, Qt::ShiftModifier);
    Key(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(orders.RecNo(), 160) << "round the beginning";
    Key(Qt::Key_Escape);
    EXPECT_EQ(QApplication::focusWidget(), &grid);
    EXPECT_FALSE(marked());

    grid.SetSelectedIndex(0);
    Key(Qt::Key_F, Qt::ControlModifier);
    auto* where = Part<QComboBox>("FindColumn");
    EXPECT_EQ(where->itemText(1), u"“物流号”列"_s);
    where->setCurrentIndex(1);
    Q_EMIT where->activated(1);
    EXPECT_TRUE(Says(u"0 处"_s)) << State();
}

TEST_F(GridFindTest, PastedNumbersGatherTheirRowsUntilTheyArePutBack)
{
    OpenMany();
    orders.SetRecNo(151);
    orders.SetFieldAndPost(u"SITE", T(u"改过"));
    grid.SelectRows({orders.ViewBookmark(3), orders.ViewBookmark(150)});
    grid.SelectField(u"SITE"); // holds none of them
    QApplication::clipboard()->setText(u"  lp150\r\n\r\nLP007\t其它\nLP999\nLP007\nLP030 \n"_s);
    Key(Qt::Key_F, Qt::ControlModifier);
    Key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_TRUE(Says(u"“物流号”列有3个，共3行，重复1个，1 / 3"_s)) << State();
    EXPECT_EQ(FirstRows(5), u"LP150 LP007 LP030 LP000 LP001"_s);
    EXPECT_EQ(orders.RecordCount(), 200);
    EXPECT_EQ(orders.ChangeCount(), 1);
    EXPECT_EQ(Selected(), u"LP150 LP003"_s);
    EXPECT_TRUE(orders.ViewCellChanged(0, 2));
    EXPECT_EQ(Part<QToolButton>("FindMissing")->text(), u"没有的1个…"_s);
    Key(Qt::Key_F3);
    EXPECT_EQ(orders.RecNo(), 2);
    Part<QToolButton>("FindSelect")->click();
    EXPECT_EQ(Selected(), u"LP150 LP007 LP030"_s);
    Key(Qt::Key_Escape);
    EXPECT_EQ(FirstRows(3), u"LP000 LP001 LP002"_s);
    EXPECT_EQ(orders.RecNo(), 8) << "the row gone to stays the current one";

    QApplication::clipboard()->setText(u"17"_s);
    Key(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(Says(u"“电话”列有1个，共1行，1 / 1"_s)) << State();
    grid.ClickTitle(0);
    EXPECT_EQ(FirstRows(2), u"LP000 LP001"_s) << "a click on a title is the order asked for last";
    grid.SetFilter({u"SITE"_s, {u"上海"_s}, {}, {}});
    QApplication::clipboard()->setText(u"LP001\nLP009"_s);
    Key(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(Says(u"“物流号”列有1个，共1行，1 / 1，只在筛选出的行里找"_s)) << State();
    grid.ClearFilters();
    QApplication::clipboard()->setText(u"X\nY"_s);
    Key(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(Says(u"哪一列都没有这2个单号"_s)) << State();
    Part<QToolButton>("FindMissing")->click();
    EXPECT_EQ(grid.findChild<QPlainTextEdit*>()->toPlainText(), u"X\nY"_s);
}

TEST_F(GridFindTest, ListsHaveLimits)
{
    QStringList many;
    for (int i = 0; i <= TNumberSet::kMost; ++i)
        many += QString::number(i);
    EXPECT_EQ(TNumberSet::Pasted(many.join(u'\n')).Complaint(), u"一次最多找100000个，您粘贴了100001个。"_s);
    many.removeLast();
    EXPECT_EQ(TNumberSet::Pasted(many.join(u'\r')).Count(), TNumberSet::kMost);
    EXPECT_EQ(TNumberSet::Pasted(QString(101, u'7') + u"\n1"_s).Complaint(),
        u"有1行超过100个字，不是单号，没有查找。"_s);
    EXPECT_EQ(TNumberSet::Pasted(u"\u3000\n \n"_s).Complaint(), u"没有粘贴任何单号。"_s);
    EXPECT_EQ(TNumberSet::Pasted(QString(50'000'000, u' ')).Count(), 0);
}

TEST_F(GridFindTest, TheStatusBarSumsNumbersAndCountsTheRest)
{
    QStatusBar bar(&window);
    auto& sum = *new TSelectionSum;
    bar.addWidget(&sum);
    Open(OrderGridColumns());
    grid.clearFocus();
    grid.setFocus();
    struct {
        const char16_t* field;
        const char16_t* said;
    } const cases[] = {
        {u"AMOUNT", u"选中3行，“网点 · 金额”2个，合计-0.5，平均-0.25"}, {u"ID", u"选中3行，“物流号”3个"},
        {u"STATUS", u"选中3行，“状态”2个"}, // the sum of words says nothing
    };
    for (const auto& each : cases) {
        grid.SelectField(QString::fromUtf16(each.field));
        grid.selectAll();
        EXPECT_TRUE(sum.text().isEmpty()) << "not before the selection rests";
        ASSERT_TRUE(QTest::qWaitFor([&] { return !sum.text().isEmpty(); }));
        bar.showMessage(u"按上次的排序列出"_s);
        EXPECT_TRUE(sum.isHidden()) << "a message has the place to itself";
        EXPECT_EQ(sum.text(), QString::fromUtf16(each.said));
    }
    Click(0, 3);
    QTest::qWait(400);
    EXPECT_TRUE(sum.text().isEmpty()) << "one cell is read as it stands";
}

#include "runtime/ui/PrintDBGrid.h"
#include "tests/runtime/GridFixture.h"

#include <QPdfWriter>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

class PrintDBGridTest : public GridTest {
protected:
    // Pages that the rows take; 0 when nothing was printed.
    int Print(int rows)
    {
        std::vector<Row> table;
        for (int i = 0; i < rows; ++i)
            table.push_back({T(u"D"), I(i), T(u"上海"), N(i), D(2024, 1, 1), Null});
        orders.OpenRows(MakeRows(OrderColumns(), table));
        TPrintDBGridEh print(&grid);
        QPdfWriter writer(folder.filePath(u"page.pdf"_s));
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setResolution(96);
        const int pages = print.PrintTo(writer);
        if (pages > 0) {
            EXPECT_NEAR(writer.pageLayout().margins(QPageLayout::Millimeter).left(), 20, 0.5);
        }
        return pages;
    }
    QTemporaryDir folder;
};

TEST_F(PrintDBGridTest, RowsFillPagesBelowTheTitles)
{
    Open(OrderGridColumns());
    EXPECT_EQ(Print(0), 0) << "an empty grid prints nothing";
    EXPECT_EQ(Print(5), 1);
    // 257 mm of height at 96 dpi hold about 971 pixels; a row takes a line of text and four pixels.
    const int pages = Print(200);
    EXPECT_GE(pages, 4);
    EXPECT_LE(pages, 6);
    EXPECT_EQ(Print(400), 2 * pages) << "pages grow with the rows";
}

} // namespace

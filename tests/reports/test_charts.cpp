#include "reports/ServiceCharts.h"
#include "tests/support/FakeServer.h"

#include <QApplication>
#include <QChart>
#include <QChartView>
#include <QClipboard>
#include <QGraphicsSimpleTextItem>
#include <QHorizontalStackedBarSeries>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

qint64 SumOf(const TChartContent& content, size_t series)
{
    qint64 sum = 0;
    for (const TChartBar& bar : content.bars)
        sum += bar.values[series];
    return sum;
}

QStringList NamesOf(const TChartContent& content)
{
    QStringList names;
    for (const TChartBar& bar : content.bars)
        names += bar.name;
    return names;
}

// Twelve sites, the n-th with n orders, and a region of two hundred.
void OpenFigures(TClientDataSetEx& figures)
{
    std::vector<std::vector<wire::Value>> rows{{u"空"_s, 200, {}, {}, {}, {}, {}, {}}};
    for (int n = 1; n <= 12; ++n)
        rows.push_back({u"网点%1"_s.arg(n), n, n, n / 2, n % 3, n - 1, n / 3, 1});
    std::vector<wire::ColumnInfo> columns{{u"duty_site"_s, wire::ColumnType::Text}};
    for (const QString& figure : {u"mustrec_count"_s, u"accept_count"_s, u"OutTimeAccept_Count"_s,
             u"noaccept_count"_s, u"rec_count"_s, u"OutTimeRec_Count"_s, u"NoRec_Count"_s})
        columns.push_back({figure, wire::ColumnType::Integer});
    figures.OpenRows(MakeRows(columns, rows));
}

} // namespace

TEST(ServiceCharts, DrawTheRowsShownTheLargestFirstAndTheRestInOne)
{
    TClientDataSetEx figures;
    EXPECT_TRUE(AcceptanceChart(figures).bars.empty());
    OpenFigures(figures);
    const auto sum = [&](QStringView field) { return figures.Sum(figures.FieldIndex(field)).toLongLong(); };
    for (const bool narrowed : {false, true}) {
        if (narrowed)
            figures.SetFilter(u"mustrec_count > 9"_s);
        figures.SetFiltered(narrowed);
        const TChartContent accepted = AcceptanceChart(figures);
        EXPECT_EQ(SumOf(accepted, 0) + SumOf(accepted, 1), sum(u"accept_count"));
        EXPECT_EQ(SumOf(accepted, 1), sum(u"OutTimeAccept_Count"));
        EXPECT_EQ(SumOf(accepted, 2), sum(u"noaccept_count"));
        const TChartContent pickedUp = PickupChart(figures);
        EXPECT_EQ(SumOf(pickedUp, 0) + SumOf(pickedUp, 1), sum(u"rec_count"));
        EXPECT_EQ(SumOf(pickedUp, 1), sum(u"OutTimeRec_Count"));
        EXPECT_EQ(SumOf(pickedUp, 2), sum(u"NoRec_Count"));
        EXPECT_EQ(NamesOf(accepted), NamesOf(pickedUp));
        EXPECT_EQ(accepted.bars.size(), narrowed ? 3U : 11U);
        EXPECT_EQ(accepted.bars.front().name, u"网点12"_s);
        EXPECT_EQ(accepted.bars.back().rest, !narrowed);
    }
    figures.SetFiltered(false);
    const TChartContent all = AcceptanceChart(figures);
    EXPECT_EQ(BarTip(all, all.bars.front()), u"网点12\n准时：6\n超时：6\n未接单：0\n准时率：50.0%"_s);
    ASSERT_TRUE(figures.GotoBookmark(all.bars.back().rows.back()));
    EXPECT_EQ(figures.FieldByName(u"duty_site").AsString(), u"网点1"_s);
    EXPECT_EQ(PickupColumn(1), u"OutTimeRec_Count"_s);
}

TEST(ServiceCharts, SumARegionOverItsSites)
{
    TClientDataSetEx sums;
    sums.OpenRows(MakeRows({{u"PROV"_s, wire::ColumnType::Text}, {u"CITY"_s, wire::ColumnType::Text},
                               {u"COUNTY"_s, wire::ColumnType::Text}, {u"REC_SITE"_s, wire::ColumnType::Text},
                               {u"count_sum"_s, wire::ColumnType::Integer}},
        {{u"甲"_s, u"乙"_s, u"丙"_s, u"一部"_s, 2}, {u"甲"_s, u"乙"_s, u"丁"_s, u"一部"_s, 6},
            {u"甲"_s, u"乙"_s, u"丙"_s, u"二部"_s, 5}, {{}, {}, {}, {}, 1}}));
    const TChartContent content = OverdueChart(sums, u"超时"_s);
    EXPECT_EQ(NamesOf(content), QStringList({u"甲 乙 丙"_s, u"甲 乙 丁"_s, {}}));
    EXPECT_EQ(SumOf(content, 0), 14);
    ASSERT_TRUE(sums.GotoBookmark(content.bars[0].rows.front()));
    EXPECT_EQ(sums.FieldByName(u"REC_SITE").AsString(), u"二部"_s) << "the larger one first";
}

TEST(BarCharts, AreClickedAndCopied)
{
    TClientDataSetEx figures;
    OpenFigures(figures);
    TBarChart chart(nullptr, u"Chart1"_s);
    chart.resize(600, 320);
    chart.show();
    EXPECT_FALSE(chart.actions().front()->isEnabled()) << "nothing to copy yet";
    chart.Show(AcceptanceChart(figures));
    QApplication::processEvents();

    QString clicked;
    chart.OnBarClick = [&](const TChartBar& bar, int series) {
        clicked = bar.name + QString::number(series);
    };
    auto* view = chart.findChild<QChartView*>();
    QAbstractSeries* bars = view->chart()->series().front();
    const auto click = [&](double value, int place) {
        const QPoint at = view->mapFromScene(view->chart()->mapToPosition({value, double(place)}, bars));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
        QApplication::processEvents();
        return std::exchange(clicked, {});
    };
    EXPECT_EQ(click(1, 10), u"网点120"_s) << "the topmost bar, in time";
    EXPECT_EQ(click(9, 10), u"网点121"_s);
    EXPECT_EQ(click(1, 0), u"其他0"_s);

    QStringList names;
    for (const QGraphicsItem* item : view->chart()->childItems()) {
        if (const auto* name = qgraphicsitem_cast<const QGraphicsSimpleTextItem*>(item))
            names += name->text();
    }
    EXPECT_EQ(names.first(), u"网点12  12"_s);
    chart.actions().front()->trigger();
    EXPECT_EQ(QApplication::clipboard()->image().width(), view->width() * 2);
    chart.Show({});
    EXPECT_FALSE(view->isVisible());
}

#include "reports/ServiceCharts.h"

#include "module/data/DataSetRows.h"
#include "reports/ServiceFigures.h"

#include <QHash>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

// The figures that one chart is made of.
struct StepFigures {
    QStringView title;
    QStringView done;
    QStringView late; // of those done
    QStringView notDone;
    QStringView notDoneName;
};

constexpr StepFigures kAcceptance{
    u"接单是否及时", u"accept_count", u"OutTimeAccept_Count", u"noaccept_count", u"未接单"};
constexpr StepFigures kPickup{u"揽件是否及时", u"rec_count", u"OutTimeRec_Count", u"NoRec_Count", u"未揽收"};

QString ColumnOf(const StepFigures& step, int series)
{
    return std::array{step.done, step.late, step.notDone}.at(size_t(series)).toString();
}

TChartContent StepChart(const TClientDataSetEx& figures, const StepFigures& step)
{
    TChartContent content{
        .title = step.title.toString(),
        .series = {u"准时"_s, u"超时"_s, step.notDoneName.toString()},
        .shareName = u"准时率"_s,
    };
    if (!HasRows(figures))
        return content;
    const int site = figures.FieldIndex(u"duty_site");
    const int all = figures.FieldIndex(u"mustrec_count");
    const int done = figures.FieldIndex(step.done);
    const int late = figures.FieldIndex(step.late);
    const int notDone = figures.FieldIndex(step.notDone);
    struct Site {
        qint64 orders;
        TChartBar bar;
    };
    std::vector<Site> sites;
    for (int row = 0; row < figures.RecordCount(); ++row) {
        const QString name = figures.ViewText(row, site);
        if (name == kNoSite)
            continue;
        const qint64 tooLate = figures.ViewInteger(row, late);
        sites.push_back({figures.ViewInteger(row, all),
            {.name = name,
                .values = {figures.ViewInteger(row, done) - tooLate, tooLate,
                    figures.ViewInteger(row, notDone)},
                .rows = {figures.ViewBookmark(row)}}});
    }
    std::ranges::sort(sites, [](const Site& a, const Site& b) {
        return a.orders != b.orders ? a.orders > b.orders : a.bar.name < b.bar.name;
    });
    for (Site& one : sites)
        content.bars.push_back(std::move(one.bar));
    content.bars = WithRestSummed(std::move(content.bars));
    return content;
}

} // namespace

TChartContent OverdueChart(const TClientDataSetEx& sums, const QString& title)
{
    TChartContent content{.title = title, .series = {u"票数"_s}};
    if (!HasRows(sums))
        return content;
    const int fields[] = {sums.FieldIndex(u"PROV"), sums.FieldIndex(u"CITY"), sums.FieldIndex(u"COUNTY")};
    const int count = sums.FieldIndex(u"COUNT_SUM");
    struct Row {
        TBookmark bookmark;
        qint64 orders;
    };
    QHash<QString, std::vector<Row>> regions;
    for (int row = 0; row < sums.RecordCount(); ++row) {
        QStringList names;
        for (const int field : fields)
            names += sums.ViewText(row, field);
        regions[names.join(u' ').trimmed()].push_back({sums.ViewBookmark(row), sums.ViewInteger(row, count)});
    }
    for (auto region = regions.begin(); region != regions.end(); ++region) {
        std::ranges::stable_sort(*region, std::greater(), &Row::orders);
        TChartBar bar{.name = region.key(), .values = {0}};
        for (const Row& row : *region) {
            bar.values[0] += row.orders;
            bar.rows.push_back(row.bookmark);
        }
        content.bars.push_back(std::move(bar));
    }
    std::ranges::sort(content.bars, [](const TChartBar& a, const TChartBar& b) {
        return a.values != b.values ? a.values > b.values : a.name < b.name;
    });
    content.bars = WithRestSummed(std::move(content.bars));
    return content;
}

TChartContent AcceptanceChart(const TClientDataSetEx& figures)
{
    return StepChart(figures, kAcceptance);
}

TChartContent PickupChart(const TClientDataSetEx& figures)
{
    return StepChart(figures, kPickup);
}

QString AcceptanceColumn(int series)
{
    return ColumnOf(kAcceptance, series);
}

QString PickupColumn(int series)
{
    return ColumnOf(kPickup, series);
}

#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QPixmap>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <vector>

class QAbstractBarSeries;
class QBarCategoryAxis;
class QChartView;
class QGraphicsSimpleTextItem;
class QLabel;
class QValueAxis;

// Bars beside a table, drawn from its rows: what a table says, to be looked at.

struct TChartBar {
    QString name{};
    std::vector<qint64> values{}; // one a series
    std::vector<TBookmark> rows{}; // of the table that the bar stands for, the largest first
    bool rest = false; // the sum of what is too small for a bar of its own

    qint64 Total() const;
    bool operator==(const TChartBar&) const = default;
};

struct TChartContent {
    QString title{};
    QStringList series{};
    std::vector<TChartBar> bars{}; // the largest first
    QString shareName{}; // of the line that says how much of a bar is its first series; empty: no line

    bool operator==(const TChartContent&) const = default;
};

// The first ten as they are, the others in one bar "其他" at the end.
std::vector<TChartBar> WithRestSummed(std::vector<TChartBar> bars);
// Name and numbers of a bar, a line each.
QString BarTip(const TChartContent& content, const TChartBar& bar);

class TBarChart : public QWidget {
    Q_OBJECT
public:
    // `word` is what menus and the table of keys call it: "接单图".
    TBarChart(QWidget* parent, const QString& name, const QString& word = QStringLiteral("图"));

    // Draws nothing anew where nothing differs.
    void Show(const TChartContent& content);
    const TChartContent& Content() const noexcept { return content_; }
    QPixmap Picture() const; // at twice the screen's resolution
    void Copy() const;
    void Save();

    // The bar and the series clicked on.
    std::function<void(const TChartBar& bar, int series)> OnBarClick;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Draw();
    void WriteNames();
    void PlaceNames();
    void DrawShares(QBarCategoryAxis* names);
    QAbstractBarSeries* NewBars();
    // How long the axis must be. Where the sum of the rest would dwarf all others, its bar is as long as the
    // longest of them and says that it is not to scale.
    qint64 LongestBar() const;
    // Bars stand from below: the first is the last.
    const TChartBar& BarAt(int place) const;

    QLabel* title_;
    QLabel* nothing_; // said where there are no bars
    QChartView* view_;
    QPointer<QValueAxis> percent_; // above the bars, where there is a line of shares
    std::vector<QGraphicsSimpleTextItem*> names_; // beside the bars, the chart's
    TChartContent content_;
};

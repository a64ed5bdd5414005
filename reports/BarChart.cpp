#include "reports/BarChart.h"

#include "framework/LabelledControls.h"
#include "framework/ScreenHandlers.h"
#include "framework/export/ListExportFile.h"
#include "framework/export/ProposedFile.h"
#include "module/data/MessageBoxes.h"
#include "orders/record/OrderView.h"
#include "runtime/ui/Style.h"

#include <QAction>
#include <QBarCategoryAxis>
#include <QBarSet>
#include <QChartView>
#include <QClipboard>
#include <QFileInfo>
#include <QGraphicsLayout>
#include <QGraphicsSimpleTextItem>
#include <QGuiApplication>
#include <QHorizontalStackedBarSeries>
#include <QLabel>
#include <QLegend>
#include <QLineSeries>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollArea>
#include <QToolTip>
#include <QValueAxis>

#include <array>
#include <cmath>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t kMostBars = 10;
constexpr int kBarHeight = 18; // pixels at 96 dpi, the gap included
constexpr int kAxesHeight = 48;
constexpr int kMostOfName = 190;
constexpr double kMostOfWidth = 0.45; // what names may take of a narrow chart
constexpr int kNarrow = 220; // a plot with room for three percentages, not for five
constexpr int kLeastHeight = 180; // the heading and six bars
constexpr int kNameGap = 6;
constexpr double kMostOfRest = 3; // longer than so many of the longest, the sum of the rest is not to scale
constexpr int kPictureScale = 2;
constexpr double kPercent = 100;

// Told apart by those who see no red or no green, and by their lightness on paper.
constexpr std::array kColors = {QColor(0x00, 0x72, 0xb2), QColor(0xe6, 0x9f, 0x00), QColor(0x8c, 0x8c, 0x8c)};
constexpr QColor kLineColor(0x1f, 0x29, 0x33);
constexpr QColor kGridColor(0xd9, 0xe0, 0xe8);

double ShareOf(const TChartBar& bar)
{
    return kPercent * double(bar.values.front()) / double(bar.Total());
}

// The step of an axis of whole numbers: five steps or fewer.
double StepOf(qint64 most)
{
    const double least = std::max(1.0, double(most) / 5);
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least)
            return factor * power;
    }
    return 10 * power;
}

// A line breaks within Chinese words unless it is told not to.
QString Unbroken(const QString& text)
{
    QString joined;
    for (const QChar character : text)
        joined += joined.isEmpty() ? QString(character) : QString(QChar(0x2060)) + character;
    return joined.replace(u' ', QChar::Nbsp);
}

// The title, and each series with its colour and its sum.
QString Heading(const TChartContent& content)
{
    QString text = u"<b>"_s + Unbroken(content.title) + u"</b>"_s;
    const auto add = [&](const QColor& color, const QString& mark, const QString& name) {
        text += u"&nbsp;&nbsp; <span style='color:%1'>%2</span>&nbsp;%3"_s.arg(color.name(), mark, name);
    };
    if (content.bars.empty())
        return text;
    for (qsizetype i = 0; i < content.series.size(); ++i) {
        qint64 sum = 0;
        for (const TChartBar& bar : content.bars)
            sum += bar.values[size_t(i)];
        add(kColors[size_t(i)], u"■"_s, Unbroken(content.series[i] + u' ' + QString::number(sum)));
    }
    if (!content.shareName.isEmpty())
        add(kLineColor, Unbroken(u"─●─"_s), Unbroken(content.shareName));
    return text;
}

// Names come with the orders: nothing in them is markup.
QString PlainTip(const QString& text)
{
    return u"<p style='white-space:pre'>"_s + text.toHtmlEscaped() + u"</p>"_s;
}

void LookLikeTheScreen(QAbstractAxis& axis)
{
    axis.setLabelsFont(ScreenFont());
    axis.setGridLineColor(kGridColor);
}

} // namespace

qint64 TChartBar::Total() const
{
    return std::accumulate(values.begin(), values.end(), qint64{0});
}

std::vector<TChartBar> WithRestSummed(std::vector<TChartBar> bars)
{
    if (bars.size() <= kMostBars)
        return bars;
    TChartBar rest{
        .name = u"其他"_s, .values = std::vector<qint64>(bars.front().values.size()), .rest = true};
    for (size_t i = kMostBars; i < bars.size(); ++i) {
        for (size_t value = 0; value < rest.values.size(); ++value)
            rest.values[value] += bars[i].values[value];
        rest.rows.insert(rest.rows.end(), bars[i].rows.begin(), bars[i].rows.end());
    }
    bars.resize(kMostBars);
    bars.push_back(std::move(rest));
    return bars;
}

QString BarTip(const TChartContent& content, const TChartBar& bar)
{
    QStringList lines{bar.rest ? u"其他%1行"_s.arg(bar.rows.size()) : bar.name};
    for (qsizetype i = 0; i < content.series.size(); ++i)
        lines += u"%1：%2"_s.arg(content.series[i]).arg(bar.values[size_t(i)]);
    if (!content.shareName.isEmpty() && bar.Total() > 0)
        lines += u"%1：%2%"_s.arg(content.shareName).arg(ShareOf(bar), 0, 'f', 1);
    return lines.join(u'\n');
}

TBarChart::TBarChart(QWidget* parent, const QString& name, const QString& word)
    : QWidget(parent)
    , title_(new QLabel(this))
    , nothing_(new QLabel(u"列表中没有可以画的数"_s, this))
    , view_(new QChartView)
{
    setObjectName(name);
    nothing_->setAlignment(Qt::AlignCenter);
    nothing_->setObjectName(u"Nothing"_s);
    view_->setRenderHint(QPainter::Antialiasing);
    view_->setFrameShape(QFrame::NoFrame);
    view_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QChart* chart = view_->chart();
    chart->setBackgroundRoundness(0);
    chart->setMargins({});
    chart->layout()->setContentsMargins(0, 0, 0, 0);
    connect(chart, &QChart::plotAreaChanged, this, &TBarChart::PlaceNames);
    chart->legend()->hide(); // the heading names the colours, and takes less room

    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    title_->setWordWrap(true);
    setMinimumHeight(Scaled(*this, kLeastHeight));
    auto* copy = new QAction(u"复制"_s + word, this);
    auto* save = new QAction(u"存"_s + word + u"…"_s, this);
    copy->setIconText(u"复制"_s);
    save->setIconText(u"存图…"_s);
    copy->setToolTip(u"把图复制到剪贴板"_s);
    save->setToolTip(u"把图存为PNG文件"_s);
    copy->setObjectName(name + u"Copy"_s);
    save->setObjectName(name + u"Save"_s);
    connect(copy, &QAction::triggered, this, &TBarChart::Copy);
    connect(save, &QAction::triggered, this, &TBarChart::Save);
    addActions({copy, save});
    setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* head = new QHBoxLayout;
    head->setSpacing(6);
    head->setContentsMargins(6, 2, 6, 2);
    head->addWidget(title_, 1);
    head->addWidget(NewActionButton(this, copy));
    head->addWidget(NewActionButton(this, save));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(head);
    layout->addWidget(nothing_, 1);
    QScrollArea* room = InScrollArea(view_, this);
    layout->addWidget(room, 1);
    Draw();
}

void TBarChart::Show(const TChartContent& content)
{
    if (content == content_)
        return;
    content_ = content;
    Draw();
}

const TChartBar& TBarChart::BarAt(int place) const
{
    return content_.bars[content_.bars.size() - 1 - size_t(place)];
}

qint64 TBarChart::LongestBar() const
{
    qint64 longest = 0;
    for (const TChartBar& bar : content_.bars) {
        if (!bar.rest || double(bar.Total()) <= kMostOfRest * double(longest))
            longest = std::max(longest, bar.Total());
    }
    return longest;
}

void TBarChart::Draw()
{
    QChart* chart = view_->chart();
    chart->removeAllSeries();
    const QList<QAbstractAxis*> axes = chart->axes();
    for (QAbstractAxis* axis : axes) {
        chart->removeAxis(axis);
        delete axis;
    }
    const bool any = !content_.bars.empty();
    title_->setText(Heading(content_));
    title_->setToolTip(title_->text()); // whole, where there is too little room
    nothing_->setVisible(!any);
    view_->parentWidget()->parentWidget()->setVisible(any); // with the room it scrolls in
    for (QAction* action : actions())
        action->setEnabled(any);
    if (!any)
        return;

    auto* names = new QBarCategoryAxis;
    for (int place = 0; place < int(content_.bars.size()); ++place)
        names->append(QString::number(place)); // written beside it instead
    names->setLabelsVisible(false);
    WriteNames();
    auto* numbers = new QValueAxis;
    const qint64 longest = LongestBar();
    const double step = StepOf(longest);
    numbers->setRange(0, std::max(step, std::ceil(double(longest) / step) * step));
    numbers->setTickType(QValueAxis::TicksDynamic);
    numbers->setTickInterval(step);
    numbers->setLabelFormat(u"%.0f"_s);
    LookLikeTheScreen(*numbers);
    names->setGridLineVisible(false);
    names->setLineVisible(false);
    chart->addAxis(names, Qt::AlignLeft);
    chart->addAxis(numbers, Qt::AlignBottom);
    QAbstractBarSeries* bars = NewBars();
    chart->addSeries(bars);
    bars->attachAxis(names);
    bars->attachAxis(numbers);
    if (!content_.shareName.isEmpty())
        DrawShares(names);
    view_->setMinimumHeight(Scaled(*this, kBarHeight * int(content_.bars.size()) + kAxesHeight));
}

// The axis' own names need a third more room, and are dots where they do not have it.
void TBarChart::WriteNames()
{
    qDeleteAll(names_);
    names_.clear();
    const qint64 longest = LongestBar();
    const QFontMetrics metrics(ScreenFont());
    const int most = std::min(Scaled(*this, kMostOfName), int(kMostOfWidth * width()));
    int widest = 0;
    for (const TChartBar& bar : content_.bars) {
        QString name = bar.name.isEmpty() ? u"（空）"_s : bar.name;
        if (bar.Total() > longest)
            name += u"（不按比例）"_s;
        const QString number = u"  "_s + QString::number(bar.Total());
        name = metrics.elidedText(name, Qt::ElideMiddle, most) + number;
        names_.push_back(new QGraphicsSimpleTextItem(name, view_->chart()));
        names_.back()->setFont(ScreenFont());
        widest = std::max(widest, metrics.horizontalAdvance(name));
    }
    view_->chart()->setMargins({widest + kNameGap, 0, kNameGap, 0});
    PlaceNames();
}

void TBarChart::PlaceNames()
{
    const QRectF plot = view_->chart()->plotArea();
    const double slot = plot.height() / double(names_.size());
    for (size_t i = 0; i < names_.size(); ++i) {
        const QRectF text = names_[i]->boundingRect();
        names_[i]->setPos(
            plot.left() - kNameGap - text.width(), plot.top() + slot * (double(i) + 0.5) - text.height() / 2);
    }
    if (percent_)
        percent_->setTickCount(plot.width() < Scaled(*this, kNarrow) ? 3 : 5);
}

QAbstractBarSeries* TBarChart::NewBars()
{
    const double longest = double(LongestBar());
    const auto scale = [&](const TChartBar& bar) {
        return double(bar.Total()) > longest ? longest / double(bar.Total()) : 1;
    };
    auto* bars = new QHorizontalStackedBarSeries;
    bars->setBarWidth(0.7);
    for (qsizetype i = 0; i < content_.series.size(); ++i) {
        auto* set = new QBarSet(content_.series[i]);
        set->setColor(kColors[size_t(i)]);
        set->setBorderColor(Qt::white);
        for (int place = 0; place < int(content_.bars.size()); ++place)
            set->append(double(BarAt(place).values[size_t(i)]) * scale(BarAt(place)));
        bars->append(set);
        // Later: what a click does may draw the chart anew, and the set that tells of it would be gone.
        connect(set, &QBarSet::clicked, this, [this, i](int place) {
            const auto tell = [this, bar = BarAt(place), i] {
                if (OnBarClick)
                    OnBarClick(bar, int(i));
            };
            QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
        });
        connect(set, &QBarSet::hovered, this, [this](bool inside, int place) {
            if (inside)
                QToolTip::showText(QCursor::pos(), PlainTip(BarTip(content_, BarAt(place))), view_);
            else
                QToolTip::hideText();
        });
    }
    return bars;
}

void TBarChart::DrawShares(QBarCategoryAxis* names)
{
    auto* line = new QLineSeries;
    line->setPen(QPen(kLineColor, 1.5));
    line->setPointsVisible(true);
    for (int place = 0; place < int(content_.bars.size()); ++place) {
        if (BarAt(place).Total() > 0)
            line->append(ShareOf(BarAt(place)), place);
    }
    percent_ = new QValueAxis;
    percent_->setRange(0, kPercent);
    percent_->setTickCount(5);
    percent_->setLabelFormat(u"%.0f%%"_s);
    LookLikeTheScreen(*percent_);
    percent_->setGridLineVisible(false);
    QChart* chart = view_->chart();
    chart->addAxis(percent_, Qt::AlignTop);
    chart->addSeries(line);
    line->attachAxis(names);
    line->attachAxis(percent_);
}

void TBarChart::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        WriteNames();
}

QPixmap TBarChart::Picture() const
{
    QLabel heading(title_->text());
    heading.setFont(title_->font());
    heading.setWordWrap(true);
    const int top = heading.heightForWidth(view_->width());
    heading.resize(view_->width(), top);
    QPixmap picture(QSize(view_->width(), top + view_->height()) * kPictureScale);
    picture.setDevicePixelRatio(kPictureScale);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    heading.render(&painter, {}, {}, QWidget::DrawChildren);
    view_->render(&painter, QRect(0, top, view_->width(), view_->height()));
    return picture;
}

void TBarChart::Copy() const
{
    QGuiApplication::clipboard()->setPixmap(Picture());
    ShowNotice(content_.title + u"：图已复制到剪贴板"_s);
}

void TBarChart::Save()
{
    const QString path =
        AskFile(this, content_.title, ProposedFile(content_.title, u".png"), u"PNG (*.png)"_s);
    if (path.isEmpty())
        return;
    KeepFolder(QFileInfo(path).absolutePath());
    const auto write = [&] {
        TPartFile part(path);
        if (!Picture().save(part.Name(), "PNG"))
            part.RaiseUnwritten(u"图片没有写完"_s);
        part.FinishOnDisk({}, 0);
    };
    Guarded(write, [this](const QString& reason) { ShowFailure(reason, content_.title); });
}

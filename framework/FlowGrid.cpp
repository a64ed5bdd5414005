#include "framework/FlowGrid.h"

#include <QLabel>

#include <algorithm>
#include <numeric>

namespace {

// Pixels between what stands side by side, and between lines.
constexpr int kGap = 6;
constexpr int kLineGap = 4;

// Alike, as far as the least of each allows.
std::vector<int> Shared(std::vector<int> least, int room)
{
    std::vector<size_t> wide; // columns whose least is more than their share
    int rest = room;
    auto others = int(least.size());
    for (bool found = true; found && others > 0;) {
        found = false;
        for (size_t i = 0; i < least.size(); ++i) {
            if (std::ranges::find(wide, i) != wide.end() || least[i] * others <= rest)
                continue;
            wide.push_back(i);
            rest -= least[i];
            --others;
            found = true;
        }
    }
    const int share = others > 0 ? rest / others : 0;
    for (size_t i = 0; i < least.size(); ++i) {
        if (std::ranges::find(wide, i) == wide.end())
            least[i] = share;
    }
    return least;
}

} // namespace

TFlowGrid::TFlowGrid(QWidget* panel, int columns, int leastLabel)
    : QLayout(panel)
    , columns_(columns)
    , leastLabel_(leastLabel)
{
    setContentsMargins(0, 0, 0, 0);
}

TFlowGrid::~TFlowGrid()
{
    qDeleteAll(items_);
}

void TFlowGrid::AddBox(QLabel* label, QWidget* box, int span)
{
    addWidget(label);
    addWidget(box);
    pairs_.push_back({items_.end()[-2], items_.back(), span});
}

void TFlowGrid::addItem(QLayoutItem* item)
{
    items_.push_back(item);
}

QLayoutItem* TFlowGrid::itemAt(int index) const
{
    return index >= 0 && index < count() ? items_[size_t(index)] : nullptr;
}

QLayoutItem* TFlowGrid::takeAt(int index)
{
    QLayoutItem* item = itemAt(index);
    std::erase(items_, item);
    std::erase_if(pairs_, [item](const TPair& pair) { return pair.label == item || pair.box == item; });
    return item;
}

int TFlowGrid::count() const
{
    return int(items_.size());
}

int TFlowGrid::LineHeight() const
{
    int height = 0;
    for (const QLayoutItem* item : items_)
        height = std::max(height, item->sizeHint().height());
    return height;
}

std::vector<TFlowGrid::TPlace> TFlowGrid::Places(int columns) const
{
    std::vector<TPlace> places;
    int line = 0;
    int column = 0;
    for (const TPair& pair : pairs_) {
        const int span = std::min(pair.span, columns);
        if (column + span > columns) {
            ++line;
            column = 0;
        }
        places.push_back({line, column, span});
        column += span;
    }
    return places;
}

TFlowGrid::TWidths TFlowGrid::Least(int columns) const
{
    TWidths least{std::vector<int>(size_t(columns), leastLabel_), std::vector<int>(size_t(columns), 0)};
    const std::vector<TPlace> places = Places(columns);
    for (size_t i = 0; i < pairs_.size(); ++i) {
        int& label = least.labels[size_t(places[i].column)];
        int& box = least.boxes[size_t(places[i].column)];
        label = std::max(label, pairs_[i].label->sizeHint().width());
        if (places[i].span == 1)
            box = std::max(box, pairs_[i].box->minimumSize().width());
    }
    return least;
}

int TFlowGrid::TWidths::Sum() const
{
    int sum = int(labels.size()) * 2 * kGap - kGap;
    for (const std::vector<int>* widths : {&labels, &boxes})
        sum = std::accumulate(widths->begin(), widths->end(), sum);
    return sum;
}

int TFlowGrid::ColumnsIn(int width) const
{
    int columns = columns_;
    while (columns > 1 && Least(columns).Sum() > width)
        --columns;
    return columns;
}

QSize TFlowGrid::sizeHint() const
{
    const int width = Least(columns_).Sum();
    return {width, heightForWidth(width)};
}

QSize TFlowGrid::minimumSize() const
{
    return {Least(1).Sum(), LineHeight()};
}

int TFlowGrid::heightForWidth(int width) const
{
    const std::vector<TPlace> places = Places(ColumnsIn(width));
    return places.empty() ? 0 : (places.back().line + 1) * (LineHeight() + kLineGap) - kLineGap;
}

void TFlowGrid::setGeometry(const QRect& room)
{
    QLayout::setGeometry(room);
    const int columns = ColumnsIn(room.width());
    const int height = LineHeight();
    TWidths widths = Least(columns);
    const int boxes = std::accumulate(widths.boxes.begin(), widths.boxes.end(), 0);
    widths.boxes = Shared(widths.boxes, std::max(boxes, room.width() - widths.Sum() + boxes));
    std::vector<int> lefts{room.left()};
    for (int i = 0; i < columns; ++i)
        lefts.push_back(lefts.back() + widths.labels[size_t(i)] + widths.boxes[size_t(i)] + 2 * kGap);
    const std::vector<TPlace> places = Places(columns);
    for (size_t i = 0; i < pairs_.size(); ++i) {
        const auto& [line, column, span] = places[i];
        const int top = room.top() + line * (height + kLineGap);
        const int left = lefts[size_t(column)];
        const int label = widths.labels[size_t(column)];
        const int box = left + label + kGap;
        pairs_[i].label->setGeometry({left, top, label, height});
        pairs_[i].box->setGeometry({box, top, lefts[size_t(column + span)] - kGap - box, height});
    }
}

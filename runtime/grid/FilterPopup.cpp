#include "runtime/grid/FilterPopup.h"

#include "runtime/data/Collation.h"
#include "runtime/ui/Style.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t kMostItems = 2000; // in the list at once; the search reaches all
constexpr qint64 kSlice = 12; // milliseconds of one go
constexpr size_t kValuesAtOnce = 64; // between two looks at the clock
const QString kBlank = u"（空白）"_s;

} // namespace

TFilterPopup::TFilterPopup(TDBGridEh* grid, int column)
    : QFrame(grid, Qt::Popup)
    , grid_(grid)
    , field_(grid->Column(column).fieldName)
    , search_(new QLineEdit(this))
    , list_(new QListWidget(this))
    , more_(new QLabel(this))
{
    setObjectName(u"FilterPopup"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    setFont(grid->font());
    search_->setObjectName(u"FilterSearch"_s);
    search_->setPlaceholderText(u"查找值"_s);
    search_->setClearButtonEnabled(true);
    list_->setObjectName(u"FilterList"_s);
    list_->setUniformItemSizes(true);
    list_->setAccessibleName(u"值"_s);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(search_);
    const TGridColumn& entry = grid->d_->columns[size_t(column)];
    const wire::ColumnType type = grid->DataSet()->FieldInfo(entry.field).type;
    const bool plain = entry.info.style == TColumnStyle::Text || entry.info.style == TColumnStyle::DateTime;
    dates_ = type == wire::ColumnType::DateTime;
    if (plain && type != wire::ColumnType::Text)
        AddBounds(*layout);
    layout->addWidget(list_, 1);
    layout->addWidget(more_);
    AddButtons(*layout);
    reading_ = std::make_unique<Reading>(Reading{
        .texts = {*grid->d_, field_}, .shown = {}, .counts = grid->DataSet()->CountValues(entry.field)});
    items_.reserve(reading_->counts.size());
    ShowPresent();
    Connect();
    ReadOn();
}

void TFilterPopup::AddBounds(QBoxLayout& layout)
{
    from_ = new QLineEdit(this);
    to_ = new QLineEdit(this);
    from_->setObjectName(u"FilterFrom"_s);
    to_->setObjectName(u"FilterTo"_s);
    auto* bounds = new QHBoxLayout;
    bounds->addWidget(new QLabel(u"从"_s, this));
    bounds->addWidget(from_);
    bounds->addWidget(new QLabel(u"到"_s, this));
    bounds->addWidget(to_);
    layout.addLayout(bounds);
}

void TFilterPopup::AddButtons(QBoxLayout& layout)
{
    auto* buttons = new QHBoxLayout;
    const auto button = [&](const QString& text, const QString& name, const std::function<void()>& run) {
        auto* made = new QPushButton(text, this);
        made->setObjectName(name);
        made->setAutoDefault(false);
        connect(made, &QPushButton::clicked, this, run);
        buttons->addWidget(made);
    };
    button(u"全选"_s, u"FilterAll"_s, [this] { TickAll(true); });
    button(u"全不选"_s, u"FilterNone"_s, [this] { TickAll(false); });
    buttons->addStretch(1);
    button(u"清除"_s, u"FilterClear"_s, [this] {
        close();
        grid_->SetFilter({field_, {}, {}, {}});
    });
    button(u"确定"_s, u"FilterOk"_s, [this] { Apply(); });
    layout.addLayout(buttons);
}

// The column's filter as it is.
void TFilterPopup::ShowPresent()
{
    for (const TDBGridEh::Filter& filter : grid_->Filters()) {
        if (filter.field.compare(field_, Qt::CaseInsensitive) != 0)
            continue;
        reading_->shown = filter.shown;
        if (from_) {
            from_->setText(filter.from);
            to_->setText(filter.to);
        }
    }
}

void TFilterPopup::Connect()
{
    connect(&soon_, &QTimer::timeout, this, &TFilterPopup::ReadOn);
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) {
        wanted_ = text.trimmed();
        Fill();
    });
    for (QLineEdit* edit : {search_, from_, to_}) {
        if (edit)
            connect(edit, &QLineEdit::returnPressed, this, [this] { Apply(); });
    }
    connect(list_, &QListWidget::itemChanged, this, [this](const QListWidgetItem* item) {
        items_[item->data(Qt::UserRole).value<size_t>()].ticked = item->checkState() == Qt::Checked;
    });
}

// Goes on for a while; true once all values are read.
bool TFilterPopup::Read()
{
    Reading& reading = *reading_;
    QElapsedTimer clock;
    clock.start();
    const auto mayGoOn = [&](size_t done) { return done % kValuesAtOnce != 0 || clock.elapsed() < kSlice; };
    while (reading.shownRead < reading.shown.size()) {
        reading.numbers.NumberOf(reading.shown[reading.shownRead++]);
        reading.chosen = reading.numbers.Count();
        if (!mayGoOn(size_t(reading.shownRead)))
            return false;
    }
    while (reading.countsRead < reading.counts.size()) {
        Add(reading.counts[reading.countsRead++]);
        if (!mayGoOn(reading.countsRead))
            return false;
    }
    return true;
}

void TFilterPopup::ReadOn()
{
    if (!Read()) {
        more_->setText(u"正在读取…"_s);
        soon_.start(0);
        return;
    }
    soon_.stop();
    reading_.reset();
    Sort();
    Fill();
    if (applying_)
        Apply();
}

// Values that are shown alike are one; without a choice all are ticked.
void TFilterPopup::Add(const TClientDataSetEx::ValueCount& count)
{
    const QString text = reading_->texts.Of(count.value);
    const quint32 number = reading_->numbers.NumberOf(text);
    std::vector<qsizetype>& itemOf = reading_->itemOf;
    if (number >= itemOf.size())
        itemOf.resize(std::max<size_t>(reading_->numbers.Count(), itemOf.size() * 2), -1);
    qsizetype& item = itemOf[number];
    const bool known = item >= 0;
    if (!known)
        item = qsizetype(items_.size());
    if (!std::holds_alternative<QString>(count.value))
        values_.emplace_back(count.value, size_t(item));
    if (known)
        items_[size_t(item)].rows += count.rows;
    else
        items_.push_back(
            {text, count.value, count.rows, reading_->shown.isEmpty() || number < reading_->chosen});
}

// A list too long to be read is in the order of its rows, for searching.
void TFilterPopup::Sort()
{
    if (items_.size() > kMostItems)
        return;
    values_.clear();
    std::ranges::sort(items_, [](const Item& a, const Item& b) {
        if (a.value.index() != b.value.index() || a.value.index() == 0)
            return a.value.index() < b.value.index();
        return std::holds_alternative<QString>(a.value) ? CompareChinese(a.text, b.text) < 0
                                                        : a.value < b.value;
    });
}

bool TFilterPopup::IsFound(const Item& item) const
{
    return (item.text.isEmpty() ? kBlank : item.text).contains(wanted_, Qt::CaseInsensitive);
}

void TFilterPopup::Fill()
{
    if (reading_)
        return; // once they are read
    const QSignalBlocker quiet(list_);
    list_->clear();
    size_t found = 0;
    for (size_t i = 0; i < items_.size(); ++i) {
        const Item& item = items_[i];
        if (!IsFound(item) || ++found > kMostItems)
            continue;
        const QString shown = item.text.isEmpty() ? kBlank : item.text;
        auto* line = new QListWidgetItem(u"%1  (%2)"_s.arg(shown).arg(item.rows), list_);
        line->setData(Qt::UserRole, QVariant::fromValue(i));
        line->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        line->setCheckState(item.ticked ? Qt::Checked : Qt::Unchecked);
    }
    const size_t hidden = found > kMostItems ? found - kMostItems : 0;
    more_->setText(hidden > 0 ? u"还有%1个值，请用查找缩小"_s.arg(hidden) : u"%1个值"_s.arg(found));
}

// Of those that the search leaves.
void TFilterPopup::TickAll(bool on)
{
    while (reading_)
        ReadOn();
    for (Item& item : items_) {
        if (IsFound(item))
            item.ticked = on;
    }
    Fill();
}

// With a search typed, what it leaves of the ticked ones; nothing left unticked is no filter.
void TFilterPopup::Apply()
{
    applying_ = reading_ != nullptr;
    if (applying_)
        return;
    TDBGridEh::Filter filter{field_, {}, {}, {}};
    filter.shown.reserve(qsizetype(items_.size()));
    bool all = true;
    for (const Item& item : items_) {
        const bool taken = item.ticked && IsFound(item);
        all = all && taken;
        if (taken)
            filter.shown += item.text;
    }
    if (filter.shown.isEmpty() && !all) {
        more_->setText(u"请至少选择一个值"_s);
        return;
    }
    if (all)
        filter.shown.clear();
    if (!BoundsReadable())
        return;
    if (from_) {
        filter.from = from_->text().trimmed();
        filter.to = to_->text().trimmed();
    }
    TDBGridEh::Private::FilterCondition condition(*grid_->d_, filter);
    if (values_.empty())
        condition.ReadTexts();
    condition.Expect(values_.size());
    for (const auto& [value, item] : values_)
        condition.Know(value, items_[item].ticked && IsFound(items_[item]));
    close();
    // In a go of its own: finding out what passes takes as long as what has been done for it.
    QMetaObject::invokeMethod(
        grid_, [grid = grid_, filter, condition] { grid->d_->ApplyFilter(filter, condition); },
        Qt::QueuedConnection);
}

bool TFilterPopup::BoundsReadable()
{
    for (QLineEdit* bound : {from_, to_}) {
        const QString text = bound ? bound->text().trimmed() : QString();
        if (text.isEmpty() || !wire::IsNull(TDBGridEh::Private::FilterCondition::Bound(text, dates_)))
            continue;
        more_->setText((dates_ ? u"“%1”不是日期"_s : u"“%1”不是数字"_s).arg(text));
        bound->setFocus();
        bound->selectAll();
        return false;
    }
    return true;
}

// From what is typed down into the values; Enter takes them there, too.
void TFilterPopup::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Down && !list_->hasFocus()) {
        list_->setFocus();
        list_->setCurrentRow(std::max(0, list_->currentRow()));
    } else if (list_->hasFocus() && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
        Apply();
    } else {
        QFrame::keyPressEvent(event);
    }
}

void TFilterPopup::ShowBelow(const QRect& title)
{
    const QRect room = grid_->screen()->availableGeometry();
    const QSize size = QSize(Scaled(*grid_, 280), Scaled(*grid_, 340)).boundedTo(room.size());
    QPoint place = title.bottomLeft() + QPoint(0, 1);
    place.setX(std::clamp(place.x(), room.left(), room.right() + 1 - size.width()));
    place.setY(std::clamp(place.y(), room.top(), room.bottom() + 1 - size.height()));
    setGeometry(QRect(place, size));
    show();
    search_->setFocus();
}

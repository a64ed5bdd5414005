#include "runtime/grid/FilterPopup.h"

#include "runtime/data/Collation.h"
#include "runtime/data/TextNumbers.h"
#include "runtime/grid/DBGridPrivate.h"
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
const QString kBlank = u"（空白）"_s;

qint64 DayOf(const wire::DateTime& moment)
{
    constexpr qint64 kDay = 86'400;
    return (moment.seconds - (moment.seconds < 0 ? kDay - 1 : 0)) / kDay;
}

} // namespace

TFilterPopup::TFilterPopup(TDBGridEh* grid, int column)
    : QFrame(grid, Qt::Popup)
    , grid_(grid)
    , column_(column)
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
    if (plain && type != wire::ColumnType::Text) {
        from_ = new QLineEdit(this);
        to_ = new QLineEdit(this);
        from_->setObjectName(u"FilterFrom"_s);
        to_->setObjectName(u"FilterTo"_s);
        auto* bounds = new QHBoxLayout;
        bounds->addWidget(new QLabel(u"从"_s, this));
        bounds->addWidget(from_);
        bounds->addWidget(new QLabel(u"到"_s, this));
        bounds->addWidget(to_);
        layout->addLayout(bounds);
    }
    layout->addWidget(list_, 1);
    layout->addWidget(more_);
    auto* buttons = new QHBoxLayout;
    const auto button = [&](const QString& text, const QString& name, const std::function<void()>& run) {
        auto* made = new QPushButton(text, this);
        made->setObjectName(name);
        made->setAutoDefault(false);
        connect(made, &QPushButton::clicked, this, run);
        buttons->addWidget(made);
        return made;
    };
    button(u"全选"_s, u"FilterAll"_s, [this] { TickAll(true); });
    button(u"全不选"_s, u"FilterNone"_s, [this] { TickAll(false); });
    buttons->addStretch(1);
    button(u"清除"_s, u"FilterClear"_s, [this] {
        grid_->SetFilter({grid_->Column(column_).fieldName, {}, {}, {}});
        close();
    });
    button(u"确定"_s, u"FilterOk"_s, [this] { Apply(); });
    layout->addLayout(buttons);

    Read();
    for (const TDBGridEh::Filter& filter : grid->Filters()) {
        if (filter.field.compare(entry.info.fieldName, Qt::CaseInsensitive) != 0)
            continue;
        if (!filter.shown.isEmpty()) {
            TextNumbers shown(filter.shown);
            const quint32 count = shown.Count();
            for (Item& item : items_)
                item.ticked = shown.NumberOf(item.text) < count;
        }
        if (from_) {
            from_->setText(filter.from);
            to_->setText(filter.to);
        }
    }
    Fill();
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

// Values that are shown alike are one; all are ticked at first.
void TFilterPopup::Read()
{
    const TGridColumn& entry = grid_->d_->columns[size_t(column_)];
    const std::vector<TClientDataSetEx::ValueCount> counts = grid_->DataSet()->CountValues(entry.field);
    items_.reserve(counts.size());
    TextNumbers numbers; // of the items
    QHash<qint64, QString> days; // of many moments each
    for (const TClientDataSetEx::ValueCount& count : counts) {
        QString text;
        if (const auto* moment = std::get_if<wire::DateTime>(&count.value)) {
            QString& day = days[DayOf(*moment)];
            if (day.isEmpty())
                day = grid_->d_->FilterText(entry, count.value);
            text = day;
        } else {
            text = grid_->d_->FilterText(entry, count.value);
        }
        const size_t item = numbers.NumberOf(text);
        if (item == items_.size())
            items_.push_back({text, count.value, count.rows});
        else
            items_[item].rows += count.rows;
    }
    // A list too long to be read is in the order of its rows, for searching.
    if (items_.size() > kMostItems)
        return;
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
    for (Item& item : items_) {
        if (IsFound(item))
            item.ticked = on;
    }
    Fill();
}

// With a search typed, what it leaves of the ticked ones; nothing left unticked is no filter.
void TFilterPopup::Apply()
{
    TDBGridEh::Filter filter{grid_->Column(column_).fieldName, {}, {}, {}};
    bool all = true;
    for (const Item& item : items_) {
        const bool taken = item.ticked && IsFound(item);
        all = all && taken;
        if (taken)
            filter.shown += item.text;
    }
    const bool none = filter.shown.isEmpty();
    if (all)
        filter.shown.clear();
    if (from_) {
        filter.from = from_->text().trimmed();
        filter.to = to_->text().trimmed();
    }
    if (none && !all) {
        more_->setText(u"请至少选择一个值"_s);
        return;
    }
    for (QLineEdit* bound : {from_, to_}) {
        const QString text = bound ? bound->text().trimmed() : QString();
        if (text.isEmpty() || !wire::IsNull(TDBGridEh::Private::Bound(text, dates_)))
            continue;
        more_->setText((dates_ ? u"“%1”不是日期"_s : u"“%1”不是数字"_s).arg(text));
        bound->setFocus();
        bound->selectAll();
        return;
    }
    close();
    grid_->SetFilter(filter);
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

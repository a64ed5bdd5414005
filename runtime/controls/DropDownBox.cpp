#include "runtime/controls/DropDownBox.h"

#include "runtime/controls/TextMark.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyledItemDelegate>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsShown = 12;

class TRowDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return {size.width(), ListRowHeight(*option.widget)};
    }
};

} // namespace

void AddListButton(QLineEdit& box, const std::function<void()>& toggle)
{
    QAction* button = box.addAction(DropDownIcon(), QLineEdit::TrailingPosition);
    button->setToolTip(u"打开列表 (Alt+↓)"_s);
    QObject::connect(button, &QAction::triggered, &box, [&box, toggle] {
        box.setFocus(Qt::MouseFocusReason);
        toggle();
    });
}

TTypedText::TTypedText(QWidget* box, TBox access)
    : QObject(box)
    , access_(std::move(access))
{
    box->installEventFilter(this);
}

bool TTypedText::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::FocusIn) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
            before_ = access_.text();
    } else if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
            QMetaObject::invokeMethod(
                this, [this] { before_ = access_.text(); }, Qt::QueuedConnection);
        if (key->key() == Qt::Key_Escape && !access_.listVisible() && access_.text() != before_) {
            access_.setText(before_);
            return true;
        }
    }
    return false;
}

TFixedList::TFixedList(QComboBox* box)
    : QObject(box)
    , box_(box)
{
    box->setMaxVisibleItems(kRowsShown);
    box->setItemDelegate(new TRowDelegate(box));
    box->installEventFilter(this);
    connect(box, &QComboBox::currentTextChanged, this, &TFixedList::Mark);
    connect(box->model(), &QAbstractItemModel::rowsInserted, this, &TFixedList::Fit);
    connect(box->model(), &QAbstractItemModel::modelReset, this, &TFixedList::Fit);
    connect(&TListStyles::Instance(), &TListStyles::Changed, this, &TFixedList::Fit);
    Fit();
}

void TFixedList::Fit()
{
    QAbstractItemView* list = box_->view();
    list->setFont(ListFont());
    list->setMinimumWidth(
        list->sizeHintForColumn(0) + list->verticalScrollBar()->sizeHint().width() + Scaled(*box_, 8));
    Mark();
}

// While it is typed a text is unknown once no item can be meant any more.
void TFixedList::Mark()
{
    QLineEdit* edit = box_->lineEdit();
    if (!edit)
        return;
    if (!mark_)
        mark_ = new TTextMark(edit);
    const QString text = box_->currentText();
    const Qt::MatchFlags match =
        box_->hasFocus() ? Qt::MatchContains : Qt::MatchExactly | Qt::MatchCaseSensitive;
    const bool known = text.isEmpty() || box_->count() == 0 || box_->findText(text, match) >= 0;
    mark_->Set(known ? QString() : u"列表中没有"_s);
}

bool TFixedList::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        QMetaObject::invokeMethod(this, &TFixedList::Mark, Qt::QueuedConnection);
    return false;
}

#include "runtime/controls/TextMark.h"

#include "runtime/ui/Style.h"

#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVariant>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kHintMilliseconds = 8000; // how long the hint below a box stays
// Pixels at 96 dpi.
constexpr int kTextInset = 6; // of the text in its box
constexpr int kGap = 10; // between the text and the word at least

// Where the box's own buttons at its right end begin.
int ButtonsLeft(const QLineEdit& box)
{
    int left = box.width() - 2;
    for (const QToolButton* button : box.findChildren<QToolButton*>(Qt::FindDirectChildrenOnly)) {
        if (button->x() > box.width() / 2)
            left = std::min(left, button->x());
    }
    return left;
}

int TextEnd(const QLineEdit& box)
{
    const int frame = (box.width() - box.contentsRect().width()) / 2;
    return frame + Scaled(box, kTextInset) + box.fontMetrics().horizontalAdvance(box.text());
}

} // namespace

TTextMark::TTextMark(QLineEdit* box)
    : QObject(box)
    , box_(box)
    , word_(new QLabel(box))
{
    word_->setObjectName(u"TextMark"_s);
    word_->setTextFormat(Qt::PlainText);
    word_->setAttribute(Qt::WA_TransparentForMouseEvents);
    word_->hide();
    box->installEventFilter(this);
    connect(box, &QLineEdit::textChanged, this, [this] {
        if (!reason_.isEmpty())
            Place();
    });
}

void TTextMark::Set(const QString& reason)
{
    if (reason == reason_)
        return;
    reason_ = reason;
    box_->setProperty("unknown", !reason.isEmpty());
    box_->style()->unpolish(box_);
    box_->style()->polish(box_);
    box_->setToolTip(reason);
    Place();
}

void TTextMark::Place()
{
    word_->setFont(box_->font());
    word_->setText(reason_);
    const int width = word_->sizeHint().width();
    const int left = ButtonsLeft(*box_) - width - Scaled(*box_, 2);
    // The text itself goes first. No margin is set for the word: the box would ask for more room, and what
    // stands beside it would move away from the mouse.
    const bool inside = !reason_.isEmpty() && TextEnd(*box_) + Scaled(*box_, kGap) <= left;
    word_->setVisible(inside);
    if (inside)
        word_->setGeometry(left, 0, width, box_->height());
    if (!inside && !reason_.isEmpty())
        ShowHint();
    else if (hint_)
        hint_->hide();
}

void TTextMark::ShowHint()
{
    if (!box_->parentWidget() || !box_->isVisible())
        return;
    if (!hint_) {
        hint_ = new QLabel(box_->parentWidget());
        hint_->setObjectName(u"TextMarkHint"_s);
        hint_->setTextFormat(Qt::PlainText);
        hint_->setAttribute(Qt::WA_TransparentForMouseEvents);
        connect(box_, &QObject::destroyed, hint_, &QObject::deleteLater);
    }
    hint_->setFont(box_->font());
    hint_->setText(reason_);
    hint_->adjustSize();
    // Below the box or above it, in the nearest widget around that has the room.
    QWidget* ground = box_->parentWidget();
    QPoint place;
    for (;; ground = ground->parentWidget()) {
        place = box_->mapTo(ground, QPoint(0, box_->height()));
        if (place.y() + hint_->height() <= ground->height())
            break;
        const int above = place.y() - box_->height() - hint_->height() - 1;
        if (above >= 0)
            place.setY(above);
        if (above >= 0 || ground->isWindow())
            break;
    }
    if (hint_->parentWidget() != ground)
        hint_->setParent(ground);
    place.setX(std::clamp(place.x(), 0, std::max(0, ground->width() - hint_->width())));
    hint_->move(place);
    hint_->raise();
    hint_->show();
    QTimer::singleShot(kHintMilliseconds, hint_, &QWidget::hide);
}

bool TTextMark::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == box_ && !reason_.isEmpty()) {
        switch (event->type()) {
        case QEvent::Resize:
        case QEvent::Show:
        case QEvent::FocusIn:
            Place();
            break;
        case QEvent::Move:
        case QEvent::Hide:
            if (hint_)
                hint_->hide();
            break;
        default:
            break;
        }
    }
    return false;
}

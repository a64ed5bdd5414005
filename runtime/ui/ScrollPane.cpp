#include "runtime/ui/ScrollPane.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QScrollBar>

namespace {

constexpr int kLeastLines = 6; // of text that stay visible however small the pane gets
constexpr int kMargin = 4; // pixels around what is scrolled to

// How far to move so that [from, from + length) lies in [0, room); its beginning where it is too long.
int ShiftIntoView(int from, int length, int room)
{
    if (from < kMargin || length + 2 * kMargin > room)
        return from - kMargin;
    return qMax(0, from + length + kMargin - room);
}

} // namespace

TScrollPane::TScrollPane(QWidget* content, QWidget* parent)
    : TScrollPane(QSize(), parent)
{
    Take(content);
}

TScrollPane::TScrollPane(QSize preferred, QWidget* parent)
    : QAbstractScrollArea(parent)
    , preferred_(preferred)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setBackgroundRole(QPalette::Window);
    // A bar moves by lines, as text does.
    for (QScrollBar* bar : {horizontalScrollBar(), verticalScrollBar()})
        bar->setSingleStep(fontMetrics().lineSpacing());
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) {
        // What a mouse button went down on is in view already and must not move under it.
        if (focused && content_ && content_->isAncestorOf(focused)
            && QGuiApplication::mouseButtons() == Qt::NoButton)
            Reveal(*focused);
    });
}

void TScrollPane::Take(QWidget* content)
{
    content_ = content;
    preferred_ = content->testAttribute(Qt::WA_Resized) ? content->size() : QSize();
    content->setParent(viewport());
    content->setVisible(true);
}

QSize TScrollPane::sizeHint() const
{
    return preferred_.isValid() || !content_ ? preferred_ : content_->sizeHint();
}

QSize TScrollPane::minimumSizeHint() const
{
    const int least = fontMetrics().lineSpacing() * kLeastLines;
    return {least, least};
}

bool TScrollPane::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest)
        Fit();
    return QAbstractScrollArea::viewportEvent(event);
}

void TScrollPane::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    Fit();
}

void TScrollPane::scrollContentsBy(int dx, int dy)
{
    if (content_)
        content_->move(content_->pos() + QPoint(dx, dy));
}

void TScrollPane::closeEvent(QCloseEvent* event)
{
    event->setAccepted(!content_ || content_->close());
}

QSize TScrollPane::NeededAt(int width) const
{
    QSize needed = content_->minimumSizeHint().expandedTo(content_->minimumSize());
    const QLayout* layout = content_->layout();
    if (layout && layout->hasHeightForWidth())
        needed.setHeight(layout->totalMinimumHeightForWidth(qMax(width, needed.width())));
    else if (!layout && content_->hasHeightForWidth())
        needed.setHeight(content_->heightForWidth(qMax(width, needed.width())));
    return needed;
}

void TScrollPane::Fit()
{
    if (!content_)
        return;
    QSize room = maximumViewportSize();
    QSize needed = NeededAt(room.width());
    // A bar takes room of its own, which may call for the other one.
    const bool tall = needed.height() > room.height();
    if (tall) {
        room.rwidth() -= verticalScrollBar()->sizeHint().width();
        needed = NeededAt(room.width());
    }
    if (needed.width() > room.width()) {
        room.rheight() -= horizontalScrollBar()->sizeHint().height();
        if (!tall && needed.height() > room.height())
            room.rwidth() -= verticalScrollBar()->sizeHint().width();
    }
    const QSize size = room.expandedTo(needed);
    horizontalScrollBar()->setPageStep(room.width());
    verticalScrollBar()->setPageStep(room.height());
    horizontalScrollBar()->setRange(0, size.width() - room.width());
    verticalScrollBar()->setRange(0, size.height() - room.height());
    content_->setGeometry(
        QRect(QPoint(-horizontalScrollBar()->value(), -verticalScrollBar()->value()), size));
}

void TScrollPane::Reveal(const QWidget& widget)
{
    const QPoint place = widget.mapTo(viewport(), QPoint(0, 0));
    const QRect shown(place, widget.size());
    if (viewport()->rect().contains(shown))
        return;
    QScrollBar& across = *horizontalScrollBar();
    QScrollBar& down = *verticalScrollBar();
    across.setValue(across.value() + ShiftIntoView(shown.left(), shown.width(), viewport()->width()));
    down.setValue(down.value() + ShiftIntoView(shown.top(), shown.height(), viewport()->height()));
}

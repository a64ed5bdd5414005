#include "framework/print/PagePreview.h"

#include "runtime/ui/Style.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kGap = 10; // around pages
constexpr int kStepMilliseconds = 20;
constexpr double kMostPixels = 12e6; // of a page's picture; a larger page is blurred a little
constexpr int kPageWidth = 1; // zooms; 0 is the whole page
constexpr int kFirstFactor = 2;
constexpr int kPercents[] = {50, 75, 100, 150, 200};
constexpr QColor kDesk(0x8A, 0x93, 0x9C);
constexpr QColor kEdge(0x5C, 0x66, 0x70);

} // namespace

TPagePreview::TPagePreview(QWidget* parent)
    : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(u"打印预览"_s);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // its coming would change the zoom
    connect(&timer_, &QTimer::timeout, this, &TPagePreview::PaintOn);
    verticalScrollBar()->setSingleStep(Scaled(*this, 40));
    horizontalScrollBar()->setSingleStep(Scaled(*this, 40));
}

void TPagePreview::SetPages(TListPages* pages, const QString& text)
{
    pages_ = pages;
    text_ = text;
    frozen_ = false;
    current_ = 0;
    DropSheets();
    Relayout();
    ShowPage(0);
}

void TPagePreview::Freeze()
{
    frozen_ = true;
    timer_.stop();
    viewport()->update();
}

QStringList TPagePreview::Zooms()
{
    QStringList zooms{u"整页"_s, u"页宽"_s};
    for (const int percent : kPercents)
        zooms += u"%1%"_s.arg(percent);
    return zooms;
}

void TPagePreview::SetZoom(int zoom)
{
    const int page = Page();
    zoom_ = zoom;
    Relayout();
    ShowPage(page);
}

double TPagePreview::Factor() const
{
    if (zoom_ >= kFirstFactor)
        return kPercents[zoom_ - kFirstFactor] / 100.0;
    const QSizeF sheet = QSizeF(pages_->SheetSize()) * logicalDpiX() / kPageUnits;
    const double across = (viewport()->width() - 2.0 * Gap()) / sheet.width();
    const double down = (viewport()->height() - 2.0 * Gap()) / sheet.height();
    return std::max(0.05, zoom_ == kPageWidth ? across : std::min(across, down));
}

QSize TPagePreview::SheetSize() const
{
    return (QSizeF(pages_->SheetSize()) * Factor() * logicalDpiX() / kPageUnits).toSize();
}

int TPagePreview::Gap() const
{
    return Scaled(*this, kGap);
}

QRect TPagePreview::SheetRect(int page) const
{
    const QSize size = SheetSize();
    const int spare = viewport()->width() - size.width();
    const int left = spare > 0 ? spare / 2 : Gap() - horizontalScrollBar()->value();
    return {QPoint(left, Gap() + page * (size.height() + Gap()) - verticalScrollBar()->value()), size};
}

int TPagePreview::PageAt(int y) const
{
    const int height = SheetSize().height() + Gap();
    return std::clamp((y + verticalScrollBar()->value()) / height, 0, pages_->Count() - 1);
}

bool TPagePreview::IsPainted(int page) const
{
    const auto found = sheets_.find(page);
    return found != sheets_.end() && !found->second.painter;
}

QImage TPagePreview::Picture(int page) const
{
    const auto found = sheets_.find(page);
    return found == sheets_.end() ? QImage() : found->second.image;
}

void TPagePreview::ShowPage(int page)
{
    if (!pages_ || pages_->Count() == 0)
        return;
    page = std::clamp(page, 0, pages_->Count() - 1);
    verticalScrollBar()->setValue(page * (SheetSize().height() + Gap()));
    SetCurrent(page); // the last ones do not reach the upper edge
}

void TPagePreview::Relayout()
{
    if (!pages_ || pages_->Count() == 0) {
        verticalScrollBar()->setRange(0, 0);
        horizontalScrollBar()->setRange(0, 0);
        viewport()->update();
        return;
    }
    const QSize sheet = SheetSize();
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(
        0, std::max(0, pages_->Count() * (sheet.height() + Gap()) + Gap() - viewport()->height()));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, std::max(0, sheet.width() + 2 * Gap() - viewport()->width()));
    // Those of another size; what cannot be painted any more is shown as it was.
    if (!frozen_ && !sheets_.empty()) {
        const double ratio = devicePixelRatioF();
        const QSize wanted = sheet * ratio;
        const QSize had = sheets_.begin()->second.image.size();
        if (wanted != had)
            DropSheets();
    }
    viewport()->update();
    scrollContentsBy(0, 0);
}

void TPagePreview::DropSheets()
{
    sheets_.clear();
    timer_.stop();
}

void TPagePreview::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), kDesk);
    if (!pages_ || pages_->Count() == 0) {
        painter.setPen(Qt::white);
        painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap, text_);
        return;
    }
    const int first = PageAt(0);
    const int last = PageAt(viewport()->height());
    for (int page = first; page <= last; ++page) {
        const QRect rect = SheetRect(page);
        painter.fillRect(rect, Qt::white);
        const auto found = sheets_.find(page);
        if (found != sheets_.end()) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(rect, found->second.image);
        }
        if (!frozen_ && (found == sheets_.end() || found->second.painter) && !timer_.isActive())
            timer_.start(0);
        painter.setPen(kEdge);
        painter.drawRect(rect.adjusted(-1, -1, 0, 0));
    }
}

// The pages in sight, from above; those out of sight leave memory.
void TPagePreview::PaintOn()
{
    const QDeadlineTimer until(kStepMilliseconds);
    const int first = PageAt(0);
    const int last = PageAt(viewport()->height());
    std::erase_if(
        sheets_, [&](const auto& sheet) { return sheet.first < first - 1 || sheet.first > last + 1; });
    for (int page = first; page <= last; ++page) {
        auto [place, isNew] = sheets_.try_emplace(page);
        TSheet& sheet = place->second;
        if (isNew) {
            const QSizeF size = QSizeF(SheetSize()) * devicePixelRatioF();
            const double pixels = size.width() * size.height();
            const QSizeF drawn = size * (pixels > kMostPixels ? std::sqrt(kMostPixels / pixels) : 1.0);
            sheet.image = QImage(drawn.toSize(), QImage::Format_RGB32);
            sheet.image.fill(Qt::white);
            sheet.painter = std::make_unique<TPagePainter>(*pages_, page);
        }
        if (!sheet.painter)
            continue;
        PaintSheet(sheet, until);
        viewport()->update(SheetRect(page));
        return; // the next one after the window's own events
    }
    timer_.stop();
}

void TPagePreview::PaintSheet(TSheet& sheet, const QDeadlineTimer& until) const
{
    QPainter painter(&sheet.image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    const QSizeF whole = pages_->SheetSize();
    painter.scale(sheet.image.width() / whole.width(), sheet.image.height() / whole.height());
    painter.translate(pages_->Corner());
    if (sheet.painter->Paint(painter, until))
        sheet.painter.reset();
}

void TPagePreview::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    Relayout();
}

void TPagePreview::wheelEvent(QWheelEvent* event)
{
    if (!(event->modifiers() & Qt::ControlModifier)) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    if (event->angleDelta().y() != 0)
        Q_EMIT ZoomWanted(event->angleDelta().y() > 0 ? 1 : -1);
    event->accept();
}

void TPagePreview::keyPressEvent(QKeyEvent* event)
{
    QScrollBar& bar = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right ? *horizontalScrollBar()
                                                                                    : *verticalScrollBar();
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Left:
        bar.triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case Qt::Key_Down:
    case Qt::Key_Right:
        bar.triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_Space:
        bar.triggerAction(event->modifiers() & Qt::ShiftModifier ? QAbstractSlider::SliderPageStepSub
                                                                 : QAbstractSlider::SliderPageStepAdd);
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void TPagePreview::scrollContentsBy(int, int)
{
    viewport()->update();
    if (pages_ && pages_->Count() > 0)
        SetCurrent(PageAt(std::min(viewport()->height(), SheetSize().height()) / 2));
}

void TPagePreview::SetCurrent(int page)
{
    if (page != std::exchange(current_, page))
        Q_EMIT PageChanged(page);
}

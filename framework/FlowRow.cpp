#include "framework/FlowRow.h"

#include <QLabel>

#include <algorithm>

namespace {

constexpr int kGap = 6; // pixels, between controls and between lines

// What takes room in a line: not what is hidden, nor a gap.
bool IsShown(QLayoutItem& item)
{
    return !item.isEmpty() && !item.spacerItem();
}

// A label leads to the control behind it.
bool LeadsOn(QLayoutItem& item)
{
    const auto* label = qobject_cast<const QLabel*>(item.widget());
    return label && label->buddy();
}

int HeightOf(QLayoutItem& item, int width)
{
    return item.hasHeightForWidth() ? item.heightForWidth(width) : item.sizeHint().height();
}

} // namespace

TFlowRow::TFlowRow(QWidget* panel)
    : QHBoxLayout(panel)
{
    setContentsMargins(0, 0, 0, 0);
    setSpacing(kGap);
}

bool TFlowRow::FitsInOneLine(int width) const
{
    return width >= QHBoxLayout::sizeHint().width();
}

int TFlowRow::heightForWidth(int width) const
{
    if (!FitsInOneLine(width)) {
        const QMargins around = contentsMargins();
        const QRect room(0, 0, width - around.left() - around.right(), 0);
        return FillLines(room, false) + around.top() + around.bottom();
    }
    return QHBoxLayout::hasHeightForWidth() ? QHBoxLayout::heightForWidth(width)
                                            : QHBoxLayout::sizeHint().height();
}

QSize TFlowRow::minimumSize() const
{
    int widest = 0;
    for (int first = 0; first < count(); first = EndOfGroup(first)) {
        int width = 0;
        for (int i = first; i < EndOfGroup(first); ++i) {
            if (IsShown(*itemAt(i)))
                width += itemAt(i)->minimumSize().width() + (width > 0 ? spacing() : 0);
        }
        widest = std::max(widest, width);
    }
    const QMargins around = contentsMargins();
    return {widest + around.left() + around.right(), QHBoxLayout::minimumSize().height()};
}

void TFlowRow::setGeometry(const QRect& room)
{
    if (FitsInOneLine(room.width())) {
        QHBoxLayout::setGeometry(room);
        return;
    }
    // What the box would put into one line is put into several below.
    QLayout::setGeometry(room); // NOLINT(bugprone-parent-virtual-call)
    FillLines(room.marginsRemoved(contentsMargins()), true);
}

int TFlowRow::EndOfGroup(int first) const
{
    int end = first;
    while (end + 1 < count() && LeadsOn(*itemAt(end)))
        ++end;
    return end + 1;
}

int TFlowRow::WidthOfGroup(int first, int end, int room) const
{
    int width = 0;
    for (int i = first; i < end; ++i) {
        if (IsShown(*itemAt(i)))
            width += itemAt(i)->sizeHint().width() + (width > 0 ? spacing() : 0);
    }
    return std::min(width, room);
}

int TFlowRow::FillLines(const QRect& room, bool place) const
{
    QRect line(room.topLeft(), QSize(room.width(), 0));
    int used = 0;
    int firstOfLine = 0;
    for (int first = 0; first < count(); first = EndOfGroup(first)) {
        const int end = EndOfGroup(first);
        const int width = WidthOfGroup(first, end, room.width());
        if (used > 0 && width > 0 && used + spacing() + width > room.width()) {
            if (place)
                PlaceLine(firstOfLine, first, line);
            line.moveTop(line.bottom() + 1 + spacing());
            line.setHeight(0);
            used = 0;
            firstOfLine = first;
        }
        if (width > 0)
            used += width + (used > 0 ? spacing() : 0);
        for (int i = first; i < end; ++i) {
            if (IsShown(*itemAt(i)))
                line.setHeight(std::max(line.height(), HeightOf(*itemAt(i), width)));
        }
    }
    if (place)
        PlaceLine(firstOfLine, count(), line);
    return line.bottom() + 1 - room.top();
}

// What is left of the line goes to those that stretch.
void TFlowRow::PlaceLine(int first, int end, const QRect& line) const
{
    int rest = line.width();
    int stretches = 0;
    for (int i = first; i < end; ++i) {
        if (!IsShown(*itemAt(i)))
            continue;
        rest -= itemAt(i)->sizeHint().width() + (i > first ? spacing() : 0);
        stretches += stretch(i);
    }
    int left = line.left();
    for (int i = first; i < end; ++i) {
        QLayoutItem& item = *itemAt(i);
        if (!IsShown(item))
            continue;
        const int more = stretches > 0 && rest > 0 ? rest * stretch(i) / stretches : 0;
        const int width = std::min(item.sizeHint().width() + more, line.right() + 1 - left);
        item.setGeometry(QRect(left, line.top(), width, line.height()));
        left += width + spacing();
    }
}

#include "runtime/ui/ClientStyle.h"

#include "runtime/ui/Style.h"

#include <QPainter>
#include <QStyleOption>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// As the style sheet has the line edits, whose buttons lie so from the right edge.
const QColor kFrame(0xaa, 0xb4, 0xc0);
const QColor kFocusedFrame(0x2f, 0x6f, 0xb3);
const QColor kDisabledGround(0xee, 0xf1, 0xf4);
constexpr int kIconSide = 16;
constexpr int kIconRoom = 22;
constexpr int kFrameAndPadding = 2;

} // namespace

TClientStyle::TClientStyle()
    : QProxyStyle(u"Fusion"_s)
{
}

int TClientStyle::styleHint(
    StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const
{
    // A list below the box, not a menu over it.
    return hint == SH_ComboBox_Popup ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
}

QSize TClientStyle::sizeFromContents(
    ContentsType type, const QStyleOption* option, const QSize& size, const QWidget* widget) const
{
    QSize made = QProxyStyle::sizeFromContents(type, option, size, widget);
    // A line edit's height to the pixel: its text has a pixel above and one below.
    if (type == CT_ComboBox)
        made.setHeight(std::max(option->fontMetrics.height(), 14) + 2 + 2 * kFrameAndPadding);
    return made;
}

QRect TClientStyle::subControlRect(
    ComplexControl control, const QStyleOptionComplex* option, SubControl part, const QWidget* widget) const
{
    const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control != CC_ComboBox || !box || (part != SC_ComboBoxArrow && part != SC_ComboBoxEditField))
        return QProxyStyle::subControlRect(control, option, part, widget);
    const QRect all = box->rect;
    // The text begins where a line edit's does.
    const QRect own = part == SC_ComboBoxArrow
        ? QRect(all.right() + 1 - kIconRoom, all.top(), kIconRoom, all.height())
        : all.adjusted(box->editable ? 4 : 5, 1, -kIconRoom, -1);
    return visualRect(box->direction, all, own);
}

void TClientStyle::drawComplexControl(
    ComplexControl control, const QStyleOptionComplex* option, QPainter* painter, const QWidget* widget) const
{
    const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control != CC_ComboBox || !box) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    const bool enabled = box->state & State_Enabled;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(enabled && box->state & State_HasFocus ? kFocusedFrame : kFrame);
    painter->setBrush(enabled ? box->palette.color(QPalette::Base) : kDisabledGround);
    if (box->frame)
        painter->drawRoundedRect(QRectF(box->rect).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    else // in a cell
        painter->fillRect(box->rect, painter->brush());
    painter->restore();
    const QRect arrow = subControlRect(CC_ComboBox, option, SC_ComboBoxArrow, widget);
    const QRect icon(arrow.left(), arrow.center().y() - kIconSide / 2 + 1, kIconSide, kIconSide);
    static const QIcon dropDown = DropDownIcon();
    dropDown.paint(painter, icon, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);
}

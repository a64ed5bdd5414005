#include "runtime/ui/ListStyle.h"

#include "runtime/ui/Style.h"

#include <QFontMetrics>
#include <QWidget>

#include <algorithm>

namespace {

constexpr int kDarkestGround = 128; // that dark text is still read on
constexpr int kPalestCorner = 170; // that is still seen on white

// Opaque, since what shines through would be another colour over every row.
QColor Bounded(const QColor& color, const QColor& otherwise, int darkest, int palest)
{
    QColor bounded = color.isValid() ? QColor(color.rgb()) : otherwise;
    const auto nearer = [&bounded](int aim) {
        const auto part = [aim](int value) { return value + (aim - value) / 8; };
        bounded.setRgb(part(bounded.red()), part(bounded.green()), part(bounded.blue()));
    };
    while (qGray(bounded.rgb()) < darkest)
        nearer(255);
    while (qGray(bounded.rgb()) > palest)
        nearer(0);
    return bounded;
}

} // namespace

TListStyle TListStyle::Bounded() const
{
    const TListStyle standard;
    return {std::clamp(fontSize, kSmallestFont, kLargestFont), std::clamp(rowSpace, kLeastSpace, kMostSpace),
        stripes, ::Bounded(unsaved, standard.unsaved, 0, kPalestCorner),
        ::Bounded(refused, standard.refused, kDarkestGround, 255),
        ::Bounded(found, standard.found, kDarkestGround, 255),
        ::Bounded(hit, standard.hit, kDarkestGround, 255)};
}

TListStyles& TListStyles::Instance()
{
    static TListStyles styles;
    return styles;
}

void TListStyles::Set(const TListStyle& style)
{
    const TListStyle bounded = style.Bounded();
    if (bounded == style_)
        return;
    style_ = bounded;
    Q_EMIT Changed();
}

const TListStyle& ListStyle()
{
    return TListStyles::Instance().Style();
}

QFont ListFont()
{
    QFont font = ScreenFont();
    font.setPixelSize(std::max(8, qRound(double(font.pixelSize()) * ListStyle().fontSize / 12)));
    return font;
}

int ListRowHeight(const QWidget& widget)
{
    return QFontMetrics(ListFont()).height() + Scaled(widget, ListStyle().rowSpace);
}

int ShownWidth(const QWidget& widget, int described)
{
    return qRound(double(described) * ListStyle().fontSize / 12 * widget.logicalDpiX() / 96);
}

int DescribedWidth(const QWidget& widget, int shown)
{
    return qRound(double(shown) * 12 / ListStyle().fontSize * 96 / widget.logicalDpiX());
}

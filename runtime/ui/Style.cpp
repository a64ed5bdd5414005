#include "runtime/ui/Style.h"

#include "runtime/ui/ClientStyle.h"
#include "runtime/ui/ListStyle.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QScreen>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

// Widget details that the palette cannot say. Sizes are in ems or pixels that Qt scales with the screen.
constexpr QStringView kStyleSheet = uR"(
QToolTip { color: #1f2933; background: #fffbe6; border: 1px solid #c9b458; padding: 2px; }
QLineEdit, QPlainTextEdit { border: 1px solid #aab4c0; border-radius: 2px; padding: 1px 3px; background: #ffffff;
    selection-background-color: #2f6fb3; selection-color: #ffffff; }
QComboBox QLineEdit { border: none; padding: 0; background: transparent; }
QLineEdit:focus, QPlainTextEdit:focus { border: 1px solid #2f6fb3; }
QLineEdit:disabled, QPlainTextEdit:disabled, QLineEdit[readOnly="true"], QPlainTextEdit[readOnly="true"] { background: #eef1f4; color: #5c6773; }
QLineEdit[invalid="true"], QPlainTextEdit[invalid="true"], QComboBox[invalid="true"] {
    border: 1px solid #c0392b; background: #fdecea; }
QLineEdit[unknown="true"] { color: %1; }
QLabel#TextMark { color: %1; }
QLabel#TextMarkHint { color: %1; background: #fffbe6; border: 1px solid #c9b458; padding: 2px; }
QLineEdit[cellEditor="true"] { border-radius: 0; padding: 0 1px; }
QGroupBox { border: 1px solid #c3cad2; border-radius: 3px; margin-top: 0.6em; padding-top: 0.3em; }
QGroupBox::title { subcontrol-origin: margin; left: 8px; padding: 0 3px; }
)";

} // namespace

void InstallFontSubstitutes()
{
    // Most even strokes first: at 12 pixels a serif face blurs.
    const QStringList candidates = {u"SimSun"_s, u"NSimSun"_s, u"Microsoft YaHei"_s, u"Noto Sans CJK SC"_s,
        u"Source Han Sans SC"_s, u"WenQuanYi Micro Hei"_s, u"WenQuanYi Zen Hei"_s, u"Noto Serif CJK SC"_s,
        u"Droid Sans Fallback"_s};
    const QStringList families = QFontDatabase::families();
    QStringList present;
    for (const QString& family : candidates) {
        if (families.contains(family, Qt::CaseInsensitive))
            present += family;
    }
    for (const QString& asked : {u"宋体"_s, u"新宋体"_s, u"SimSun"_s}) {
        if (!families.contains(asked, Qt::CaseInsensitive))
            QFont::insertSubstitutions(asked, present);
    }
}

QFont ScreenFont()
{
    QFont font(u"宋体"_s);
    font.setPixelSize(12);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        font.setPixelSize(qMax(12, qRound(12 * screen->logicalDotsPerInchY() / 96)));
    font.setStyleHint(QFont::SansSerif);
    return font;
}

void ApplyStyle(QApplication& application)
{
    InstallFontSubstitutes();
    QApplication::setStyle(new TClientStyle);
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0xf3, 0xf5, 0xf7));
    palette.setColor(QPalette::WindowText, QColor(0x1f, 0x29, 0x33));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xf5, 0xf7, 0xfa));
    palette.setColor(QPalette::Text, QColor(0x1f, 0x29, 0x33));
    palette.setColor(QPalette::Button, QColor(0xe9, 0xed, 0xf1));
    palette.setColor(QPalette::ButtonText, QColor(0x1f, 0x29, 0x33));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xb3));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x1f, 0x5f, 0xa8));
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x94, 0x9e));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x8a, 0x94, 0x9e));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x8a, 0x94, 0x9e));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x8a, 0x94, 0x9e));
    QApplication::setPalette(palette);
    QApplication::setFont(ScreenFont());
    application.setStyleSheet(kStyleSheet.toString().arg(UnknownTextColor().name()));
}

QColor UnknownTextColor()
{
    return {0xb3, 0x26, 0x1e};
}

QColor ChangedCellColor()
{
    return ListStyle().unsaved;
}

QColor FoundCellColor()
{
    // Lighter than the letters' own, which lie over it.
    const QColor letters = FoundTextColor();
    const auto paler = [](int part) { return part + (255 - part) * 3 / 5; };
    return {paler(letters.red()), paler(letters.green()), paler(letters.blue())};
}

QColor FoundTextColor()
{
    return ListStyle().found;
}

QColor HitTextColor()
{
    return ListStyle().hit;
}

QColor HitLineColor()
{
    return {0x00, 0x69, 0x5c};
}

QIcon DropDownIcon()
{
    QIcon icon;
    for (const int size : {16, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        QPen pen(QColor(0x4a, 0x55, 0x60), size / 10.0);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        painter.setPen(pen);
        const double unit = size / 16.0;
        const QPointF arrow[] = {{4 * unit, 6 * unit}, {8 * unit, 10 * unit}, {12 * unit, 6 * unit}};
        painter.drawPolyline(arrow, 3);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void PlacePopup(QWidget& popup, const QWidget& control, QSize size)
{
    const QPoint below = control.mapToGlobal(QPoint(0, control.height()));
    const QScreen* screen = control.screen();
    const QRect room = screen ? screen->availableGeometry() : QRect(below, size);
    size = size.boundedTo(room.size());
    QPoint place = below;
    if (place.y() + size.height() > room.bottom() + 1) {
        const int above = control.mapToGlobal(QPoint(0, 0)).y() - size.height();
        place.setY(above >= room.top() ? above : room.bottom() + 1 - size.height());
    }
    place.setX(qBound(room.left(), place.x(), qMax(room.left(), room.right() + 1 - size.width())));
    popup.setGeometry(QRect(place, size));
}

int Scaled(const QWidget& widget, int pixels)
{
    return qRound(pixels * widget.logicalDpiX() / 96.0);
}

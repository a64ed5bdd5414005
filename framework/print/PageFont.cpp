#include "framework/print/PageFont.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainter>

#include <algorithm>

namespace {

constexpr QChar kEllipsis(u'…');

} // namespace

TPageFont::TPageFont(const QFont& font, int pixelSize, bool bold)
    : font_(font)
{
    font_.setPixelSize(pixelSize);
    font_.setBold(bold);
    font_.setHintingPreference(QFont::PreferNoHinting); // the same widths at every size
    raw_ = QRawFont::fromFont(font_, QFontDatabase::SimplifiedChinese);
    const QFontMetricsF metrics(font_);
    height_ = qRound(metrics.height());
    ascent_ = qRound(metrics.ascent());
}

const TPageFont::TLetter& TPageFont::Letter(QChar character) const
{
    auto found = letters_.find(character);
    if (found == letters_.end()) {
        TLetter letter;
        const QList<quint32> glyphs =
            character.isSurrogate() ? QList<quint32>() : raw_.glyphIndexesForString(character);
        if (glyphs.size() == 1 && glyphs[0] != 0)
            letter = {glyphs[0], raw_.advancesForGlyphIndexes(glyphs).value(0).x()};
        found = letters_.insert(character, letter);
    }
    return *found;
}

bool TPageFont::HasAll(const QString& text) const
{
    return std::ranges::all_of(text, [this](QChar character) { return Letter(character).glyph != 0; });
}

double TPageFont::Width(const QString& text) const
{
    if (!HasAll(text))
        return QFontMetricsF(font_).horizontalAdvance(text);
    double width = 0;
    for (const QChar character : text)
        width += Letter(character).advance;
    return width;
}

QStringList TPageFont::Lines(const QString& text, double width, int most) const
{
    if (text.size() * double(font_.pixelSize()) <= width) // no letter is wider than high
        return {text};
    if (!HasAll(text))
        return {QFontMetricsF(font_).elidedText(text, Qt::ElideRight, width)};
    QStringList lines;
    const double ellipsis = Letter(kEllipsis).advance;
    qsizetype begin = 0;
    qsizetype cut = 0; // where the ellipsis would stand
    double used = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const double advance = Letter(text[i]).advance;
        if (used + advance > width && i > begin) {
            if (lines.size() + 1 == most) {
                lines += text.mid(begin, cut - begin) + kEllipsis;
                return lines;
            }
            lines += text.mid(begin, i - begin);
            begin = cut = i;
            used = 0;
        }
        used += advance;
        if (used + ellipsis <= width)
            cut = i + 1;
    }
    lines += text.mid(begin);
    return lines;
}

void TPageFont::Draw(QPainter& painter, double left, double baseline, const QString& text) const
{
    if (!HasAll(text)) {
        painter.setFont(font_);
        painter.drawText(QPointF(left, baseline), text);
        return;
    }
    QList<quint32> glyphs;
    QList<QPointF> places;
    glyphs.reserve(text.size());
    places.reserve(text.size());
    double at = 0;
    for (const QChar character : text) {
        const TLetter& letter = Letter(character);
        glyphs += letter.glyph;
        places += QPointF(at, 0);
        at += letter.advance;
    }
    QGlyphRun run;
    run.setRawFont(raw_);
    run.setGlyphIndexes(glyphs);
    run.setPositions(places);
    painter.drawGlyphRun(QPointF(left, baseline), run);
}

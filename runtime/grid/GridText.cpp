#include "runtime/grid/GridText.h"

#include <QGlyphRun>
#include <QPainter>
#include <QTextLayout>

#include <QtMath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr char16_t kDots = u'…';

bool IsWestern(char16_t character)
{
    return (character >= 0x20 && character < 0x7f) || (character >= 0xa1 && character < 0x250)
        || (character >= 0x2010 && character <= 0x2027);
}

// Chinese, and what is set like it: always of one width.
bool IsSquare(char16_t character)
{
    return (character >= 0x3000 && character <= 0x3029) || (character >= 0x3400 && character < 0xa000)
        || (character >= 0xff01 && character <= 0xff20);
}

bool IsLatinLetter(char16_t character)
{
    return QChar::script(character) == QChar::Script_Latin;
}

bool IsHan(char16_t character)
{
    return QChar::script(character) == QChar::Script_Han;
}

QList<QGlyphRun> LaidOut(const QString& text, const QFont& font)
{
    QTextLayout layout(text, font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    return layout.glyphRuns();
}

} // namespace

int TGridText::Fit(const QString& text, int width, const QFont& font)
{
    if (!hasFont_ || font != font_)
        SetFont(font);
    laidOut_.clear();
    if (PutTogether(text, width))
        return placed_.empty() ? 0 : qCeil(placed_.back().end);
    // One line, whatever the text holds.
    laidOut_ = metrics_.elidedText(QString(text).replace(u'\n', u' '), Qt::ElideRight, width);
    return metrics_.horizontalAdvance(laidOut_);
}

void TGridText::Draw(QPainter& painter, int left, int top) const
{
    const QPointF place(left, top + metrics_.ascent());
    if (!laidOut_.isEmpty()) {
        painter.drawText(place, laidOut_);
        return;
    }
    QGlyphRun run;
    run.setRawFont(face_);
    run.setRawData(indexes_.constData(), places_.constData(), static_cast<int>(indexes_.size()));
    painter.drawGlyphRun(place, run);
}

void TGridText::SetFont(const QFont& font)
{
    font_ = font;
    metrics_ = QFontMetrics(font);
    face_ = QRawFont::fromFont(font);
    for (Pages& pages : pages_) {
        for (auto& page : pages)
            page.reset();
    }
    kerning_.clear();
    hasFont_ = true;
}

const TGridText::Glyph& TGridText::GlyphOf(char16_t character, Script script)
{
    std::unique_ptr<Page>& page = pages_[script][character / kPageSize];
    if (!page)
        page = std::make_unique<Page>();
    Glyph& glyph = (*page)[character % kPageSize];
    if (glyph.state == Glyph::State::Unknown)
        glyph = FoundGlyph(character, script);
    return glyph;
}

TGridText::Glyph TGridText::FoundGlyph(char16_t character, Script script) const
{
    static constexpr Glyph kMissing{.state = Glyph::State::Missing};
    if (!face_.isValid())
        return kMissing;
    QList<quint32> indexes;
    if (script == Chinese) {
        indexes = face_.glyphIndexesForString(QString(QChar(character)));
    } else {
        const QChar beside[] = {u'n', character};
        const QList<QGlyphRun> runs = LaidOut(QString(beside, 2), font_);
        if (runs.size() != 1 || runs.front().glyphIndexes().size() != 2)
            return kMissing;
        indexes = runs.front().glyphIndexes().sliced(1);
    }
    if (indexes.size() != 1 || indexes.front() == 0)
        return kMissing;
    return {indexes.front(), face_.advancesForGlyphIndexes(indexes).front().x(), Glyph::State::Known};
}

// How much further from the one before it a character stands than it would alone (below 0: closer); not a
// number where the two become one.
double TGridText::Kerning(const Placed& before, char16_t character, Script script)
{
    if (before.script != script || !IsWestern(before.character) || !IsWestern(character))
        return 0;
    const quint64 key = quint64(script) << 32 | quint64(before.character) << 16 | character;
    const auto known = kerning_.constFind(key);
    if (known != kerning_.constEnd())
        return *known;
    return *kerning_.insert(key, MeasuredKerning(before.character, character, script));
}

double TGridText::MeasuredKerning(char16_t first, char16_t second, Script script)
{
    const QChar both[] = {u'n', first, second};
    const qsizetype from = script == Latin ? 0 : 1;
    const QList<QGlyphRun> runs = LaidOut(QString(both + from, 3 - from), font_);
    const QList<quint32> indexes{GlyphOf(first, script).index, GlyphOf(second, script).index};
    if (runs.size() != 1 || runs.front().glyphIndexes().mid(1 - from) != indexes)
        return std::numeric_limits<double>::quiet_NaN();
    const QList<QPointF> places = runs.front().positions().mid(1 - from);
    return places[1].x() - places[0].x() - GlyphOf(first, script).advance;
}

// False where a character needs more than its own glyph.
bool TGridText::PutTogether(const QString& text, int width)
{
    indexes_.clear();
    places_.clear();
    placed_.clear();
    // Digits and signs before the first letter are of its script.
    const auto first =
        std::ranges::find_if(text, [](QChar c) { return IsLatinLetter(c.unicode()) || IsHan(c.unicode()); });
    Script script = first != text.end() && IsLatinLetter(first->unicode()) ? Latin : Chinese;
    for (const QChar next : text) {
        const char16_t character = next == u'\n' ? u' ' : next.unicode();
        if (IsLatinLetter(character))
            script = Latin;
        else if (IsHan(character))
            script = Chinese;
        if (!Append(character, script))
            return false;
        if (placed_.back().end > width)
            return CutOff(width);
    }
    return true;
}

bool TGridText::Append(char16_t character, Script script)
{
    if (!IsWestern(character) && !IsSquare(character))
        return false;
    const Glyph& glyph = GlyphOf(character, script);
    if (glyph.state == Glyph::State::Missing)
        return false;
    const double place =
        placed_.empty() ? 0 : placed_.back().end + Kerning(placed_.back(), character, script);
    if (std::isnan(place))
        return false;
    indexes_.push_back(glyph.index);
    places_.emplace_back(place, 0);
    placed_.push_back({character, script, place + glyph.advance});
    return true;
}

// The last characters give way to dots.
bool TGridText::CutOff(int width)
{
    while (!placed_.empty()) {
        const Script script = placed_.back().script;
        DropLast();
        if (!Append(kDots, placed_.empty() ? script : placed_.back().script))
            return false;
        if (placed_.back().end <= width)
            break;
        DropLast();
    }
    return true;
}

void TGridText::DropLast()
{
    indexes_.pop_back();
    places_.pop_back();
    placed_.pop_back();
}

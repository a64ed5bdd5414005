#pragma once

#include "runtime/Export.h"

#include <QFont>
#include <QFontMetrics>
#include <QHash>
#include <QList>
#include <QRawFont>

#include <array>
#include <memory>
#include <vector>

class QPainter;

// The texts of a grid's cells. A page that scrolls into sight is hundreds of texts never seen before: each is
// put together from its characters' glyphs, which are looked up once, with the same result as laying it out.
// What needs more (letters that join or go from right to left, characters that the font lacks) is laid out.
class RUNTIME_EXPORT TGridText {
public:
    // The text in one line, with dots where it is cut off; stands until the next one. Its width.
    int Fit(const QString& text, int width, const QFont& font);
    // Draws the text last fitted.
    void Draw(QPainter& painter, int left, int top) const;

private:
    static constexpr size_t kPageSize = 256;

    struct Glyph {
        enum class State : quint8 { Unknown, Missing, Known };
        quint32 index = 0;
        double advance = 0;
        State state = State::Unknown;
    };
    using Page = std::array<Glyph, kPageSize>;

    // Digits and signs look like the letters before them: a font may have a shape of them for each script.
    enum Script : quint8 { Chinese, Latin };
    struct Placed {
        char16_t character;
        Script script;
        double end;
    };

    void SetFont(const QFont& font);
    const Glyph& GlyphOf(char16_t character, Script script);
    Glyph FoundGlyph(char16_t character, Script script) const;
    double Kerning(const Placed& before, char16_t character, Script script);
    double MeasuredKerning(char16_t first, char16_t second, Script script);
    bool PutTogether(const QString& text, int width);
    bool Append(char16_t character, Script script);
    bool CutOff(int width);
    void DropLast();

    bool hasFont_ = false;
    QFont font_;
    QFontMetrics metrics_{font_};
    QRawFont face_;
    using Pages = std::array<std::unique_ptr<Page>, 65536 / kPageSize>;
    std::array<Pages, 2> pages_; // by script
    QHash<quint64, double> kerning_; // not a number: they join

    // The text last fitted: glyphs, or its characters where it had to be laid out.
    QList<quint32> indexes_;
    QList<QPointF> places_;
    std::vector<Placed> placed_;
    QString laidOut_;
};

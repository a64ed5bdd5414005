#pragma once

#include <QFont>
#include <QHash>
#include <QRawFont>
#include <QStringList>

class QPainter;

// A font of a page. Every letter is drawn as the font has it for itself: unlike shaped text, what a PDF holds
// can then be searched and copied to the last digit, and a letter is measured once. Texts with letters that
// the font lacks are shaped.
class TPageFont {
public:
    explicit TPageFont(const QFont& font, int pixelSize, bool bold = false);

    int Height() const noexcept { return height_; }
    int Ascent() const noexcept { return ascent_; }
    double Width(const QString& text) const;
    // The text in so many lines at the most, broken where a line is full; what does not fit ends in "…".
    QStringList Lines(const QString& text, double width, int most = 1) const;
    void Draw(QPainter& painter, double left, double baseline, const QString& text) const;

private:
    struct TLetter {
        quint32 glyph = 0; // 0: not in the font
        double advance = 0;
    };
    const TLetter& Letter(QChar character) const;
    bool HasAll(const QString& text) const;

    QFont font_;
    QRawFont raw_;
    int height_;
    int ascent_;
    mutable QHash<QChar, TLetter> letters_;
};

#pragma once

#include "runtime/Export.h"

#include <QColor>
#include <QObject>

class QFont;
class QWidget;

// How every list of the program looks, as far as the user may choose it. The marks of the standard style are
// told apart by colour-blind eyes, too.
struct RUNTIME_EXPORT TListStyle {
    int fontSize = 12; // pixels at 96 dpi
    int rowSpace = 4; // what a row has over the height of its text, likewise
    bool stripes = false; // under the rows that have no colour for their own reasons
    QColor unsaved{0xD5, 0x5E, 0x00}; // the corner of a cell that is not saved yet
    QColor refused{0xF2, 0xA6, 0x5E}; // behind a row that a save refused
    QColor found{0xF0, 0xE4, 0x42}; // behind the letters that a search stands on
    QColor hit{0xA8, 0xE3, 0xD4}; // behind those of every hit of the list's own search

    static constexpr int kSmallestFont = 9, kLargestFont = 28;
    static constexpr int kLeastSpace = 0, kMostSpace = 24;
    // The same with each value between its bounds, and no mark without a colour.
    TListStyle Bounded() const;

    bool operator==(const TListStyle&) const = default;
};

// The style in use; what is set is shown by every list at once, whatever it is busy with.
class RUNTIME_EXPORT TListStyles : public QObject {
    Q_OBJECT
public:
    static TListStyles& Instance();
    const TListStyle& Style() const noexcept { return style_; }
    void Set(const TListStyle& style);

Q_SIGNALS:
    void Changed();

private:
    TListStyle style_;
};

RUNTIME_EXPORT const TListStyle& ListStyle();
RUNTIME_EXPORT QFont ListFont();
// Of text in that font.
RUNTIME_EXPORT int ListRowHeight(const QWidget& widget);
// Pixels of the screen for a column's width as it is described and stored, which goes with the text; and
// back.
RUNTIME_EXPORT int ShownWidth(const QWidget& widget, int described);
RUNTIME_EXPORT int DescribedWidth(const QWidget& widget, int shown);

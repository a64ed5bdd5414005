#pragma once

#include "runtime/Export.h"

#include <QIcon>
#include <QSize>

class QApplication;
class QColor;
class QFont;
class QPainter;
class QRect;
class QString;
class QWidget;

// The look of the client: a compact, light Fusion with readable Chinese at any scale. Call once, after the
// QApplication is made and before the first window.
RUNTIME_EXPORT void ApplyStyle(QApplication& application);

// Makes the fonts that screens ask for by their Windows names resolve to what this system has.
RUNTIME_EXPORT void InstallFontSubstitutes();
// The screens' own font, 宋体 at 12 pixels (at 96 dpi), or what stands for it here.
RUNTIME_EXPORT QFont ScreenFont();

// The colour of a text that the list it is chosen from does not hold, or that is no date.
RUNTIME_EXPORT QColor UnknownTextColor();
// The corner of a cell that is not saved yet.
RUNTIME_EXPORT QColor ChangedCellColor();
// Behind the cell that a search found, and behind the letters found in it.
RUNTIME_EXPORT QColor FoundCellColor();
RUNTIME_EXPORT QColor FoundTextColor();
// Behind and under the letters of every hit that a list's own search marks.
RUNTIME_EXPORT QColor HitTextColor();
RUNTIME_EXPORT QColor HitLineColor();

// The little arrow of drop-down buttons.
RUNTIME_EXPORT QIcon DropDownIcon();

// Puts a drop-down below its control, or above it where the screen ends; never outside the screen.
RUNTIME_EXPORT void PlacePopup(QWidget& popup, const QWidget& control, QSize size);

// Pixels for a length given at 96 dpi on the widget's screen.
RUNTIME_EXPORT int Scaled(const QWidget& widget, int pixels);

#pragma once

#include <QString>

class QWidget;

// Every key that works now, as Markdown: of the frame, and of the screen in front with its list; read from
// the actions themselves and from what the screen publishes as its "ActionKeys". `screen` may be none.
QString KeysPage(const QWidget& frame, const QWidget* screen);

#pragma once

#include <QString>

class QWidget;

namespace automation {

// A label or button as a clerk reads it: without the mark of its key ("&", "(&B)") and the colon behind it.
QString PlainText(const QString& text);

// The control that the label on the screen stands for, by its label, its button text or the title of its
// group box. nullptr when there is none. Raises std::runtime_error, naming them, when there are several.
QWidget* FindByLabel(const QWidget& window, const QString& label);

} // namespace automation

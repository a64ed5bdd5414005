#pragma once

#include <QPixmap>
#include <QString>

class QWidget;

namespace automation {

// The window with everything that stands over it: boxes, dialogs, lists that dropped down.
QPixmap Picture(QWidget* window);
// Writes it as a PNG, making the folder where needed. Raises std::runtime_error.
void SavePicture(QWidget* window, const QString& path);

} // namespace automation

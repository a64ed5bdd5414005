#include "host/automation/Pictures.h"

#include "host/automation/Input.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPainter>
#include <QWidget>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {
namespace {

// A title bar for a dialog, which the window system would draw around it.
void DrawOver(QPainter& painter, QWidget* window, QPoint place)
{
    const QPixmap picture = window->grab();
    const QSize size = picture.deviceIndependentSize().toSize();
    QRect frame(place, size);
    if (window->windowType() == Qt::Dialog) {
        const int bar = window->fontMetrics().height() + 10;
        const QRect title(frame.left(), frame.top() - bar, frame.width(), bar);
        painter.fillRect(title, QColor(0x3a, 0x4a, 0x5c));
        painter.setPen(Qt::white);
        painter.setFont(window->font());
        painter.drawText(
            title.adjusted(8, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft, window->windowTitle());
        frame.setTop(title.top());
    }
    painter.drawPixmap(place, picture);
    painter.setPen(QColor(0x3a, 0x4a, 0x5c));
    painter.drawRect(frame.adjusted(-1, -1, 0, 0));
}

} // namespace

QPixmap Picture(QWidget* window)
{
    QPixmap picture = window->grab();
    QPainter painter(&picture);
    const QWidgetList others = QApplication::topLevelWidgets();
    for (QWidget* other : others) {
        if (other != window && other->isVisible() && !other->inherits("QTipLabel"))
            DrawOver(painter, other, window->mapFromGlobal(other->mapToGlobal(QPoint(0, 0))));
    }
    return picture;
}

void SavePicture(QWidget* window, const QString& path)
{
    Settle();
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!Picture(window).save(path, "PNG"))
        throw std::runtime_error((u"cannot write the picture "_s + path).toStdString());
}

} // namespace automation

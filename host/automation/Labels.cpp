#include "host/automation/Labels.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>
#include <QRegularExpression>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {

QString PlainText(const QString& text)
{
    static const QRegularExpression marks(u"\\(&.\\)|&(?=[^&])|[:：…]$"_s);
    return QString(text).remove(marks).trimmed();
}

QWidget* FindByLabel(const QWidget& window, const QString& label)
{
    QList<QWidget*> found;
    const auto children = window.findChildren<QWidget*>();
    for (QWidget* child : children) {
        QWidget* named = child;
        QString text;
        if (const auto* caption = qobject_cast<const QLabel*>(child)) {
            named = caption->buddy();
            text = caption->text();
        } else if (const auto* button = qobject_cast<const QAbstractButton*>(child)) {
            text = button->text();
        } else if (const auto* group = qobject_cast<const QGroupBox*>(child)) {
            text = group->title();
        } else {
            // What a screen reader says of a control without a label of its own.
            text = child->accessibleName();
        }
        if (named && PlainText(text) == label && !found.contains(named))
            found.append(named);
    }
    if (found.size() > 1) {
        QStringList names;
        for (const QWidget* widget : found)
            names.append(widget->objectName());
        throw std::runtime_error(
            (u"“"_s + label + u"” stands for several controls: "_s + names.join(u", "_s)).toStdString());
    }
    return found.isEmpty() ? nullptr : found.front();
}

} // namespace automation

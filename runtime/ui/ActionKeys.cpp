#include "runtime/ui/ActionKeys.h"

#include <QAbstractButton>
#include <QPointer>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

QString PlainActionText(const QString& text)
{
    static const QRegularExpression marked(u"\\(&.\\)|…|\t.*"_s);
    return QString(text).remove(marked).remove(u'&').trimmed();
}

void PressButton(QAbstractButton& button)
{
    if (!button.isEnabled())
        return;
    QWidget& window = *button.window();
    const QPointer<QWidget> before = window.focusWidget();
    // A button that takes no focus, or is not to be seen, takes it from the field all the same.
    if (button.isVisible() && button.focusPolicy() != Qt::NoFocus)
        button.setFocus();
    else if (before)
        before->clearFocus();
    const QPointer<QWidget> meanwhile = window.focusWidget();
    button.click();
    if (before && before->isVisible() && window.focusWidget() == meanwhile)
        before->setFocus();
}

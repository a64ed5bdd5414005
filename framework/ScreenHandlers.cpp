#include "framework/ScreenHandlers.h"

void ShowNotice(const QString& text)
{
    QWidget* form = Application->MainForm();
    if (form && form->metaObject()->indexOfMethod("ShowNotice(QString)") >= 0)
        QMetaObject::invokeMethod(form, "ShowNotice", Qt::DirectConnection, Q_ARG(QString, text));
}

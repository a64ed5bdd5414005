#include "module/data/MessageBoxes.h"

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

void ShowWarning(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Warning);
}

void ShowInformation(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Information);
}

void ShowError(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Error);
}

void ShowFailure(const QString& reason, const QString& caption)
{
    ShowWarning(u"详细："_s + reason, caption);
}

void Refuse(const QString& text, const QString& caption)
{
    ShowWarning(text, caption);
    Abort();
}

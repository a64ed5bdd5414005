#include "framework/export/ProposedFile.h"

#include "module/data/HostBridge.h"
#include "runtime/ui/Forms.h"

#include <QDir>
#include <QPointer>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

QString& Folder()
{
    static QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return folder;
}

} // namespace

QString ListTitle(const QWidget& list)
{
    for (const QWidget* above = list.parentWidget(); above; above = above->parentWidget()) {
        if (const auto* form = qobject_cast<const TForm*>(above))
            return form->Caption();
    }
    return u"列表"_s;
}

QString ProposedFile(QString title, QStringView ending)
{
    title.replace(QRegularExpression(uR"([\\/:*?"<>|])"_s), u"_"_s); // no system's names hold these
    const QString moment = ServerDateTime().Format(u"yyyymmdd-hhnnss");
    return QDir::toNativeSeparators(QDir(Folder()).filePath(title + u'-' + moment + ending.toString()));
}

bool RunDialog(QDialog* dialog, const std::function<void()>& accepted)
{
    const QPointer<QDialog> alive(dialog);
    const bool taken = dialog->exec() == QDialog::Accepted && alive;
    if (taken)
        accepted();
    delete alive.data();
    return taken;
}

QString AskFile(QWidget* parent, const QString& caption, const QString& proposed, const QString& filter,
    QFileDialog::Options options)
{
    const QFileInfo file(proposed);
    auto* dialog = new QFileDialog(parent, caption, file.absolutePath(), filter);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setOptions(options);
    dialog->setDefaultSuffix(file.suffix());
    dialog->selectFile(file.fileName());
    QString chosen;
    RunDialog(dialog, [&] { chosen = dialog->selectedFiles().value(0); });
    return chosen;
}

QString KeptFolder()
{
    return Folder();
}

void KeepFolder(const QString& folder)
{
    Folder() = folder;
}

#include "host/HostApplication.h"

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Application.h"

#include <QFontDatabase>

using namespace Qt::Literals::StringLiterals;

THostApplication::THostApplication(int& argc, char** argv)
    : QApplication(argc, argv)
{
    setApplicationName(u"zelmor-host"_s);
    setApplicationDisplayName(u"快运业务系统"_s);
    setApplicationVersion(QStringLiteral(ZELMOR_VERSION));
}

bool THostApplication::notify(QObject* receiver, QEvent* event)
{
    QString problem;
    try {
        return QApplication::notify(receiver, event);
    } catch (const EAbort&) {
        return false;
    } catch (const std::exception& error) {
        problem = QString::fromUtf8(error.what());
    }
    // Not from within the failed event: a message box runs events of its own.
    QMetaObject::invokeMethod(
        this,
        [problem] {
            if (::Application)
                ::Application->HandleException(problem);
        },
        Qt::QueuedConnection);
    return false;
}

bool HasDisplay()
{
#ifdef Q_OS_LINUX
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        || qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
#else
    return true;
#endif
}

QString FontProblem()
{
    if (!QFontDatabase::families(QFontDatabase::SimplifiedChinese).isEmpty())
        return {};
    return u"系统缺少中文字体，文字会显示成方框。请安装 fonts-noto-cjk（Linux）或“宋体”后重新启动。\n"
           u"No Chinese font found: install fonts-noto-cjk and start again."_s;
}

#include "host/HostApplication.h"

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Application.h"

#include <QFontDatabase>
#include <QLibraryInfo>
#include <QLocale>
#include <QPainter>
#include <QPixmap>
#include <QTranslator>

using namespace Qt::Literals::StringLiterals;

THostApplication::THostApplication(int& argc, char** argv)
    : QApplication(argc, argv)
{
    setApplicationName(u"zelmor-host"_s);
    // No display name: the window titles say it, and the window system would say it once more.
    setApplicationVersion(QStringLiteral(ZELMOR_VERSION));
    SpeakChinese(*this);
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

bool SpeakChinese(QCoreApplication& application)
{
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    auto* texts = new QTranslator(&application);
    // Beside the program where Qt is shipped with it.
    for (const QString& folder : {QCoreApplication::applicationDirPath() + u"/translations"_s,
             QLibraryInfo::path(QLibraryInfo::TranslationsPath)}) {
        if (texts->load(u"qtbase_zh_CN"_s, folder))
            return QCoreApplication::installTranslator(texts);
    }
    delete texts;
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

QIcon ProgramIcon()
{
    QIcon icon;
    for (const int side : {16, 32, 64}) {
        QPixmap picture(side, side);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(side / 16.0, side / 16.0);
        // A parcel with its tape on the company's blue.
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0x1f, 0x4e, 0x8c));
        painter.drawRoundedRect(QRectF(0, 0, 16, 16), 3, 3);
        painter.setBrush(QColor(0xf2, 0xc1, 0x6b));
        painter.drawRect(QRectF(3, 4, 10, 8.5));
        painter.setBrush(QColor(0xb9, 0x7f, 0x2c));
        painter.drawRect(QRectF(7, 4, 2, 8.5));
        painter.drawRect(QRectF(3, 6.2, 10, 0.8));
        painter.end();
        icon.addPixmap(picture);
    }
    return icon;
}

QString FontProblem()
{
    if (!QFontDatabase::families(QFontDatabase::SimplifiedChinese).isEmpty())
        return {};
    return u"系统缺少中文字体，文字会显示成方框。请安装 fonts-noto-cjk（Linux）或“宋体”后重新启动。\n"
           u"No Chinese font found: install fonts-noto-cjk and start again."_s;
}

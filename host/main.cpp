#include "host/Host.h"
#include "host/HostApplication.h"
#include "runtime/ui/Style.h"

#include <QDir>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

// The platform without a display warns of every request that only a window manager could serve.
void PassOnOtherWarnings(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!message.startsWith(u"This plugin does not support "_s))
        std::fprintf(stderr, "%s\n", qUtf8Printable(qFormatLogMessage(type, context, message)));
}

} // namespace

int main(int argc, char** argv)
{
    const bool headless = !HasDisplay();
    if (headless)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qgetenv("QT_QPA_PLATFORM") == "offscreen")
        qInstallMessageHandler(PassOnOtherWarnings);
    THostApplication application(argc, argv);

    THostOptions options;
    if (const auto problem = ReadOptions(QCoreApplication::arguments(), headless, options)) {
        std::fprintf(problem->isHelp ? stdout : stderr, "%s\n", qUtf8Printable(problem->message));
        return problem->isHelp ? 0 : 2;
    }
    if (headless) {
        std::puts(options.tour ? "No display: playing the guided tour without one."
                               : "No display: running without one.");
    }
    if (options.tour) {
        options.script = QCoreApplication::applicationDirPath() + u"/demo/tour.js"_s;
        std::printf("Pictures go to %s\n", qUtf8Printable(QDir(options.screenshots).absolutePath()));
        if (options.freshData)
            QDir(options.dataDir).removeRecursively();
    }
    std::fflush(stdout);
    ApplyStyle(application);
    // The windows end the program when they are done; between login window and frame there may be none.
    QApplication::setQuitOnLastWindowClosed(false);
    THost host(std::move(options));
    host.Start();
    return QApplication::exec();
}

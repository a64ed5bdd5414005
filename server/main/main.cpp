#include "server/main/Arguments.h"
#include "server/main/Commands.h"
#include "server/refusal/Secrets.h"
#include "wire/Error.h"

#include <QCoreApplication>

#include <cstdio>

#ifndef Q_OS_WIN // whose files belong to their folder's readers
#include <sys/stat.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

struct Command {
    const char* name;
    int (*run)(const QStringList& arguments);
};
constexpr Command kServe{"", server::Serve};
constexpr Command kCommands[] = {
    {"account", server::ManageAccounts},
    {"backup", server::BackUp},
    {"status", server::ShowStatus},
};

// A bare word: options alone mean to serve.
const Command& CommandOf(QStringList& arguments)
{
    for (const Command& command : kCommands) {
        if (arguments.value(1) == QLatin1StringView(command.name)) {
            arguments.removeAt(1);
            return command;
        }
    }
    return kServe;
}

} // namespace

int main(int argc, char** argv)
{
#ifndef Q_OS_WIN
    umask(S_IRWXG | S_IRWXO); // what is written holds orders and hashes of passwords
#endif
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"zelmor-server"_s);
    QStringList arguments = QCoreApplication::arguments();
    const Command& command = CommandOf(arguments);
    try {
        return command.run(arguments);
    } catch (const server::UsageError& error) {
        std::fprintf(stderr, "zelmor-server: %s\nTry “zelmor-server %s%s--help”.\n", error.what(),
            command.name, *command.name == '\0' ? "" : " ");
        return 2;
    } catch (const std::exception& error) {
        const QString message = server::MaskSecrets(QString::fromUtf8(error.what()));
        std::fprintf(stderr, "zelmor-server: %s\n", qUtf8Printable(message));
        return 1;
    }
}

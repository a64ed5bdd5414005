#include "server/main/Arguments.h"
#include "server/main/Commands.h"
#include "wire/Error.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"zelmor-server"_s);
    QStringList arguments = QCoreApplication::arguments();
    const bool accounts = arguments.value(1) == u"account";
    try {
        if (!accounts)
            return server::Serve(arguments);
        arguments.removeAt(1);
        return server::ManageAccounts(arguments);
    } catch (const server::UsageError& error) {
        std::fprintf(stderr, "zelmor-server: %s\nTry “zelmor-server %s--help”.\n", error.what(),
            accounts ? "account " : "");
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelmor-server: %s\n", error.what());
        return 1;
    }
}

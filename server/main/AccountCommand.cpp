#include "server/main/Commands.h"
#include "server/main/OpenStorage.h"
#include "server/main/Password.h"
#include "server/main/Settings.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

void List(ApplicationServer& server)
{
    for (const wire::Identity& who : server.Accounts()) {
        const QStringList fields{
            who.account, who.employeeCode, who.employeeName, who.site, who.userType, who.rights};
        std::printf("%s\n", qUtf8Printable(fields.join(u'\t')));
    }
}

} // namespace

int ManageAccounts(const QStringList& arguments)
{
    Settings settings(
        u"Manages the accounts that may log in. Passwords are read from standard input.\n\n"
        "  add ACCOUNT EMPLOYEE_CODE   adds an account for an employee\n"
        "  passwd ACCOUNT              gives an account a new password\n"
        "  remove ACCOUNT              removes an account\n"
        "  list                        lists account, employee, name, site, user type and rights"_s,
        {u"data"_s, u"storage"_s, u"config"_s, u"user-type"_s, u"rights"_s});
    settings.Parser().addPositionalArgument(u"command"_s, u"add, passwd, remove or list"_s);
    settings.Parser().addPositionalArgument(u"arguments"_s, u"as above"_s, u"[arguments…]"_s);
    settings.Read(arguments);

    const QStringList& words = settings.Words();
    const QString command = words.value(0);
    const auto takes = [&](const QString& name, qsizetype count) {
        if (command != name)
            return false;
        if (words.size() != count + 1)
            throw UsageError(u"“account %1” takes %2 arguments"_s.arg(name).arg(count));
        return true;
    };
    Options options = StorageOptions(settings);
    options.connections = 1;
    if (takes(u"add"_s, 2)) {
        NewAccount account;
        account.account = words[1];
        account.employeeCode = words[2];
        account.userType = settings.IsSet(u"user-type"_s) ? settings.Value(u"user-type"_s) : u"1"_s;
        account.rights = settings.IsSet(u"rights"_s) ? settings.Value(u"rights"_s) : account.rights;
        account.password = AskNewPassword();
        ApplicationServer(options).AddAccount(account);
    } else if (takes(u"passwd"_s, 1)) {
        const QString password = AskNewPassword();
        ApplicationServer(options).SetPassword(words[1], password);
    } else if (takes(u"remove"_s, 1)) {
        ApplicationServer(options).RemoveAccount(words[1]);
    } else if (takes(u"list"_s, 0)) {
        ApplicationServer server(options);
        List(server);
    } else {
        throw UsageError(command.isEmpty()
                ? u"what is to be done with the accounts: add, passwd, remove or list?"_s
                : u"unknown command “account %1”"_s.arg(command));
    }
    return 0;
}

} // namespace server

#include "server/main/Arguments.h"
#include "server/main/Commands.h"
#include "server/main/Password.h"

#include "server/Server.h"

#include <QCommandLineParser>

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
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Manages the accounts that may log in. Passwords are read from standard input.\n\n"
        "  add ACCOUNT EMPLOYEE_CODE   adds an account for an employee\n"
        "  passwd ACCOUNT              gives an account a new password\n"
        "  remove ACCOUNT              removes an account\n"
        "  list                        lists account, employee, name, site, user type and rights"_s);
    parser.addPositionalArgument(u"account"_s, u"this command"_s, u"account"_s);
    parser.addPositionalArgument(u"command"_s, u"add, passwd, remove or list"_s);
    parser.addPositionalArgument(u"arguments"_s, u"as above"_s, u"[arguments…]"_s);
    parser.addOptions({
        {u"data"_s, u"Folder of the database."_s, u"DIR"_s},
        {u"user-type"_s, u"add: 2 may open sites for marketplace orders."_s, u"TYPE"_s, u"1"_s},
        {u"rights"_s, u"add: rights code of the account's screens, three characters, each 0 or 1."_s,
            u"CODE"_s, u"111"_s},
    });
    ParseArguments(parser, arguments);

    const QStringList words = parser.positionalArguments();
    const QString command = words.value(0);
    const auto takes = [&](const QString& name, qsizetype count) {
        if (command != name)
            return false;
        if (words.size() != count + 1)
            throw UsageError(u"“account %1” takes %2 arguments"_s.arg(name).arg(count));
        return true;
    };
    Options options;
    options.dataDir = RequiredValue(parser, u"data"_s);
    if (takes(u"add"_s, 2)) {
        NewAccount account;
        account.account = words[1];
        account.employeeCode = words[2];
        account.userType = parser.value(u"user-type"_s);
        account.rights = parser.value(u"rights"_s);
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

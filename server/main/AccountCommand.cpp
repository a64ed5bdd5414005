#include "server/main/Commands.h"
#include "server/main/OpenStorage.h"
#include "server/main/Password.h"
#include "server/main/Settings.h"
#include "server/provider/ApplicationServer.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr QStringView kBySite = u"site"; // in the place of a role: the account's site tells

void List(ApplicationServer& server)
{
    for (const Account& who : server.Accounts()) {
        const QString role = (who.role ? NameOf(*who.role) : kBySite).toString();
        const QStringList fields{
            who.account, who.employeeCode, who.employeeName, who.site, who.userType, who.rights, role};
        std::printf("%s\n", qUtf8Printable(fields.join(u'\t')));
    }
}

std::optional<Role> RoleOf(const QString& word)
{
    const std::optional<Role> role = ParseRole(word);
    if (!role && word != kBySite)
        throw UsageError(u"a role is reader, clerk, centre, headquarters or site, not “%1”"_s.arg(word));
    return role;
}

} // namespace

int ManageAccounts(const QStringList& arguments)
{
    Settings settings(
        u"Manages the accounts that may log in. Passwords are read from standard input.\n\n"
        "  add ACCOUNT EMPLOYEE_CODE   adds an account for an employee\n"
        "  passwd ACCOUNT              gives an account a new password\n"
        "  role ACCOUNT ROLE           gives an account a role: reader, clerk, centre, headquarters, or "
        "site\n"
        "                              (the account's site tells)\n"
        "  remove ACCOUNT              removes an account\n"
        "  list                        lists account, employee, name, site, user type, rights and role"_s,
        {u"data"_s, u"storage"_s, u"config"_s, u"user-type"_s, u"rights"_s, u"role"_s});
    settings.Parser().addPositionalArgument(u"command"_s, u"add, passwd, role, remove or list"_s);
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
        account.role = RoleOf(settings.IsSet(u"role"_s) ? settings.Value(u"role"_s) : kBySite.toString());
        account.password = AskNewPassword();
        ApplicationServer(options).AddAccount(account);
    } else if (takes(u"passwd"_s, 1)) {
        const QString password = AskNewPassword();
        ApplicationServer(options).SetPassword(words[1], password);
    } else if (takes(u"role"_s, 2)) {
        const std::optional<Role> role = RoleOf(words[2]);
        ApplicationServer(options).SetRole(words[1], role);
    } else if (takes(u"remove"_s, 1)) {
        ApplicationServer(options).RemoveAccount(words[1]);
    } else if (takes(u"list"_s, 0)) {
        ApplicationServer server(options);
        List(server);
    } else {
        throw UsageError(command.isEmpty()
                ? u"what is to be done with the accounts: add, passwd, role, remove or list?"_s
                : u"unknown command “account %1”"_s.arg(command));
    }
    return 0;
}

} // namespace server

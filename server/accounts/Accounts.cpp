#include "server/accounts/Accounts.h"

#include "demo/Generator.h"
#include "server/Texts.h"
#include "server/accounts/PasswordHash.h"

#include <QRegularExpression>
#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

using storage::Statement;

constexpr auto kIdentity = R"(
select a.ACCOUNT, a.EMPLOYEE_CODE, e.EMPLOYEE_NAME, e.OWNER_SITE, a.USER_TYPE, a.RIGHTS, a.PASSWORD_HASH,
       a.DESCRIPTION
  from zelmor_account a left join tab_employee e on e.EMPLOYEE_CODE = a.EMPLOYEE_CODE )";

wire::Identity ReadIdentity(const Statement& row)
{
    return {row.Text(0), row.Text(1), row.Text(2), row.Text(3), row.Text(4), row.Text(5)};
}

// What an unknown account's password is compared with, so that it takes as long as a known one's.
const QString& NobodysHash()
{
    static const QString hash = HashPassword(u"nobody"_s);
    return hash;
}

[[noreturn]] void RaiseData(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Data, message);
}

} // namespace

wire::Identity Accounts::Login(const QString& account, const QString& password, const QString& peer)
{
    using Clock = LoginGuard::Clock;
    if (const int wait = guard_.Admit(account, peer, Clock::now()))
        throw wire::Error(wire::ErrorKind::Login, texts::TooManyLogins(wait));
    // Whatever goes wrong counts against the caller until it turns out right.
    auto failed = qScopeGuard([&] { guard_.Failed(account, peer, Clock::now()); });
    wire::Identity identity;
    QString hash = NobodysHash();
    bool known = false;
    {
        const auto connection = pool_.Lend();
        Statement query = connection->Base().Prepare(std::string(kIdentity) + "where a.ACCOUNT = ?1");
        query.Bind(1, account);
        known = query.Step();
        if (known) {
            identity = ReadIdentity(query);
            hash = query.Text(6);
        }
    }
    if (!PasswordMatches(hash, password) || !known)
        throw wire::Error(wire::ErrorKind::Login, texts::WrongLogin());
    failed.dismiss();
    guard_.Succeeded(account, peer);
    return identity;
}

void Accounts::Add(const NewAccount& account, wire::DateTime now)
{
    static const QRegularExpression rights(u"\\A[01]{3}\\z"_s);
    if (account.account.isEmpty() || account.password.isEmpty())
        RaiseData(texts::AccountEmpty());
    if (!rights.match(account.rights).hasMatch())
        RaiseData(texts::BadRights());
    const QString hash = HashPassword(account.password);
    storage::WriteTransaction transaction(pool_);
    storage::Database& base = transaction->Base();
    Statement employee = base.Prepare("select 1 from tab_employee where EMPLOYEE_CODE = ?1");
    employee.Bind(1, account.employeeCode);
    if (!employee.Step())
        RaiseData(texts::NoEmployee(account.employeeCode));
    employee.Reset();
    Statement insert =
        base.Prepare("insert or ignore into zelmor_account(ACCOUNT, PASSWORD_HASH, EMPLOYEE_CODE, "
                     "USER_TYPE, RIGHTS, CREATE_DATE) values(?1, ?2, ?3, ?4, ?5, ?6)");
    insert.Bind(1, account.account);
    insert.Bind(2, hash);
    insert.Bind(3, account.employeeCode);
    insert.Bind(4, wire::TextValue(account.userType));
    insert.Bind(5, account.rights);
    insert.BindInteger(6, now.seconds);
    insert.Execute();
    if (base.Changes() == 0)
        RaiseData(texts::AccountExists(account.account));
    transaction.Commit();
}

void Accounts::SetPassword(const QString& account, const QString& password)
{
    if (password.isEmpty())
        RaiseData(texts::AccountEmpty());
    const QString hash = HashPassword(password);
    storage::WriteTransaction transaction(pool_);
    Statement update =
        transaction->Base().Prepare("update zelmor_account set PASSWORD_HASH = ?2 where ACCOUNT = ?1");
    update.Bind(1, account);
    update.Bind(2, hash);
    update.Execute();
    if (transaction->Base().Changes() == 0)
        RaiseData(texts::NoAccount(account));
    transaction.Commit();
}

void Accounts::Remove(const QString& account)
{
    storage::WriteTransaction transaction(pool_);
    Statement remove = transaction->Base().Prepare("delete from zelmor_account where ACCOUNT = ?1");
    remove.Bind(1, account);
    remove.Execute();
    if (transaction->Base().Changes() == 0)
        RaiseData(texts::NoAccount(account));
    transaction.Commit();
}

std::vector<wire::Identity> Accounts::List()
{
    const auto connection = pool_.Lend();
    Statement query = connection->Base().Prepare(std::string(kIdentity) + "order by a.ACCOUNT");
    std::vector<wire::Identity> accounts;
    while (query.Step())
        accounts.push_back(ReadIdentity(query));
    return accounts;
}

std::vector<DemoAccount> Accounts::Demo()
{
    const auto connection = pool_.Lend();
    Statement query = connection->Base().Prepare(std::string(kIdentity)
        + "where a.DESCRIPTION is not null and exists(select 1 from zelmor_meta where NAME = 'demo') "
          "order by a.rowid");
    std::vector<DemoAccount> accounts;
    while (query.Step())
        accounts.push_back({query.Text(0), demo::DemoPassword(), query.Text(7)});
    return accounts;
}

} // namespace server

#include "server/accounts/Accounts.h"

#include "server/accounts/PasswordHash.h"
#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <QRegularExpression>
#include <QScopeGuard>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

using wire::ColumnType;

constexpr auto kIdentity = R"(
select a.ACCOUNT, a.EMPLOYEE_CODE, e.EMPLOYEE_NAME, e.OWNER_SITE, a.USER_TYPE, a.RIGHTS, a.ROLE,
       a.PASSWORD_HASH
  from zelmor_account a left join tab_employee e on e.EMPLOYEE_CODE = a.EMPLOYEE_CODE )";

constexpr std::array kIdentityTypes{ColumnType::Text, ColumnType::Text, ColumnType::Text, ColumnType::Text,
    ColumnType::Text, ColumnType::Text, ColumnType::Text, ColumnType::Text};
constexpr size_t kRole = 6;
constexpr size_t kHash = 7;
constexpr std::chrono::seconds kTurn(20); // that a login waits for others of its account and place

Account ReadAccount(const storage::Row& row)
{
    const auto text = [&row](size_t column) { return wire::ToText(row[column]); };
    Account account{{text(0), text(1), text(2), text(3), text(4), text(5)}, std::nullopt};
    // A role that this version does not know allows the least.
    if (const QString role = text(kRole); !role.isEmpty())
        account.role = ParseRole(role).value_or(Role::Reader);
    return account;
}

wire::Value RoleValue(std::optional<Role> role)
{
    return role ? wire::Value(NameOf(*role).toString()) : wire::Value();
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

Account Accounts::Login(const QString& account, const QString& password, const QString& peer)
{
    using Clock = LoginGuard::Clock;
    const LoginGuard::Admission admission = guard_.Admit(account, peer, Clock::now(), kTurn);
    if (admission.wait > 0)
        throw RefusedError(
            RefusalReason::LoginRate, wire::ErrorKind::Login, texts::TooManyLogins(admission.wait));
    // A database that does not answer says nothing about the caller.
    auto undecided = qScopeGuard([&] { guard_.Undecided(account, peer); });
    Account found;
    QString hash = NobodysHash();
    bool known = false;
    {
        const storage::Row name{account};
        const auto rows = storage::Reading(pool_, [&](storage::OwnStatements& statements) {
            return statements.Select(std::string(kIdentity) + "where a.ACCOUNT = ?", name, kIdentityTypes);
        });
        known = !rows.empty();
        if (known) {
            found = ReadAccount(rows.front());
            hash = wire::ToText(rows.front()[kHash]);
        }
    }
    const bool right =
        PasswordMatches(hash, password, admission.known ? PasswordQueue::Known : PasswordQueue::Strangers)
        && known;
    undecided.dismiss();
    if (!right) {
        guard_.Failed(account, peer, Clock::now());
        throw wire::Error(wire::ErrorKind::Login, texts::WrongLogin());
    }
    guard_.Succeeded(account, peer, Clock::now());
    return found;
}

void Accounts::Add(const NewAccount& account, wire::DateTime now)
{
    static const QRegularExpression rights(u"\\A[01]{3}\\z"_s);
    if (account.account.isEmpty() || account.password.isEmpty())
        RaiseData(texts::AccountEmpty());
    if (!rights.match(account.rights).hasMatch())
        RaiseData(texts::BadRights());
    const QString hash = HashPassword(account.password);
    storage::InTransaction(pool_, false, [&](storage::Connection& connection) {
        const storage::Row employee{account.employeeCode};
        constexpr std::array types{ColumnType::Text};
        if (connection
                .Select("select EMPLOYEE_CODE from tab_employee where EMPLOYEE_CODE = ?", employee, types)
                .empty())
            RaiseData(texts::NoEmployee(account.employeeCode));
        const storage::Row row{account.account, hash, account.employeeCode, wire::TextValue(account.userType),
            account.rights, RoleValue(account.role), {}, now};
        if (!connection.Insert(storage::AccountTable(), row))
            RaiseData(texts::AccountExists(account.account));
    });
}

void Accounts::SetPassword(const QString& account, const QString& password)
{
    if (password.isEmpty())
        RaiseData(texts::AccountEmpty());
    ChangeOne("update zelmor_account set PASSWORD_HASH = ? where ACCOUNT = ?",
        {HashPassword(password), account}, account);
}

void Accounts::SetRole(const QString& account, std::optional<Role> role)
{
    ChangeOne("update zelmor_account set ROLE = ? where ACCOUNT = ?", {RoleValue(role), account}, account);
}

void Accounts::Remove(const QString& account)
{
    ChangeOne("delete from zelmor_account where ACCOUNT = ?", {account}, account);
}

void Accounts::ChangeOne(
    std::string_view sql, const std::vector<wire::Value>& parameters, const QString& account)
{
    storage::InTransaction(pool_, false, [&](storage::Connection& connection) {
        if (connection.Change(sql, parameters) == 0)
            RaiseData(texts::NoAccount(account));
    });
}

std::optional<Account> Accounts::Find(const QString& account)
{
    const storage::Row name{account};
    const auto rows =
        pool_.Lend()->Select(std::string(kIdentity) + "where a.ACCOUNT = ?", name, kIdentityTypes);
    return rows.empty() ? std::nullopt : std::optional(ReadAccount(rows.front()));
}

std::vector<Account> Accounts::List()
{
    const auto connection = pool_.Lend();
    std::vector<Account> accounts;
    for (const storage::Row& row :
        connection->Select(std::string(kIdentity) + "order by a.ACCOUNT", {}, kIdentityTypes))
        accounts.push_back(ReadAccount(row));
    return accounts;
}

} // namespace server

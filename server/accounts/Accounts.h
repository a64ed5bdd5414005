#pragma once

#include "server/accounts/Account.h"
#include "server/accounts/LoginGuard.h"
#include "server/storage/Pool.h"

namespace server {

// Who may log in: accounts, their passwords, and whom they stand for. Safe to use from any thread. Everything
// raises wire::Error.
class Accounts {
public:
    explicit Accounts(storage::ConnectionPool& pool)
        : pool_(pool)
    {
    }

    // Login where account or password is wrong, without saying which.
    Account Login(const QString& account, const QString& password, const QString& peer);
    std::optional<Account> Find(const QString& account);
    void Add(const NewAccount& account, wire::DateTime now);
    void SetPassword(const QString& account, const QString& password);
    void SetRole(const QString& account, std::optional<Role> role);
    void Remove(const QString& account);
    std::vector<Account> List();

private:
    // A change that touches the account's row; raises where there is none.
    void ChangeOne(std::string_view sql, const std::vector<wire::Value>& parameters, const QString& account);

    storage::ConnectionPool& pool_;
    LoginGuard guard_;
};

} // namespace server

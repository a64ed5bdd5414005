#pragma once

#include "server/accounts/Account.h"
#include "server/provider/Options.h"
#include "server/provider/Session.h"
#include "server/storage/Pool.h"

#include <memory>
#include <vector>

namespace server {

// The application server: accounts, policy, the SQL dialect, change logs, over one database. Sessions may run
// on as many threads as there are; the server outlives them.
class ApplicationServer {
public:
    // Opens the database, or creates it. Raises wire::Error (Storage) with a message that says what to do.
    explicit ApplicationServer(const Options& options);
    ~ApplicationServer();

    // `peer` names the other end in logs.
    std::unique_ptr<Session> NewSession(const QString& peer);
    // The way to this server from within the process.
    std::unique_ptr<wire::Transport> NewTransport();

    wire::DateTime Now() const;
    // Which database, for administrators.
    QString StorageDescription() const;
    storage::PoolState Pool();
    // Forgets outcomes of saves that nobody will ask for any more. To be called every now and then; raises
    // wire::Error.
    void Tidy();
    void AddAccount(const NewAccount& account); // raises wire::Error (Data)
    void SetPassword(const QString& account, const QString& password);
    void SetRole(const QString& account, std::optional<Role> role); // none: its site tells
    void RemoveAccount(const QString& account);
    std::vector<Account> Accounts();
    std::vector<DemoAccount> DemoAccounts(); // empty unless the database holds demo data
    // One select with the rights of an administrator (tools, automation): any table.
    wire::RowSet QueryAsAdministrator(const QString& sqlText);

private:
    class Private;
    std::unique_ptr<Private> d_;
};

} // namespace server

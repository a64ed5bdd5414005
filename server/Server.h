#pragma once

#include "server/accounts/Role.h"
#include "wire/Messages.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace storage {
class Backend;
}

namespace server {

// Rows of a change log that were refused because the account may not write them.
struct RefusedRows {
    const wire::Identity& who;
    const QString& peer;
    const QString& table;
    int count;
    const QString& firstRow; // its key
};

struct Options {
    // Opens the database, or makes and fills it; unless given, the embedded one in `dataDir`.
    std::function<std::unique_ptr<storage::Backend>(const Options& options, wire::DateTime now)> open;
    QString dataDir; // folder of the embedded database; made when it does not exist
    int connections = 16; // to the database, at most
    QString demo; // "small", "medium", "large" or a number of orders: fills a new
                  // database; empty, or a database that is there already: nothing
    std::optional<wire::DateTime> now; // fixes the clock at start-up; it then runs on from there
    std::function<void(const QString& stage, int percent)>
        onProgress; // while filling, on the caller's thread
    qint64 maxRows = 2'000'000; // a query that would return more is refused (Limit)
    int maxSeconds = 300; // a request that runs longer is stopped (Limit)
    int permissionSeconds = 300; // so long may an account or a site that was changed still count as before
    std::function<void(const RefusedRows&)> onRefusedRows; // for the log; on the session's thread
};

// An account as an administrator adds it.
struct NewAccount {
    QString account;
    QString password;
    QString employeeCode; // must exist; gives name and site
    QString userType;
    QString rights = QStringLiteral("111");
    std::optional<Role> role = std::nullopt; // unless given, the account's site tells
};

// An account as it stands.
struct Account : wire::Identity {
    std::optional<Role> role; // as given by an administrator
};

// Offered by the login window of a demo database.
struct DemoAccount {
    QString account;
    QString password;
    QString description; // "安徽合肥一部 · 网点"
};

// Connections to the database.
struct PoolState {
    int most = 0;
    int lent = 0;
    int idle = 0;
    int waiting = 0; // requests that wait for one
    // Since the start.
    qint64 opened = 0;
    qint64 dropped = 0; // because they had broken
    qint64 statementsFound = 0; // texts whose translation was at hand, and that were translated anew
    qint64 statementsMade = 0;
};

// One client's conversation: nothing but Login is answered before a login. Used by one thread at a time.
class Session {
public:
    virtual ~Session() = default;
    // Raises wire::Error.
    virtual wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) = 0;
    virtual const wire::Identity& Identity() const noexcept = 0;
    // From another thread: makes what is running end soon with an error (connection gone, time over).
    virtual void Interrupt() noexcept = 0;
};

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
    PoolState Pool();
    // Forgets outcomes of saves that nobody will ask for any more. To be called every now and then; raises
    // wire::Error.
    void Tidy();
    void AddAccount(const NewAccount& account); // raises wire::Error (Data)
    void SetPassword(const QString& account, const QString& password);
    void SetRole(const QString& account, std::optional<Role> role); // nothing: its site tells
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

#pragma once

#include "server/storage/Checkpointer.h"
#include "server/storage/DatabaseCatalog.h"
#include "server/storage/RowReader.h"

#include <condition_variable>
#include <mutex>
#include <unordered_map>

namespace storage {

// A translation made ready on one connection.
struct PreparedStatement {
    PreparedStatement(Database& database, std::shared_ptr<const dialect::Translation> source);

    // Sets the parameters for one text and one moment.
    void Bind(const std::vector<wire::Value>& literals, wire::DateTime now);

    std::shared_ptr<const dialect::Translation> translation;
    Statement statement;
    CellBlocks scratch;
    bool openToClients = false; // the policy has been asked and agreed
    quint64 lastUse = 0;
};

// One connection to the database with its translator and its prepared statements. Used by one thread at a
// time.
class Connection {
public:
    Connection(const QString& file, std::shared_ptr<const DatabaseCatalog> catalog);

    Database& Base() noexcept { return database_; }
    const DatabaseCatalog& Catalog() const noexcept { return *catalog_; }
    // Translates one text; raises wire::Error (Syntax, Policy).
    dialect::Translated Translate(QStringView sqlText) { return translator_.Translate(sqlText); }
    // Valid until the next call. `allow` is asked once, when the statement is new to clients here, and raises
    // where they may not run it; nullptr for an administrator.
    using Policy = void(const dialect::Translation&);
    PreparedStatement& Prepare(const dialect::Translated& translated, Policy* allow);

private:
    void DropLeastUsed();

    Database database_;
    std::shared_ptr<const DatabaseCatalog> catalog_;
    dialect::Translator translator_;
    std::unordered_map<const dialect::Translation*, std::unique_ptr<PreparedStatement>> prepared_;
    quint64 uses_ = 0;
};

// Connections to one database, lent to sessions for the length of a request.
class ConnectionPool {
public:
    // A connection as long as it is lent.
    class Lease {
    public:
        Lease(ConnectionPool& pool, std::unique_ptr<Connection> connection)
            : pool_(pool)
            , connection_(std::move(connection))
        {
        }
        ~Lease() { pool_.GiveBack(std::move(connection_)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        Connection* operator->() const noexcept { return connection_.get(); }
        Connection& operator*() const noexcept { return *connection_; }

    private:
        ConnectionPool& pool_;
        std::unique_ptr<Connection> connection_;
    };

    explicit ConnectionPool(const QString& file);

    // Waits while all are lent. Raises wire::Error (Storage).
    Lease Lend();
    const DatabaseCatalog& Catalog() const noexcept { return *catalog_; }

private:
    friend class WriteTransaction;
    void GiveBack(std::unique_ptr<Connection> connection) noexcept;

    QString file_;
    std::shared_ptr<const DatabaseCatalog> catalog_;
    Checkpointer checkpointer_;
    std::mutex mutex_;
    std::condition_variable returned_;
    std::vector<std::unique_ptr<Connection>> idle_; // the last used last, its memory still warm
    int lent_ = 0;
    std::mutex writer_; // the database takes one writer at a time; here they queue instead of polling
};

// A transaction that writes, on a connection lent for it. Undone unless it is committed.
class WriteTransaction {
public:
    explicit WriteTransaction(ConnectionPool& pool);
    ~WriteTransaction();
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;
    void Commit();
    Connection* operator->() const noexcept { return lease_.operator->(); }
    Connection& operator*() const noexcept { return *lease_; }

private:
    // Waiting for the turn holds no connection: readers go on.
    std::lock_guard<std::mutex> turn_;
    ConnectionPool::Lease lease_;
    bool open_ = false;
};

} // namespace storage

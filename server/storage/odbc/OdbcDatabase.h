#pragma once

#include "server/storage/odbc/OdbcFault.h"
#include "server/storage/odbc/OdbcSettings.h"
#include "server/storage/odbc/OdbcStatement.h"

#include <QSqlDatabase>
#include <QSqlRecord>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>

namespace storage::odbc {

// One open connection of Qt SQL. Everything but Cancel and IsLost is called on the thread that made it.
class Database {
public:
    // `maxSeconds`: after so long the driver, where it can, ends a statement that nobody has stopped. Raises
    // wire::Error (Storage), TryAgain.
    Database(const Settings& settings, int maxSeconds);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    odbc::Product Product() const noexcept { return product_; }
    const QString& ProductName() const noexcept { return productName_; } // with its version
    const QString& Schema() const noexcept { return schema_; } // empty where the database did not say
    QSqlDriver& Driver() const { return *base_.driver(); }

    // A statement without parameters, once.
    void Execute(const QString& sql);
    std::optional<Fault> TryExecute(const QString& sql);
    // What the columns of a query are; nothing where it fails.
    std::optional<QSqlRecord> ColumnsOf(const QString& sql);
    // Kept for the next time; valid until the next Begin.
    Statement& Prepared(const QString& sql);
    // No reference that Prepared gave may be in use.
    void ForgetStatements() { prepared_.clear(); }
    // For a text that is not likely to come again.
    Statement Prepare(const QString& sql) { return Statement(*this, base_, sql); }

    void Begin();
    void Commit();
    void Rollback() noexcept;

    // From any thread: ends what runs as soon as driver and database allow, and whatever comes next, until
    // Resume. A connection on which a statement was stopped counts as lost.
    void Cancel() noexcept;
    void Resume() noexcept { cancelled_ = false; }
    bool IsCancelled() const noexcept { return cancelled_; }
    bool IsLost() const noexcept { return lost_; }

    // What a statement or, without one, the connection last complained of; takes note of a lost connection.
    Fault FaultOf(void* statement, const QSqlError& error);

    // While a statement runs, so that it can be cancelled. Raises (Limit) where that has happened already.
    class Running {
    public:
        Running(Database& database, void* statement);
        ~Running();
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

    private:
        Database& database_;
    };

    const int maxSeconds;

private:
    void* Handle() const;
    QString Info(quint16 which) const;
    // Settles what would otherwise depend on where the server runs.
    void SettleSession(const QString& schema);

    // Qt keeps connections by name; that of this one goes after the connection itself.
    struct Registration {
        Registration();
        ~Registration();
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        const QString name;
    };

    Registration registration_;
    QSqlDatabase base_;
    odbc::Product product_ = Product::Other;
    QString productName_;
    QString schema_;
    std::map<QString, std::unique_ptr<Statement>> prepared_;
    std::atomic<bool> lost_{false};
    std::atomic<bool> cancelled_{false};
    std::mutex mutex_; // of what follows
    void* running_ = nullptr;
    std::chrono::steady_clock::time_point nextCancel_;
};

} // namespace storage::odbc

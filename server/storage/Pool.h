#pragma once

#include "server/storage/Backend.h"
#include "server/storage/WriterTurn.h"

#include <QHash>
#include <QSemaphore>

#include <chrono>
#include <deque>
#include <mutex>
#include <unordered_map>

namespace storage {

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

// Connections to one database, lent to sessions for the length of a request. No account takes them all: it
// has half of them at most, and the last quarter goes to those that have none. A connection that is given
// back goes to whoever waits with the fewest, of those to who has waited longest.
class ConnectionPool {
    struct Share;

public:
    // A connection as long as it is lent.
    class Lease {
    public:
        Lease(ConnectionPool& pool, std::unique_ptr<Connection> connection, Share& share)
            : pool_(pool)
            , connection_(std::move(connection))
            , share_(share)
        {
        }
        ~Lease() { pool_.GiveBack(std::move(connection_), share_); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        Connection* operator->() const noexcept { return connection_.get(); }
        Connection& operator*() const noexcept { return *connection_; }

    private:
        ConnectionPool& pool_;
        std::unique_ptr<Connection> connection_;
        Share& share_;
    };

    ConnectionPool(std::unique_ptr<Backend> backend, int connections,
        std::chrono::milliseconds patience = std::chrono::seconds(30));
    ~ConnectionPool();

    // Waits while there is none for the account (the server itself has no name and takes any). Raises
    // wire::Error: Limit after `patience`; Storage, TryAgain.
    Lease Lend(const QString& account = {});
    const dialect::Catalog& Catalog() const noexcept { return *catalog_; }
    const Backend& Base() const noexcept { return *backend_; }
    PoolState State();

private:
    friend class Transaction;
    std::unique_ptr<Connection> Take(Share& share);
    void GiveBack(std::unique_ptr<Connection> connection, Share& share) noexcept;
    Share& ShareOf(const QString& account);
    bool MayTake(const Share& share) const noexcept;
    void Forget(Share& share) noexcept;
    // Where the database takes one writer at a time. Raises Limit after `patience`.
    WriterTurn::Held TurnToWrite(const QString& account);

    using Clock = std::chrono::steady_clock;
    // Shared: who wakes it may still be at it when it has gone on.
    struct Waiter {
        QSemaphore turn;
        Share* share = nullptr;
        std::unique_ptr<Connection> connection; // its own from now on; null: the place of one
    };
    struct Idle {
        std::unique_ptr<Connection> connection;
        Clock::time_point since;
    };
    bool IsStillUsable(const Idle& idle) noexcept;

    // What an account has; there while it has or wants anything.
    struct Share {
        QString account;
        int users = 0; // leases and those who wait
        int lent = 0;
    };

    std::unique_ptr<Backend> backend_;
    std::shared_ptr<const dialect::Catalog> catalog_;
    const std::chrono::milliseconds patience_;
    std::mutex mutex_;
    std::unordered_map<QString, Share> shares_;
    std::deque<std::shared_ptr<Waiter>> waiters_; // in the order of their coming
    std::vector<Idle> idle_; // the last used last, its memory still warm
    Clock::time_point lostAt_; // when a connection was last found lost: the others may be, too
    PoolState state_;
    WriterTurn writer_; // where the database takes one at a time, they queue here instead of polling
};

// A transaction that writes, on a connection lent for it. Undone unless it is committed.
class Transaction {
public:
    // Raises wire::Error as Lend does.
    explicit Transaction(ConnectionPool& pool, const QString& account = {});
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();
    Connection* operator->() const noexcept { return lease_.operator->(); }
    Connection& operator*() const noexcept { return *lease_; }

private:
    // Waiting for the turn holds no connection: readers go on.
    WriterTurn::Held turn_;
    ConnectionPool::Lease lease_;
    bool open_ = false;
};

// Runs `work(Connection&)` in a transaction and commits it; again, after a short growing pause, where the
// database undid it for a reason that passes. `named`: the work finds out itself whether it has been done
// before, so it is repeated even when the connection was lost during the commit.
template <typename Work>
void InTransaction(ConnectionPool& pool, bool named, Work&& work, const QString& account = {});
// Waits before the next attempt (counted from 1); raises what is being handled where it should not be
// repeated.
void PauseOrRethrow(int attempt, bool repeatable);

// Reads with `work(Connection&)`, and again where the connection was lost.
template <typename Work> auto Reading(ConnectionPool& pool, Work&& work)
{
    for (int attempt = 1;; ++attempt) {
        try {
            return work(*pool.Lend());
        } catch (const TryAgain&) {
            PauseOrRethrow(attempt, true);
        }
    }
}

template <typename Work>
void InTransaction(ConnectionPool& pool, bool named, Work&& work, const QString& account)
{
    for (int attempt = 1;; ++attempt) {
        bool committing = false;
        try {
            Transaction transaction(pool, account);
            work(*transaction);
            committing = true;
            transaction.Commit();
            return;
        } catch (const TryAgain& error) {
            PauseOrRethrow(attempt, named || !committing || error.Why() == TryAgain::Cause::Conflict);
        }
    }
}

} // namespace storage

#include "server/storage/Pool.h"

#include <QRandomGenerator>

#include <algorithm>
#include <thread>

namespace storage {
namespace {

// Together about six seconds: the time that a database needs to change over to its standby or to start again.
constexpr int kAttempts = 10;
constexpr int kFirstPause = 10; // milliseconds
constexpr int kLongestPause = 1000;

} // namespace

ConnectionPool::ConnectionPool(std::unique_ptr<Backend> backend, int connections)
    : backend_(std::move(backend))
    , catalog_(backend_->Catalog())
{
    state_.most = std::max(connections, 1);
}

ConnectionPool::~ConnectionPool() = default;

ConnectionPool::Lease ConnectionPool::Lend()
{
    std::vector<std::unique_ptr<Connection>> broken; // closed after the lock is released
    {
        std::unique_lock lock(mutex_);
        if (state_.lent < state_.most) {
            ++state_.lent;
        } else {
            Waiter waiter;
            waiters_.push_back(&waiter);
            waiter.turn.wait(lock, [&waiter] { return waiter.called; });
        }
        while (!idle_.empty()) {
            std::unique_ptr<Connection> connection = std::move(idle_.back());
            idle_.pop_back();
            if (connection->IsUsable())
                return {*this, std::move(connection)};
            broken.push_back(std::move(connection));
            ++state_.dropped;
        }
        ++state_.opened;
    }
    try {
        return {*this, backend_->Connect()};
    } catch (...) {
        GiveBack(nullptr);
        throw;
    }
}

void ConnectionPool::GiveBack(std::unique_ptr<Connection> connection) noexcept
{
    const bool usable = connection && connection->IsUsable();
    const auto statements = connection ? connection->TakeCounts() : dialect::Translator::Counts();
    {
        const std::lock_guard lock(mutex_);
        state_.dropped += connection && !usable ? 1 : 0;
        state_.statementsFound += static_cast<qint64>(statements.found);
        state_.statementsMade += static_cast<qint64>(statements.made);
        if (usable)
            idle_.push_back(std::move(connection));
        if (waiters_.empty()) {
            --state_.lent;
        } else {
            // Its place goes to who has waited longest, not to who comes by just now.
            Waiter* const next = waiters_.front();
            waiters_.pop_front();
            next->called = true;
            next->turn.notify_one(); // under the lock: the waiter ends with its wait
        }
    }
}

server::PoolState ConnectionPool::State()
{
    const std::lock_guard lock(mutex_);
    server::PoolState state = state_;
    state.idle = static_cast<int>(idle_.size());
    state.waiting = static_cast<int>(waiters_.size());
    return state;
}

Transaction::Transaction(ConnectionPool& pool)
    : turn_(pool.backend_->HasOneWriter() ? std::unique_lock(pool.writer_) : std::unique_lock<std::mutex>())
    , lease_(pool.Lend())
{
    lease_->Begin();
    open_ = true;
}

Transaction::~Transaction()
{
    if (open_)
        lease_->Rollback();
}

void Transaction::Commit()
{
    lease_->Commit();
    open_ = false;
}

void PauseOrRethrow(int attempt, bool repeatable)
{
    if (!repeatable || attempt >= kAttempts)
        throw;
    const int longest = std::min(kFirstPause << (attempt - 1), kLongestPause);
    // Not all at the same moment.
    const int pause = QRandomGenerator::global()->bounded(longest / 2, longest + 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(pause));
}

} // namespace storage

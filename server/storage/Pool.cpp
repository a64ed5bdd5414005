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

// A connection that was used less than that ago is lent without a look at it. If it has been lost meanwhile,
// its user finds out, as if it had happened a moment later.
constexpr std::chrono::seconds kFresh(1);

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
    std::unique_ptr<Connection> connection = Take();
    if (connection)
        return {*this, std::move(connection)};
    try {
        return {*this, backend_->Connect()};
    } catch (...) {
        GiveBack(nullptr);
        throw;
    }
}

// A place, with its connection where there is one.
std::unique_ptr<Connection> ConnectionPool::Take()
{
    std::vector<std::unique_ptr<Connection>> broken; // closed after the lock is released
    std::shared_ptr<Waiter> waiter;
    {
        const std::lock_guard lock(mutex_);
        if (state_.lent < state_.most) {
            ++state_.lent;
            while (!idle_.empty()) {
                Idle idle = std::move(idle_.back());
                idle_.pop_back();
                if (IsStillUsable(idle))
                    return std::move(idle.connection);
                broken.push_back(std::move(idle.connection));
                ++state_.dropped;
            }
            ++state_.opened;
            return nullptr;
        }
        thread_local const auto kOwn = std::make_shared<Waiter>();
        waiter = waiters_.emplace_back(kOwn);
    }
    waiter->turn.acquire();
    return std::move(waiter->connection);
}

// Looking costs more than handing over: only where something may have happened.
bool ConnectionPool::IsStillUsable(const Idle& idle) noexcept
{
    const Clock::time_point now = Clock::now();
    if (idle.since > std::max(lostAt_, now - kFresh))
        return idle.connection->IsUsable();
    const bool usable = idle.connection->IsStillUsable();
    if (!usable)
        lostAt_ = now;
    return usable;
}

void ConnectionPool::GiveBack(std::unique_ptr<Connection> connection) noexcept
{
    const bool usable = connection && connection->IsUsable();
    const auto statements = connection ? connection->TakeCounts() : dialect::Translator::Counts();
    std::shared_ptr<Waiter> next;
    {
        const std::lock_guard lock(mutex_);
        state_.statementsFound += static_cast<qint64>(statements.found);
        state_.statementsMade += static_cast<qint64>(statements.made);
        if (connection && !usable) {
            ++state_.dropped;
            lostAt_ = Clock::now();
        }
        if (!waiters_.empty()) {
            // Its place goes to who has waited longest, not to who comes by just now.
            next = std::move(waiters_.front());
            waiters_.pop_front();
            state_.opened += usable ? 0 : 1;
        } else {
            --state_.lent;
            if (usable)
                idle_.push_back({std::move(connection), Clock::now()});
        }
    }
    if (next) {
        if (usable)
            next->connection = std::move(connection);
        next->turn.release();
    }
}

PoolState ConnectionPool::State()
{
    const std::lock_guard lock(mutex_);
    PoolState state = state_;
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

#include "server/storage/Pool.h"

#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"

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

[[noreturn]] void RaiseBusy(std::chrono::milliseconds patience)
{
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(patience).count();
    throw server::RefusedError(server::RefusalReason::Busy, wire::ErrorKind::Limit,
        server::texts::ServerBusy(static_cast<int>(seconds)));
}

} // namespace

ConnectionPool::ConnectionPool(
    std::unique_ptr<Backend> backend, int connections, std::chrono::milliseconds patience)
    : backend_(std::move(backend))
    , catalog_(backend_->Catalog())
    , patience_(patience)
{
    state_.most = std::max(connections, 1);
}

ConnectionPool::~ConnectionPool() = default;

ConnectionPool::Lease ConnectionPool::Lend(const QString& account)
{
    Share& share = ShareOf(account);
    std::unique_ptr<Connection> connection = Take(share);
    try {
        if (!connection)
            connection = backend_->Connect();
    } catch (...) {
        GiveBack(nullptr, share);
        throw;
    }
    connection->LendTo(account);
    return {*this, std::move(connection), share};
}

// Counted as one who uses it, until it has given back.
ConnectionPool::Share& ConnectionPool::ShareOf(const QString& account)
{
    const std::lock_guard lock(mutex_);
    Share& share = shares_[account];
    if (share.users++ == 0)
        share.account = account;
    return share;
}

void ConnectionPool::Forget(Share& share) noexcept
{
    if (--share.users == 0)
        shares_.erase(shares_.find(share.account));
}

bool ConnectionPool::MayTake(const Share& share) const noexcept
{
    const int free = state_.most - state_.lent;
    if (free <= 0)
        return false;
    if (share.lent == 0 || share.account.isEmpty())
        return true;
    return share.lent < (state_.most + 1) / 2 && free > state_.most / 4;
}

// A place, with its connection where there is one.
std::unique_ptr<Connection> ConnectionPool::Take(Share& share)
{
    std::vector<std::unique_ptr<Connection>> broken; // closed after the lock is released
    std::shared_ptr<Waiter> waiter;
    {
        const std::lock_guard lock(mutex_);
        if (MayTake(share)) {
            ++state_.lent;
            ++share.lent;
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
        waiter->share = &share;
    }
    if (!waiter->turn.tryAcquire(1, static_cast<int>(patience_.count()))) {
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find(waiters_, waiter);
        if (found != waiters_.end()) {
            waiters_.erase(found);
            Forget(share);
            RaiseBusy(patience_);
        }
        waiter->turn.acquire(); // it came at the last moment
    }
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

void ConnectionPool::GiveBack(std::unique_ptr<Connection> connection, Share& share) noexcept
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
        --state_.lent;
        --share.lent;
        Forget(share);
        // Its place goes to one of those who wait, not to who comes by just now.
        auto chosen = waiters_.end();
        for (auto waiter = waiters_.begin(); waiter != waiters_.end(); ++waiter) {
            const Share& wanting = *(*waiter)->share;
            if ((chosen == waiters_.end() || wanting.lent < (*chosen)->share->lent) && MayTake(wanting))
                chosen = waiter;
        }
        if (chosen != waiters_.end()) {
            next = std::move(*chosen);
            waiters_.erase(chosen);
            ++state_.lent;
            ++next->share->lent;
            state_.opened += usable ? 0 : 1;
        } else if (usable) {
            idle_.push_back({std::move(connection), Clock::now()});
        }
    }
    if (next) {
        if (usable)
            next->connection = std::move(connection);
        next->turn.release();
    }
}

WriterTurn::Held ConnectionPool::TurnToWrite(const QString& account)
{
    if (!backend_->HasOneWriter())
        return {};
    WriterTurn::Held turn = writer_.Take(account, patience_);
    if (!turn)
        RaiseBusy(patience_);
    return turn;
}

PoolState ConnectionPool::State()
{
    const std::lock_guard lock(mutex_);
    PoolState state = state_;
    state.idle = static_cast<int>(idle_.size());
    state.waiting = static_cast<int>(waiters_.size());
    return state;
}

Transaction::Transaction(ConnectionPool& pool, const QString& account)
    : turn_(pool.TurnToWrite(account))
    , lease_(pool.Lend(account))
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

#include "server/storage/WriterTurn.h"

#include <algorithm>

namespace storage {

WriterTurn::Held WriterTurn::Take(const QString& account, std::chrono::milliseconds patience)
{
    std::shared_ptr<Waiter> waiter;
    {
        const std::lock_guard lock(mutex_);
        if (!taken_) {
            taken_ = true;
            Note(account);
            return Held(*this);
        }
        // Shared: who wakes it may still be at it when it has gone on.
        thread_local const auto kOwn = std::make_shared<Waiter>();
        waiter = waiters_.emplace_back(kOwn);
        waiter->account = account;
    }
    if (!waiter->turn.tryAcquire(1, static_cast<int>(patience.count()))) {
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find(waiters_, waiter);
        if (found != waiters_.end()) {
            waiters_.erase(found);
            return {};
        }
        waiter->turn.acquire(); // it came at the last moment
    }
    return Held(*this);
}

void WriterTurn::PassOn() noexcept
{
    std::shared_ptr<Waiter> next;
    {
        const std::lock_guard lock(mutex_);
        if (waiters_.empty()) {
            taken_ = false;
            lastTurn_.clear();
            return;
        }
        const auto since = [this](const std::shared_ptr<Waiter>& waiter) {
            return lastTurn_.value(waiter->account); // 0: none yet
        };
        const auto chosen = std::ranges::min_element(waiters_, {}, since);
        next = std::move(*chosen);
        waiters_.erase(chosen);
        Note(next->account);
    }
    next->turn.release();
}

int WriterTurn::Waiting()
{
    const std::lock_guard lock(mutex_);
    return static_cast<int>(waiters_.size());
}

} // namespace storage

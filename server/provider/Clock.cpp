#include "server/provider/Clock.h"

namespace server {

Clock::Clock(std::optional<wire::DateTime> start)
    : start_(start)
{
}

qint64 Clock::Elapsed() const
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started_)
        .count();
}

wire::DateTime Clock::Now() const
{
    const qint64 elapsed = Elapsed();
    if (start_)
        return {start_->seconds + elapsed};
    if (lookedUp_.load(std::memory_order_acquire) != elapsed) {
        offset_.store(wire::DateTime::Now().seconds - elapsed, std::memory_order_relaxed);
        lookedUp_.store(elapsed, std::memory_order_release);
    }
    return {offset_.load(std::memory_order_relaxed) + elapsed};
}

} // namespace server

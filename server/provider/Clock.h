#pragma once

#include "wire/DateTime.h"

#include <atomic>
#include <chrono>
#include <optional>

namespace server {

// The server's wall clock: this machine's, or one that was set at start-up and runs on from there. Safe to
// use from any thread; cheap enough for every request.
class Clock {
public:
    explicit Clock(std::optional<wire::DateTime> start);
    wire::DateTime Now() const;

private:
    qint64 Elapsed() const;

    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
    std::optional<wire::DateTime> start_;
    // What this machine's clock is ahead of the seconds since the start; looked up anew every second, because
    // turning a moment into a wall clock's time is dear.
    mutable std::atomic<qint64> offset_{0};
    mutable std::atomic<qint64> lookedUp_{-1};
};

} // namespace server

#pragma once

#include <QHash>
#include <QString>

#include <chrono>
#include <mutex>

namespace server {

// Bytes that an account's saves leave behind for good, in the audit and in the outcomes: nothing of them is
// thrown away before its time, so an account has a share of a day. Beyond it its saves are refused until time
// has passed. Safe to use from any thread.
class SaveQuota {
public:
    using Clock = std::chrono::steady_clock;

    explicit SaveQuota(qint64 aDay)
        : aDay_(aDay)
    {
    }
    // Raises wire::Error (Limit) where the share is used up.
    void Require(const QString& account, Clock::time_point now);
    // What has been stored; the last save may be more than what was left.
    void Add(const QString& account, qint64 bytes, Clock::time_point now);

private:
    struct Share {
        double used = 0; // of what still counts
        Clock::time_point at;
    };
    Share& ShareOf(const QString& account, Clock::time_point now);

    const qint64 aDay_;
    std::mutex mutex_;
    QHash<QString, Share> shares_; // as many as there are accounts
};

} // namespace server

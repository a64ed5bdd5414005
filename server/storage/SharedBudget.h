#pragma once

#include <QHash>
#include <QString>

#include <mutex>

namespace storage {

// Bytes that all clients share: of memory for requests, from their first byte to their answer; of the disk
// for replies that wait and for what is sorted. No account holds more than half, and the last quarter is for
// those that hold little. Safe to use from any thread.
class SharedBudget {
public:
    explicit SharedBudget(qint64 most)
        : most_(most)
    {
    }
    bool Take(const QString& account, qint64 bytes);
    void GiveBack(const QString& account, qint64 bytes) noexcept;

private:
    const qint64 most_;
    std::mutex mutex_;
    qint64 held_ = 0;
    QHash<QString, qint64> byAccount_;
};

} // namespace storage

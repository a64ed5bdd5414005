#pragma once

#include "wire/Budgets.h"

#include <QHash>

#include <mutex>

namespace server {

// Bytes that all clients share: of memory for requests, from their first byte to their answer; of the disk
// for replies that wait. No account holds more than half, and the last quarter is for those that hold little.
// Safe to use from any thread.
class SharedBudget {
public:
    explicit SharedBudget(qint64 most)
        : most_(most)
    {
    }
    bool Take(const QString& account, qint64 bytes);
    void GiveBack(const QString& account, qint64 bytes) noexcept;
    qint64 Held() const;

private:
    const qint64 most_;
    mutable std::mutex mutex_;
    qint64 held_ = 0;
    QHash<QString, qint64> byAccount_;
};

// What one client's request holds of it. The first bytes are every client's own. Used by one thread.
class RequestShare final : public wire::MemoryBudget {
public:
    explicit RequestShare(SharedBudget& all)
        : all_(all)
    {
    }
    ~RequestShare() override { GiveBack(); }
    RequestShare(const RequestShare&) = delete;
    RequestShare& operator=(const RequestShare&) = delete;

    void SetAccount(const QString& account);
    // Raises wire::Error (Limit).
    void Take(qint64 bytes) override;
    void GiveBack() noexcept;

private:
    SharedBudget& all_;
    QString account_;
    qint64 own_ = 0;
    qint64 taken_ = 0; // of all
};

} // namespace server

#pragma once

#include "server/storage/SharedBudget.h"
#include "wire/Budgets.h"

namespace server {

// What one client's request holds of it. The first bytes are every client's own. Used by one thread.
class RequestShare final : public wire::MemoryBudget {
public:
    explicit RequestShare(storage::SharedBudget& all)
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
    storage::SharedBudget& all_;
    QString account_;
    qint64 own_ = 0;
    qint64 taken_ = 0; // of all
};

} // namespace server

#include "server/storage/SharedBudget.h"

namespace storage {

bool SharedBudget::Take(const QString& account, qint64 bytes)
{
    const std::lock_guard lock(mutex_);
    qint64& own = byAccount_[account];
    const bool little = own + bytes <= most_ / 16;
    if (held_ + bytes > (little ? most_ : most_ - most_ / 4) || own + bytes > most_ / 2) {
        if (own == 0)
            byAccount_.remove(account);
        return false;
    }
    held_ += bytes;
    own += bytes;
    return true;
}

void SharedBudget::GiveBack(const QString& account, qint64 bytes) noexcept
{
    const std::lock_guard lock(mutex_);
    held_ -= bytes;
    const auto own = byAccount_.find(account);
    if ((*own -= bytes) == 0)
        byAccount_.erase(own);
}

} // namespace storage

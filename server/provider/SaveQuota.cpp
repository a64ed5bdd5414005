#include "server/provider/SaveQuota.h"

#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"

#include <algorithm>

namespace server {
namespace {

constexpr double kDay = 24 * 3600; // seconds

} // namespace

// What was stored counts less and less, and a day later no more.
SaveQuota::Share& SaveQuota::ShareOf(const QString& account, Clock::time_point now)
{
    Share& share = shares_[account];
    const double seconds = std::chrono::duration<double>(now - share.at).count();
    share.used = std::max(share.used - seconds / kDay * static_cast<double>(aDay_), 0.0);
    share.at = now;
    return share;
}

void SaveQuota::Require(const QString& account, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    const double over = ShareOf(account, now).used - static_cast<double>(aDay_);
    if (over < 0)
        return;
    const double minutes = over / static_cast<double>(aDay_) * kDay / 60;
    throw RefusedError(
        RefusalReason::Size, wire::ErrorKind::Limit, texts::SavedTooMuch(static_cast<int>(minutes) + 1));
}

void SaveQuota::Add(const QString& account, qint64 bytes, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    ShareOf(account, now).used += static_cast<double>(bytes);
}

} // namespace server

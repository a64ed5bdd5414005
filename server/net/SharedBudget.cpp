#include "server/net/SharedBudget.h"

#include "server/refusal/Refusal.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr qint64 kOwn = 256 << 10; // a few hundred rows; all sessions together take little by it
constexpr qint64 kAtATime = 1 << 20;

} // namespace

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

qint64 SharedBudget::Held() const
{
    const std::lock_guard lock(mutex_);
    return held_;
}

void RequestShare::SetAccount(const QString& account)
{
    GiveBack();
    account_ = account;
}

void RequestShare::Take(qint64 bytes)
{
    own_ += bytes;
    if (own_ <= kOwn + taken_)
        return;
    const qint64 more = std::max(own_ - kOwn - taken_, kAtATime);
    if (!all_.Take(account_, more))
        throw RefusedError(
            RefusalReason::Busy, wire::ErrorKind::Limit, u"服务器内存繁忙，请稍后重试，或分批保存！"_s);
    taken_ += more;
}

void RequestShare::GiveBack() noexcept
{
    if (taken_ > 0)
        all_.GiveBack(account_, taken_);
    own_ = taken_ = 0;
}

} // namespace server

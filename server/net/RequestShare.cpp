#include "server/net/RequestShare.h"

#include "server/refusal/Refusal.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr qint64 kOwn = 256 << 10; // a few hundred rows; all sessions together take little by it
constexpr qint64 kAtATime = 1 << 20;

} // namespace

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

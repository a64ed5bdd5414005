#include "server/accounts/LoginGuard.h"

#include <algorithm>

namespace server {
namespace {

using namespace std::chrono_literals;

constexpr int kFreePerAccount = 2;
constexpr int kFreePerPeer = 20; // a branch's desks share one address
// At once, of one account from one place: a host opens two connections, a test many; a guesser gets few.
constexpr int kPendingTrusted = 64;
constexpr int kPendingSuspect = 2;
constexpr auto kLongest = 300s;
constexpr auto kForgotten = 15min;
constexpr qsizetype kRecords = 10'000;

// The place without the port, which is another one for every connection.
QString PlaceOf(const QString& peer)
{
    const qsizetype colon = peer.lastIndexOf(u':');
    return colon < 0 ? peer : peer.first(colon);
}

QString AccountKey(const QString& account, const QString& peer)
{
    return account.toLower() + u'\n' + PlaceOf(peer);
}

} // namespace

void LoginGuard::Record::Count(int free, Clock::time_point now)
{
    last = now;
    ++failures;
    const int excess = failures - free;
    if (excess > 0)
        closedUntil = now + std::min<Clock::duration>(kLongest, 1s * (1 << std::min(excess - 1, 10)));
}

void LoginGuard::Forget(Clock::time_point now)
{
    records_.removeIf([now](const auto& item) { return now - item.value().last > kForgotten; });
    // Somebody invents accounts by the thousand: what is remembered of them must not fill the memory.
    if (records_.size() > kRecords)
        records_.clear();
}

int LoginGuard::Admit(const QString& account, const QString& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    if (records_.size() > kRecords / 2)
        Forget(now);
    const QString accountKey = AccountKey(account, peer);
    Clock::duration wait{};
    for (const QString& key : {accountKey, PlaceOf(peer)}) {
        Record& record = records_[key];
        if (now - record.last > kForgotten)
            record = Record{0, 0, now, {}};
        wait = std::max(wait, record.closedUntil - now);
    }
    Record& record = records_[accountKey];
    if (wait <= Clock::duration::zero()
        && record.pending >= (record.failures == 0 ? kPendingTrusted : kPendingSuspect))
        wait = 1s;
    if (wait > Clock::duration::zero())
        return static_cast<int>(std::chrono::ceil<std::chrono::seconds>(wait).count());
    ++record.pending;
    return 0;
}

void LoginGuard::Failed(const QString& account, const QString& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    Record& record = records_[AccountKey(account, peer)];
    record.Settle();
    record.Count(kFreePerAccount, now);
    // One right password later excuses no guessing: the place's own count only fades with time.
    records_[PlaceOf(peer)].Count(kFreePerPeer, now);
}

void LoginGuard::Undecided(const QString& account, const QString& peer)
{
    const std::lock_guard lock(mutex_);
    records_[AccountKey(account, peer)].Settle();
}

void LoginGuard::Succeeded(const QString& account, const QString& peer)
{
    const std::lock_guard lock(mutex_);
    Record& record = records_[AccountKey(account, peer)];
    record.Settle();
    record.failures = 0;
    record.closedUntil = {};
}

} // namespace server

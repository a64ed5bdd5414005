#include "server/accounts/LoginGuard.h"

#include <algorithm>

namespace server {
namespace {

using namespace std::chrono_literals;

constexpr int kFreePerAccount = 2;
constexpr int kFreePerPeer = 20; // a branch's desks share one address
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

void LoginGuard::Count(Record& record, Rule rule, Clock::time_point now)
{
    record.last = now;
    ++record.failures;
    const int excess = record.failures - rule.free;
    if (excess > 0)
        record.closedUntil = now + std::min<Clock::duration>(kLongest, 1s * (1 << std::min(excess - 1, 10)));
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
    const QString peerKey = PlaceOf(peer);
    Clock::duration wait{};
    for (const QString& key : {accountKey, peerKey}) {
        Record& record = records_[key];
        if (now - record.last > kForgotten)
            record = {};
        wait = std::max(wait, record.closedUntil - now);
    }
    if (wait > Clock::duration::zero())
        return static_cast<int>(std::chrono::ceil<std::chrono::seconds>(wait).count());
    Count(records_[accountKey], {kFreePerAccount}, now);
    Count(records_[peerKey], {kFreePerPeer}, now);
    return 0;
}

void LoginGuard::Succeeded(const QString& account, const QString& peer)
{
    const std::lock_guard lock(mutex_);
    records_.remove(AccountKey(account, peer));
    // The place is given back the one attempt, not its history: one right password excuses no guessing.
    Record& record = records_[PlaceOf(peer)];
    record.failures = std::max(0, record.failures - 1);
    record.closedUntil = {};
}

} // namespace server

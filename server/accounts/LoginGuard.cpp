#include "server/accounts/LoginGuard.h"

#include "server/refusal/Place.h"

#include <algorithm>

namespace server {
namespace {

using namespace std::chrono_literals;

// Failures that cost nothing, by kind of record. A branch's desks share one address; an account that is
// guessed from many places is closed for all but those it is known at.
constexpr std::array kFree{2, 20, 50};
constexpr int kKnownPending = 64; // at once, of an account that is known there: a host opens two connections
constexpr auto kLongest = 300s;
constexpr auto kForgotten = 15min;
constexpr auto kBetweenForgets = 1s; // it looks at all records
constexpr qsizetype kLongestName = 64;
constexpr qsizetype kRecords = 100'000;
constexpr qsizetype kKnown = 50'000;

// One count for all that is not known yet, once so many places are at it that no more can be told apart.
const QString kEverybodyElse = QStringLiteral("*");

} // namespace

LoginGuard::Keys LoginGuard::KeysOf(const QString& account, const QString& peer)
{
    // No account has a longer name; a sender of long ones is to fill nothing.
    const QString name = account.first(std::min<qsizetype>(account.size(), kLongestName)).toLower();
    const QString place = PlaceOf(peer);
    return {name + u'\n' + place, place, u'\n' + name};
}

LoginGuard::Admission LoginGuard::Admit(
    const QString& account, const QString& peer, Clock::time_point now, Clock::duration patience)
{
    const Keys keys = KeysOf(account, peer);
    const Clock::time_point begin = Clock::now();
    std::unique_lock lock(mutex_);
    while (true) {
        bool busy = false;
        const Admission admission = Look(keys, now + (Clock::now() - begin), busy);
        if (!busy || settled_.wait_until(lock, begin + patience) == std::cv_status::timeout)
            return admission;
    }
}

LoginGuard::Admission LoginGuard::Look(const Keys& keys, Clock::time_point now, bool& busy)
{
    if (records_.size() > kRecords / 2)
        Forget(now);
    const bool known = known_.contains(keys[AccountFromPlace]);
    const size_t kinds = known ? size_t(1) : size_t(kKinds);
    Clock::duration wait{};
    for (size_t kind = 0; kind < kinds; ++kind) {
        const Record* const found = Find(keys[kind], known);
        if (found == nullptr || (now - found->last > kForgotten && found->pending == 0))
            continue;
        wait = std::max(wait, found->closedUntil - now);
        const int free = known && found->failures == 0 ? kKnownPending : kFree[kind];
        if (found->pending >= std::max(free - found->failures, 1))
            busy = true;
    }
    if (wait > Clock::duration::zero()) {
        busy = false; // that nobody's turn ends
        return {static_cast<int>(std::chrono::ceil<std::chrono::seconds>(wait).count()), known};
    }
    if (busy)
        return {1, known};
    for (size_t kind = 0; kind < kKinds; ++kind) {
        Record& record = RecordOf(keys[kind], known && kind == AccountFromPlace);
        if (now - record.last > kForgotten && record.pending == 0)
            record = {};
        if (record.pending++ == 0 && record.failures == 0)
            record.last = now;
    }
    return {0, known};
}

const LoginGuard::Record* LoginGuard::Find(const QString& key, bool known) const
{
    auto found = records_.constFind(key);
    if (found == records_.constEnd() && !known && records_.size() >= kRecords)
        found = records_.constFind(kEverybodyElse);
    return found == records_.constEnd() ? nullptr : &*found;
}

// Those that are known somewhere are few enough to have records of their own even so.
LoginGuard::Record& LoginGuard::RecordOf(const QString& key, bool known)
{
    const auto found = records_.find(key);
    if (found != records_.end())
        return *found;
    return records_[known || records_.size() < kRecords ? key : kEverybodyElse];
}

void LoginGuard::Settle(const Keys& keys)
{
    for (const QString& key : keys) {
        auto record = records_.find(key);
        if (record == records_.end())
            record = records_.find(kEverybodyElse);
        if (record != records_.end())
            record->pending = std::max(record->pending - 1, 0);
    }
    settled_.notify_all();
}

// Only what no longer counts: failures of others forget nothing.
void LoginGuard::Forget(Clock::time_point now)
{
    if (now < nextForget_)
        return;
    nextForget_ = now + kBetweenForgets;
    records_.removeIf([now](const auto& item) {
        return (item.value().pending == 0 || item.key() == kEverybodyElse)
            && now - item.value().last > kForgotten;
    });
}

void LoginGuard::Failed(const QString& account, const QString& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    const Keys keys = KeysOf(account, peer);
    Settle(keys);
    const bool known = known_.contains(keys[AccountFromPlace]);
    for (size_t kind = 0; kind < kKinds; ++kind) {
        Record& record = RecordOf(keys[kind], known && kind == AccountFromPlace);
        record.last = now;
        const int excess = ++record.failures - kFree[kind];
        if (excess > 0)
            record.closedUntil =
                now + std::min<Clock::duration>(kLongest, 1s * (1 << std::min(excess - 1, 10)));
    }
}

void LoginGuard::Undecided(const QString& account, const QString& peer)
{
    const std::lock_guard lock(mutex_);
    Settle(KeysOf(account, peer));
}

void LoginGuard::Succeeded(const QString& account, const QString& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    const Keys keys = KeysOf(account, peer);
    Settle(keys);
    // One right password excuses no guessing of other accounts: place and account only fade with time.
    Record& record = RecordOf(keys[AccountFromPlace], true);
    record.failures = 0;
    record.closedUntil = {};
    if (known_.size() >= kKnown)
        known_.erase(std::min_element(known_.cbegin(), known_.cend()));
    known_[keys[AccountFromPlace]] = now;
}

qsizetype LoginGuard::Records() const
{
    const std::lock_guard lock(mutex_);
    return records_.size();
}

} // namespace server

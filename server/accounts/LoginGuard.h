#pragma once

#include <QHash>
#include <QString>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace server {

// Makes guessing passwords slow. Wrong logins are counted for the account from one place, for the place, and
// for the account from anywhere; beyond a few, further ones are refused without being looked at, for a time
// that doubles with each failure. A login under way counts as a wrong one until it has ended. Who has logged
// in from a place before is not held up by what others do there. Safe to use from any thread.
class LoginGuard {
public:
    using Clock = std::chrono::steady_clock;

    struct Admission {
        int wait = 0; // seconds until the caller may try again; 0: go on, and report how it ended
        bool known = false; // this account has logged in from this place before
    };

    // Waits for its turn behind logins that are under way, until `patience` is over: then it is told a
    // second.
    Admission Admit(
        const QString& account, const QString& peer, Clock::time_point now, Clock::duration patience);
    void Failed(const QString& account, const QString& peer, Clock::time_point now);
    // Nobody knows whether the password was right.
    void Undecided(const QString& account, const QString& peer);
    void Succeeded(const QString& account, const QString& peer, Clock::time_point now);
    // What is remembered; for tests.
    qsizetype Records() const;

private:
    struct Record {
        int failures = 0;
        int pending = 0; // admitted, not yet reported
        Clock::time_point last{};
        Clock::time_point closedUntil{};
    };
    // What a login is counted under.
    enum Kind : size_t { AccountFromPlace, Place, Account, kKinds };
    using Keys = std::array<QString, kKinds>;
    static Keys KeysOf(const QString& account, const QString& peer);

    Admission Look(const Keys& keys, Clock::time_point now, bool& busy);
    // Under which a key is counted; null: it is not.
    const Record* Find(const QString& key, bool known) const;
    Record& RecordOf(const QString& key, bool known);
    void Settle(const Keys& keys);
    void Forget(Clock::time_point now);

    mutable std::mutex mutex_;
    std::condition_variable settled_;
    QHash<QString, Record> records_;
    Clock::time_point nextForget_{};
    QHash<QString, Clock::time_point> known_; // accounts from places, by when they last logged in
};

} // namespace server

#pragma once

#include <QHash>
#include <QString>

#include <chrono>
#include <mutex>

namespace server {

// Makes guessing passwords slow: after a few wrong logins of an account from one place, or of any accounts
// from that place, further ones are refused without being looked at, for a time that doubles with each
// failure. Refusing costs nothing, so nobody else waits. Safe to use from any thread.
class LoginGuard {
public:
    using Clock = std::chrono::steady_clock;

    // Seconds that the caller has to wait; 0: go on, and report how it ended.
    int Admit(const QString& account, const QString& peer, Clock::time_point now);
    void Failed(const QString& account, const QString& peer, Clock::time_point now);
    // Nobody knows whether the password was right.
    void Undecided(const QString& account, const QString& peer);
    void Succeeded(const QString& account, const QString& peer);

private:
    struct Record {
        int failures = 0;
        int pending = 0; // admitted, not yet reported
        Clock::time_point last;
        Clock::time_point closedUntil;

        void Count(int free, Clock::time_point now);
        void Settle() { pending = pending > 0 ? pending - 1 : 0; }
    };
    void Forget(Clock::time_point now);

    std::mutex mutex_;
    QHash<QString, Record> records_;
};

} // namespace server

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

    // Seconds that the caller has to wait; 0: go on. An admitted attempt counts as failed until it is
    // reported as right, so that attempts side by side gain nothing.
    int Admit(const QString& account, const QString& peer, Clock::time_point now);
    void Succeeded(const QString& account, const QString& peer);

private:
    struct Record {
        int failures = 0;
        Clock::time_point last;
        Clock::time_point closedUntil;
    };
    struct Rule {
        int free; // failures without any delay
    };
    static void Count(Record& record, Rule rule, Clock::time_point now);
    void Forget(Clock::time_point now);

    std::mutex mutex_;
    QHash<QString, Record> records_;
};

} // namespace server

#pragma once

#include <QHash>
#include <QSemaphore>

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>

namespace storage {

// Who writes next, where the database takes one writer at a time: the account whose turn is longest ago, of
// its requests the one that has waited longest. So one account's many long saves hold each other up, and
// another's short one for the length of one of them. Safe to use from any thread.
class WriterTurn {
public:
    // The turn as long as it is held.
    class Held {
    public:
        Held() = default; // none is needed
        explicit Held(WriterTurn& turn)
            : turn_(&turn)
        {
        }
        Held(Held&& other) noexcept
            : turn_(std::exchange(other.turn_, nullptr))
        {
        }
        Held& operator=(Held&&) = delete;
        ~Held()
        {
            if (turn_ != nullptr)
                turn_->PassOn();
        }
        explicit operator bool() const noexcept { return turn_ != nullptr; }

    private:
        WriterTurn* turn_ = nullptr;
    };

    // Not held where others had it for `patience`.
    Held Take(const QString& account, std::chrono::milliseconds patience);
    int Waiting();

private:
    struct Waiter {
        QSemaphore turn;
        QString account;
    };
    void PassOn() noexcept;
    void Note(const QString& account) { lastTurn_[account] = ++turns_; }

    std::mutex mutex_;
    bool taken_ = false;
    std::deque<std::shared_ptr<Waiter>> waiters_; // in the order of their coming
    quint64 turns_ = 0;
    QHash<QString, quint64> lastTurn_; // since somebody waits
};

} // namespace storage

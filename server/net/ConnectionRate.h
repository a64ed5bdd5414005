#pragma once

#include <QHash>

#include <chrono>
#include <unordered_map>

namespace server {

// How fast connections come from each place: a burst, and a steady stream from then on. Used by one thread.
class ConnectionRate {
public:
    using Clock = std::chrono::steady_clock;

    // Counts one more; false where the place has begun too many.
    bool Admit(const QString& place, Clock::time_point now);
    // Forgets places that have been quiet. To be called every now and then.
    void Forget(Clock::time_point now);

private:
    struct Place {
        double begun = 0; // connections, of those that still count
        Clock::time_point at;
    };
    static void Fade(Place& place, Clock::time_point now);

    std::unordered_map<QString, Place> places_;
};

} // namespace server

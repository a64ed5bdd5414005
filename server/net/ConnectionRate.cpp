#include "server/net/ConnectionRate.h"

#include <algorithm>

namespace server {
namespace {

constexpr double kBurst = 500; // a branch's desks, all at once
constexpr double kPerSecond = 50;

} // namespace

bool ConnectionRate::Admit(const QString& place, Clock::time_point now)
{
    Place& here = places_[place];
    Fade(here, now);
    if (here.begun >= kBurst)
        return false;
    here.begun += 1;
    return true;
}

void ConnectionRate::Fade(Place& place, Clock::time_point now)
{
    const double seconds = std::chrono::duration<double>(now - place.at).count();
    place.begun = std::max(0.0, place.begun - seconds * kPerSecond);
    place.at = now;
}

void ConnectionRate::Forget(Clock::time_point now)
{
    std::erase_if(places_, [now](const auto& item) {
        Place place = item.second;
        Fade(place, now);
        return place.begun <= 0;
    });
}

} // namespace server

#pragma once

#include <QString>

// STATUS of an order: what its codes mean, and what the screens call them.
namespace company {

inline constexpr int kStatusCancelled = -1; // by the order's source or by dispatch
inline constexpr int kStatusWaiting = 0; // for a site to accept
inline constexpr int kStatusAccepted = 1;
inline constexpr int kStatusRefused = 2; // needs a reason
inline constexpr int kStatusPickedUp = 3; // waybill number bound
inline constexpr int kStatusPickupFailed = 4;
inline constexpr int kStatusInTransit = 5;
inline constexpr int kStatusDelivered = 6;
inline constexpr int kStatusDeliveryFailed = 7;
inline constexpr int kStatusDispatched = 10; // to a courier's handheld
inline constexpr int kStatusRejected = 11; // by the courier
inline constexpr int kStatusSentDown = 12; // to the handheld
inline constexpr int kStatusUnnamed = 13; // dispatch asks for it and has no name for it

// The screens do not all call a status by the same name.
enum class StatusUse { SiteScreens, OrderQuery, Dispatch, Centre };

bool IsStatus(qint64 code) noexcept; // one of the above
// The number where there is no name.
QString StatusName(int status, StatusUse use);
// An order without a status waits, but not for dispatch, where it has none.
constexpr bool NullIsWaiting(StatusUse use) noexcept
{
    return use != StatusUse::Dispatch;
}

} // namespace company

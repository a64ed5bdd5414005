#include "company/OrderStatus.h"

#include <algorithm>
#include <array>

namespace company {
namespace {

struct NamedStatus {
    int status;
    const char16_t* name;
    const char16_t* dispatchName = nullptr; // where dispatch has its own
};

constexpr std::array kStatuses = std::to_array<NamedStatus>({
    {kStatusCancelled, u"泽摩取消", u"订单取消"},
    {kStatusWaiting, u"等待接单"},
    {kStatusAccepted, u"接单成功"},
    {kStatusRefused, u"接单失败"},
    {kStatusPickedUp, u"揽件成功"},
    {kStatusPickupFailed, u"揽件失败"},
    {kStatusInTransit, u"运输途中"},
    {kStatusDelivered, u"派件成功", u"已签收"},
    {kStatusDeliveryFailed, u"派件失败"},
    {kStatusDispatched, u"已分派"},
    {kStatusRejected, u"已拒收"},
    {kStatusSentDown, u"已下发"},
});

} // namespace

bool IsStatus(qint64 code) noexcept
{
    return code == kStatusUnnamed
        || std::ranges::find(kStatuses, code, &NamedStatus::status) != kStatuses.end();
}

QString StatusName(int status, StatusUse use)
{
    const auto found = std::ranges::find(kStatuses, status, &NamedStatus::status);
    if (found == kStatuses.end())
        return QString::number(status);
    // Centres know a cancelled order as dispatch does, a delivered one as everybody else.
    const bool asDispatch =
        use == StatusUse::Dispatch || (use == StatusUse::Centre && status == kStatusCancelled);
    const char16_t* own = asDispatch ? found->dispatchName : nullptr;
    return QString::fromUtf16(own != nullptr ? own : found->name);
}

} // namespace company

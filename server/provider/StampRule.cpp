#include "server/provider/StampRule.h"

#include "company/OrderStatus.h"
#include "company/Tables.h"
#include "server/refusal/UserTexts.h"

#include <algorithm>
#include <array>

namespace server {

using storage::Cell;
using wire::IsNull;
using wire::Value;

namespace {

// A desk stamps a row when it is edited, and may save it after the weekend; its clock is the server's, give
// or take a slow connection.
constexpr qint64 kOldestStamp = 4 * 24 * 3600;
constexpr qint64 kNewestStamp = 10 * 60;

// The stamps and their occasions: a change of other columns is not looked at.
constexpr std::array kWatched{u"STATUS", u"BL_CANCEL", u"CANCEL_SITE", u"CANCEL_MAN", u"CANCEL_DATE",
    u"REC_SITE", u"ACCEPT_DATE", u"REC_BILL_MAN", u"REC_MAN", u"REC_DATE"};

std::optional<QString> RefuseUnless(bool whole, QStringView column)
{
    return whole ? std::nullopt
                 : std::optional(texts::StampIncomplete(company::OrderTable().Find(column)->caption));
}

} // namespace

StampRule::StampRule(const Caller& caller, const RowTarget& target)
    : caller_(caller)
{
    const wire::Identity& who = caller.identity;
    for (const auto& [name, text] : {std::pair(u"MODIFIER", &who.employeeName),
             std::pair(u"MODIFY_CODE", &who.employeeCode), std::pair(u"MODIFY_SITE", &who.site)}) {
        if (const dialect::CatalogColumn* column = target.Table().Find(name))
            last_.push_back({column, text->isEmpty() ? Value() : Value(*text)});
    }
    for (const char16_t* name : kWatched) {
        if (const dialect::CatalogColumn* column = target.Table().Find(name))
            watched_.push_back(column);
    }
}

std::optional<QString> StampRule::RefusalOf(const OrderChange& order) const
{
    const auto isWatched = [this](const Cell& cell) { return std::ranges::count(watched_, cell.column) > 0; };
    if (std::ranges::none_of(order.write.sets, isWatched))
        return std::nullopt;
    std::optional<QString> reason = RefusalOfCancellation(order);
    if (!reason)
        reason = RefusalOfAcceptance(order);
    if (!reason)
        reason = RefusalOfPickup(order);
    return reason;
}

// Screens of the dispatch sign a cancellation without its time and mark; what is marked already stays signed
// by whoever marked it; and who hands a courier's order back signs nothing.
std::optional<QString> StampRule::RefusalOfCancellation(const OrderChange& order) const
{
    const bool emptied =
        order.IsEmptied(u"CANCEL_SITE") || order.IsEmptied(u"CANCEL_MAN") || order.IsEmptied(u"CANCEL_DATE");
    if (emptied && (NumberOf(order.Becomes(u"BL_CANCEL")) == 1 || !IsNull(order.Becomes(u"CANCEL_DESC"))))
        return RefuseUnless(false, u"CANCEL_MAN");

    const Value* mark = order.Set(u"BL_CANCEL");
    const bool marks = mark != nullptr && NumberOf(*mark) == 1;
    if ((marks || order.IsGiven(u"CANCEL_DATE")) && !IsRecent(order.Becomes(u"CANCEL_DATE")))
        return RefuseUnless(false, u"CANCEL_DATE");
    const Value* status = order.Set(u"STATUS");
    const qint64 becomes = status != nullptr ? NumberOf(*status) : 0;
    const bool cancels = becomes == company::kStatusCancelled || becomes == company::kStatusRefused
        || becomes == company::kStatusPickupFailed;
    const bool signs = marks || cancels || order.IsGiven(u"CANCEL_DATE") || order.IsGiven(u"CANCEL_MAN")
        || order.IsGiven(u"CANCEL_SITE");
    if (!signs || IsCancelledBySender(order))
        return std::nullopt;
    const bool markedBefore = cancels && mark == nullptr && NumberOf(order.Stored(u"BL_CANCEL")) == 1;
    return RefuseUnless(markedBefore || (cancels && order.IsHandedBack()), u"CANCEL_MAN");
}

std::optional<QString> StampRule::RefusalOfAcceptance(const OrderChange& order) const
{
    if (order.IsEmptied(u"ACCEPT_DATE") && !IsNull(order.RecSiteBecomes()))
        return RefuseUnless(false, u"ACCEPT_DATE");
    const bool accepts = order.IsGiven(u"REC_SITE") || order.IsGiven(u"ACCEPT_DATE");
    if (!accepts && !order.IsGiven(u"REC_BILL_MAN"))
        return std::nullopt;
    const Value& when = order.Becomes(u"ACCEPT_DATE");
    const Value& who = order.Becomes(u"REC_BILL_MAN");
    if (IsRecent(when) && IsSender(who))
        return std::nullopt;
    // The courier list writes nothing but the driver.
    const bool toDriver = order.GoesToDriver();
    if (toDriver && !accepts)
        return std::nullopt;
    if (!IsRecent(when))
        return RefuseUnless(false, u"ACCEPT_DATE");
    return RefuseUnless(toDriver && !IsNull(who), u"REC_BILL_MAN");
}

// Who comes second to a pickup leaves the stamps of who was first.
std::optional<QString> StampRule::RefusalOfPickup(const OrderChange& order) const
{
    if (order.IsEmptied(u"REC_MAN") || order.IsEmptied(u"REC_DATE"))
        return RefuseUnless(
            IsNull(order.Becomes(u"REC_MAN")) && IsNull(order.Becomes(u"REC_DATE")), u"REC_DATE");
    const bool picksUp = order.IsGiven(u"REC_MAN") || order.IsGiven(u"REC_DATE");
    if (picksUp && !IsRecent(order.Becomes(u"REC_DATE")))
        return RefuseUnless(false, u"REC_DATE");
    if (picksUp)
        return RefuseUnless(IsSender(order.Becomes(u"REC_MAN")), u"REC_MAN");
    const Value* status = order.Set(u"STATUS");
    const bool pickedUp = status != nullptr && NumberOf(*status) == company::kStatusPickedUp;
    return RefuseUnless(!pickedUp || !IsNull(order.Becomes(u"REC_MAN")), u"REC_MAN");
}

// By the name, or by the account, which is what dispatch writes.
bool StampRule::IsCancelledBySender(const OrderChange& order) const
{
    const QStringView man = TextOf(order.Becomes(u"CANCEL_MAN"));
    return TextOf(order.Becomes(u"CANCEL_SITE")) == caller_.identity.site
        && (man == caller_.identity.employeeName || man == caller_.identity.account);
}

bool StampRule::IsSender(const Value& name) const
{
    return !IsNull(name) && TextOf(name) == caller_.identity.employeeName;
}

bool StampRule::IsRecent(const Value& value) const
{
    const auto* moment = std::get_if<wire::DateTime>(&value);
    return moment != nullptr && moment->seconds >= caller_.now.seconds - kOldestStamp
        && moment->seconds <= caller_.now.seconds + kNewestStamp;
}

} // namespace server

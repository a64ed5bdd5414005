#pragma once

#include "server/provider/OrderChange.h"

namespace server {

// Who did what to an order, and when. The last change is stamped by the server; the other stamps come from
// the desk, and come whole: what says that something was done says also who did it, and when.
class StampRule {
public:
    StampRule(const Caller& caller, const RowTarget& target);

    // MODIFIER, MODIFY_CODE and MODIFY_SITE: left as its sender read them, they may be another's by then.
    const std::vector<storage::Cell>& Last() const noexcept { return last_; }
    // Why the stamps of this change do not fit each other; nothing where they do. Each by itself has been
    // judged before.
    std::optional<QString> RefusalOf(const OrderChange& order) const;
    // A time at which a desk may have done what it saves now.
    bool IsRecent(const wire::Value& value) const;

private:
    std::optional<QString> RefusalOfCancellation(const OrderChange& order) const;
    std::optional<QString> RefusalOfAcceptance(const OrderChange& order) const;
    std::optional<QString> RefusalOfPickup(const OrderChange& order) const;
    bool IsCancelledBySender(const OrderChange& order) const;
    bool IsSender(const wire::Value& name) const;

    const Caller& caller_;
    std::vector<storage::Cell> last_;
    std::vector<const dialect::CatalogColumn*> watched_;
};

} // namespace server

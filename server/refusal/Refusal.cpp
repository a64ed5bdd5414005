#include "server/refusal/Refusal.h"

#include <array>

namespace server {

const char* NameOf(RefusalReason reason) noexcept
{
    static constexpr std::array<const char*, kRefusalReasons> kNames{"sessions", "stopping", "login_time",
        "idle_time", "frame_time", "protocol", "size", "tls", "login", "login_rate", "not_logged_in",
        "syntax", "policy", "site", "data", "rows", "statement_time", "busy"};
    return kNames[static_cast<size_t>(reason)];
}

std::optional<RefusalReason> RefusalOf(const wire::Error& error) noexcept
{
    if (const auto* refused = dynamic_cast<const RefusedError*>(&error))
        return refused->Reason();
    switch (error.Kind()) {
    case wire::ErrorKind::Protocol:
    case wire::ErrorKind::Usage:
        return RefusalReason::Protocol;
    case wire::ErrorKind::Login:
        return RefusalReason::NotLoggedIn;
    case wire::ErrorKind::Syntax:
        return RefusalReason::Syntax;
    case wire::ErrorKind::Policy:
        return RefusalReason::Policy;
    case wire::ErrorKind::Data:
    case wire::ErrorKind::Conflict:
        return RefusalReason::Data;
    case wire::ErrorKind::Limit:
        return RefusalReason::Size;
    case wire::ErrorKind::Connection:
    case wire::ErrorKind::Storage:
    case wire::ErrorKind::Cancelled:
        break;
    }
    return std::nullopt;
}

} // namespace server

#include "server/operation/Operation.h"

#include <vector>

namespace server::operation {

void Operation::Refuse(Refusal reason, std::initializer_list<LogField> fields) noexcept
{
    metrics.Refused(reason);
    log.Refused(NameOf(reason), fields);
}

std::optional<Refusal> RefusalOf(wire::ErrorKind kind) noexcept
{
    switch (kind) {
    case wire::ErrorKind::Protocol:
    case wire::ErrorKind::Usage:
        return Refusal::Protocol;
    case wire::ErrorKind::Login:
        return Refusal::NotLoggedIn;
    case wire::ErrorKind::Syntax:
        return Refusal::Syntax;
    case wire::ErrorKind::Policy:
        return Refusal::Policy;
    case wire::ErrorKind::Data:
    case wire::ErrorKind::Conflict:
        return Refusal::Data;
    case wire::ErrorKind::Limit:
        return Refusal::StatementTime;
    case wire::ErrorKind::Connection:
    case wire::ErrorKind::Storage:
        break;
    }
    return std::nullopt;
}

} // namespace server::operation

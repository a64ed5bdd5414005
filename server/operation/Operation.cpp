#include "server/operation/Operation.h"

namespace server::operation {

void Operation::Refuse(Refusal reason, std::initializer_list<LogField> fields) noexcept
{
    metrics.Refused(reason);
    log.Refused(NameOf(reason), fields);
}

std::optional<Refusal> RefusalOf(const wire::Error& error) noexcept
{
    if (const auto* refused = dynamic_cast<const RefusedError*>(&error))
        return refused->Reason();
    switch (error.Kind()) {
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
        return Refusal::Size;
    case wire::ErrorKind::Connection:
    case wire::ErrorKind::Storage:
        break;
    }
    return std::nullopt;
}

} // namespace server::operation

#include "server/monitoring/Monitor.h"

namespace server::monitoring {

void Monitor::Refuse(RefusalReason reason, std::initializer_list<LogField> fields) noexcept
{
    metrics.Refused(reason);
    log.Refused(NameOf(reason), fields);
}

} // namespace server::monitoring

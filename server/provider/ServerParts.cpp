#include "server/provider/ServerParts.h"

#include "server/provider/DemoData.h"
#include "server/provider/Outcomes.h"

namespace server {

ServerParts::ServerParts(const Options& given)
    : options(given)
    , clock(given.now)
    , pool(given.open(OpenOptionsFrom(given, clock.Now())), given.connections)
    , accounts(pool)
    , sites(pool, std::chrono::seconds(given.permissionSeconds))
{
    storage::InTransaction(pool, true, ForgetOldOutcomes);
}

} // namespace server

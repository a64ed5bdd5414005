#include "server/provider/ServerParts.h"

#include "server/provider/DemoData.h"

namespace server {

ServerParts::ServerParts(const Options& given)
    : options(given)
    , clock(given.now)
    , pool(given.open(OpenOptionsFrom(given, clock.Now())), given.connections,
          std::chrono::seconds(given.waitSeconds))
    , accounts(pool)
    , sites(pool, std::chrono::seconds(given.permissionSeconds))
{
}

} // namespace server

#include "server/provider/ServerParts.h"

#include "server/provider/DemoData.h"

namespace server {

ServerParts::ServerParts(const Options& chosen)
    : options(chosen)
    , clock(chosen.now)
    , pool(chosen.open(OpenOptionsFrom(chosen, clock.Now())), chosen.connections,
          std::chrono::seconds(chosen.waitSeconds))
    , accounts(pool)
    , sites(pool, std::chrono::seconds(chosen.permissionSeconds))
    , saves(chosen.savedBytesADay)
{
}

} // namespace server

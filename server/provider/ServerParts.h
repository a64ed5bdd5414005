#pragma once

#include "server/accounts/Accounts.h"
#include "server/provider/Clock.h"
#include "server/provider/Options.h"
#include "server/provider/Outcomes.h"
#include "server/provider/SaveQuota.h"
#include "server/provider/SiteScope.h"
#include "server/storage/Pool.h"

namespace server {

// What the sessions of one server share.
struct ServerParts {
    explicit ServerParts(const Options& options);

    Options options;
    Clock clock;
    storage::ConnectionPool pool;
    Accounts accounts;
    SiteDirectory sites;
    OutcomeTidier outcomes;
    SaveQuota saves;
};

} // namespace server

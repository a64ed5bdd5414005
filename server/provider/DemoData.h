#pragma once

#include "server/accounts/Account.h"
#include "server/provider/Options.h"
#include "server/storage/Pool.h"

#include <vector>

namespace server {

// How the options want a database opened: with the rows of a demo company, where they ask for one.
storage::OpenOptions OpenOptionsFrom(const Options& options, wire::DateTime now);

// The logins of the demo company that a database still has; none where it holds other data. Raises
// wire::Error.
std::vector<DemoAccount> DemoAccountsIn(storage::ConnectionPool& pool);

} // namespace server

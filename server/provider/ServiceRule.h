#pragma once

#include "server/provider/RowRule.h"

namespace server {

// The services of sites: those of the account's own sites, or of all; only some accounts open sites for
// marketplace orders.
class ServiceRule final : public RowRule {
public:
    ServiceRule(const Permissions& permissions, const RowTarget& target);
    std::optional<QString> RefusalOf(
        const storage::RowWrite& write, storage::RowWriter& stored) const override;

private:
    bool IsOpen(const storage::RowWrite& write, storage::RowWriter& stored) const;
    std::optional<QString> RefusalOfLeaving(const storage::RowWrite& write, storage::RowWriter& stored) const;

    const bool allSites_;
    const Permissions& permissions_;
    const dialect::CatalogColumn* site_;
    const dialect::CatalogColumn* open_;
    const size_t key_; // of the site's name in the primary key
    const TargetColumn* openAt_; // nullptr where the log lacks the column
    std::vector<const dialect::CatalogColumn*> keys_;
};

} // namespace server

#pragma once

#include "server/dialect/Dialect.h"
#include "server/provider/SiteScope.h"
#include "wire/Messages.h"

namespace server {

// What one account may do: every role reads the company's tables and nothing else; what it writes is up to
// its role, by table here and by row in RowRule. Asked for each request. All raise wire::Error (Policy).
class Permissions {
public:
    Permissions() = default; // nothing may be written
    Permissions(
        Role role, const QString& userType, std::shared_ptr<const SiteTree> tree, const QString& site);

    // One select over company tables.
    static void RequireQuery(const dialect::Translation& translation);
    // One update: reaches rows of any site, so it is for the headquarters.
    void RequireUpdate(const dialect::Translation& translation) const;
    // A change log against the table that its query names.
    void RequireChanges(const dialect::Translation& query) const;

    Role TheRole() const noexcept { return role_; }
    // May open sites for marketplace orders, and settle the services of all sites.
    bool OpensSites() const noexcept { return opensSites_; }
    const SiteScope& Sites() const noexcept { return sites_; }
    bool Exists(const QString& site) const { return tree_ != nullptr && tree_->Find(site) != nullptr; }

private:
    Role role_ = Role::Reader;
    bool opensSites_ = false;
    std::shared_ptr<const SiteTree> tree_;
    SiteScope sites_;
};

} // namespace server

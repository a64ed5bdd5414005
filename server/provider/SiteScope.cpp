#include "server/provider/SiteScope.h"

#include "company/Headquarters.h"

#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace server {
SiteTree::SiteTree(std::vector<Site> sites)
    : sites_(std::move(sites))
{
    for (qsizetype i = 0; i < static_cast<qsizetype>(sites_.size()); ++i) {
        const Site& site = sites_[static_cast<size_t>(i)];
        byName_.insert(site.name, i);
        bySuperior_.insert(site.superior, i);
    }
}

const Site* SiteTree::Find(const QString& name) const
{
    const auto found = byName_.constFind(name);
    return found != byName_.constEnd() ? &sites_[static_cast<size_t>(*found)] : nullptr;
}

std::vector<QString> SiteTree::Under(const QString& name) const
{
    if (name.isEmpty())
        return {};
    std::vector<QString> sites{name};
    QSet<QString> seen{name};
    for (size_t next = 0; next < sites.size(); ++next) {
        const auto [begin, end] = bySuperior_.equal_range(sites[next]);
        for (auto child = begin; child != end; ++child) {
            const QString& below = sites_[static_cast<size_t>(*child)].name;
            if (!below.isEmpty() && !seen.contains(below)) {
                seen.insert(below);
                sites.push_back(below);
            }
        }
    }
    std::ranges::sort(sites);
    return sites;
}

Role SiteTree::RoleAt(const QString& name) const
{
    if (name == company::kHeadquarters)
        return Role::Headquarters;
    const Site* site = Find(name);
    const bool centre =
        name.contains(company::kCentreType) || (site != nullptr && site->type.contains(company::kCentreType));
    return centre ? Role::Centre : Role::Clerk;
}

std::shared_ptr<const SiteTree> SiteDirectory::Current()
{
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = Clock::now();
    if (tree_ && now - readAt_ < maxAge_)
        return tree_;
    using enum wire::ColumnType;
    constexpr std::array types{Text, Text, Text, Text};
    std::vector<Site> sites;
    const auto rows = storage::Reading(pool_, [&types](storage::OwnStatements& statements) {
        return statements.Select(
            "select SITE_NAME, SUPERIOR_SITE, TYPE, SUPERIOR_FINANCE_CENTER from tab_site", {}, types);
    });
    for (const storage::Row& row : rows) {
        const auto text = [&row](size_t column) { return wire::ToText(row[column]); };
        sites.push_back({text(0), text(1), text(2), text(3)});
    }
    tree_ = std::make_shared<const SiteTree>(std::move(sites));
    readAt_ = now;
    return tree_;
}

SiteScope::SiteScope(const SiteTree& tree, const QString& site)
    : own_(tree.Under(site))
{
    // Where the screens let a centre dispatch, its region begins at its finance centre.
    const Site* known = tree.Find(site);
    if (known != nullptr && known->type == company::kCentreType)
        dispatched_ = tree.Under(known->financeCenter);
}

bool SiteScope::Contains(const std::vector<QString>& sites, QStringView site) noexcept
{
    const auto found =
        std::ranges::lower_bound(sites, site, {}, [](const QString& name) { return QStringView(name); });
    return found != sites.end() && *found == site;
}

} // namespace server

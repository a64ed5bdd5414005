#pragma once

#include "server/accounts/Role.h"
#include "server/storage/Pool.h"

#include <QHash>

#include <chrono>

namespace server {

struct Site {
    QString name;
    QString superior;
    QString type; // "网点", "中心", …
    QString financeCenter;
};

// All sites of the company. Does not change.
class SiteTree {
public:
    explicit SiteTree(std::vector<Site> sites);

    const Site* Find(const QString& name) const;
    // The site and every site below it, sorted; just the name itself where no such site is known. Superiors
    // that go round in a circle end the walk.
    std::vector<QString> Under(const QString& name) const;
    // Of an account at this site that has not been given one.
    Role RoleAt(const QString& name) const;

private:
    std::vector<Site> sites_;
    QHash<QString, qsizetype> byName_;
    QMultiHash<QString, qsizetype> bySuperior_;
};

// The tree as the database has it, read again when it has grown old. Safe to use from any thread.
class SiteDirectory {
public:
    using Clock = std::chrono::steady_clock;

    SiteDirectory(storage::ConnectionPool& pool, Clock::duration maxAge)
        : pool_(pool)
        , maxAge_(maxAge)
    {
    }
    // Lends itself a connection where it has to read. Raises wire::Error (Storage, TryAgain).
    std::shared_ptr<const SiteTree> Current();

private:
    storage::ConnectionPool& pool_;
    const Clock::duration maxAge_;
    std::mutex mutex_;
    std::shared_ptr<const SiteTree> tree_;
    Clock::time_point readAt_;
};

// The sites whose rows an account has to do with.
class SiteScope {
public:
    SiteScope() = default; // none
    SiteScope(const SiteTree& tree, const QString& site);

    // The account's own site, or one under it.
    bool Has(QStringView site) const noexcept { return Contains(own_, site); }
    // Has, or one that the account's screens dispatch orders for: at a centre, all under its finance centre.
    bool Dispatches(QStringView site) const noexcept { return Has(site) || Contains(dispatched_, site); }

private:
    static bool Contains(const std::vector<QString>& sites, QStringView site) noexcept;

    std::vector<QString> own_;
    std::vector<QString> dispatched_;
};

} // namespace server

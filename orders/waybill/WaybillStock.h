#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

#include <functional>
#include <optional>

// Whose stock a site's waybill numbers come from, and what a number must therefore have been issued to.

struct TStockSite {
    QString name;
    QString type;
    qint64 material = 0; // BL_MATERIAL; 1: has waybill stock of its own
    QString sharedWith{}; // SITEMATERIAL: further sites whose stock counts, separated by ","
    QString financeCenter{}; // SUPERIOR_FINANCE_CENTER
};

// The site in the current row of a dataset of sites.
TStockSite StockSiteIn(const TClientDataSetEx& sites);

// "'site'" or "'site','a','b'".
QString StockSiteList(const TStockSite& site);

// The question to the stock, and what the user is told when the number was not issued.
struct TIssueCheck {
    QString number;
    QString siteList;
    QString failure;
};

// What is to be asked for a number used at the site; nothing where nobody answers for the site's numbers.
// `findSite` looks a site up by name.
std::optional<TIssueCheck> IssueCheckFor(const QString& billCode, const TStockSite& site,
    const std::function<std::optional<TStockSite>(const QString& name)>& findSite);

// The same for the login site, asked of the server: what the user is told; empty when the number may be used.
// Raises wire::Error.
QString IssueComplaint(const QString& billCode, const QString& loginSite);

#include "orders/waybill/WaybillStock.h"

#include "module/data/HostBridge.h"
#include "module/data/SqlText.h"
#include "module/data/dm_GlobalData.h"
#include "orders/record/OrderStamps.h"
#include "orders/waybill/WaybillChecks.h"

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<TStockSite> FindSite(const QString& name)
{
    TClientDataSetEx& sites = *dm_GlobalData->AllSite;
    if (!sites.Locate(u"SITE_NAME", {name}))
        return std::nullopt;
    return StockSiteIn(sites);
}

} // namespace

TStockSite StockSiteIn(const TClientDataSetEx& sites)
{
    return {
        .name = TextOf(sites, u"SITE_NAME"),
        .type = TextOf(sites, u"TYPE"),
        .material = sites.FieldByName(u"BL_MATERIAL").AsInteger(),
        .sharedWith = TextOf(sites, u"SITEMATERIAL"),
        .financeCenter = TextOf(sites, u"SUPERIOR_FINANCE_CENTER"),
    };
}

QString StockSiteList(const TStockSite& site)
{
    QString list = QuotedStr(site.name);
    if (!site.sharedWith.isEmpty())
        list += u",'"_s + QString(site.sharedWith).replace(u","_s, u"','"_s) + u"'"_s;
    return list;
}

std::optional<TIssueCheck> IssueCheckFor(const QString& billCode, const TStockSite& site,
    const std::function<std::optional<TStockSite>(const QString& name)>& findSite)
{
    const QString number = billCode.trimmed();
    const QString withoutCheckDigit = WithoutCheckDigit(number);
    const QString notIssued = u"详细：此面单没有发放，不能进行扫描！"_s;
    if (site.type == u"同行"_s && site.material == 0)
        return std::nullopt;
    if (site.financeCenter.isEmpty()) {
        if (site.material != 1)
            return std::nullopt;
        return TIssueCheck{withoutCheckDigit, StockSiteList(site), notIssued};
    }
    if (site.material == 1)
        return TIssueCheck{number, StockSiteList(site), u"详细：此面单没有发放，不能进行收件扫描！"_s};
    const std::optional<TStockSite> center = findSite(site.financeCenter);
    if (!center || center->material != 1)
        return std::nullopt;
    return TIssueCheck{withoutCheckDigit, StockSiteList(*center), notIssued};
}

QString IssueComplaint(const QString& billCode, const QString& loginSite)
{
    TStockSite site = StockSiteIn(GlobalCds(u"loginSite"_s));
    site.name = loginSite;
    const auto check = IssueCheckFor(billCode, site, FindSite);
    if (!check || WaybillIssued(check->number, check->siteList))
        return {};
    return check->failure;
}

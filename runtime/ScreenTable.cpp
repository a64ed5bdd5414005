#include "runtime/ScreenTable.h"

#include <algorithm>
#include <array>

namespace {

constexpr const char16_t* kSiteMenu = u"网点业务(&B)";
constexpr const char16_t* kDispatchMenu = u"调度分派(&D)";
constexpr const char16_t* kReportMenu = u"查询统计(&Q)";
constexpr std::array kMenus{kSiteMenu, kDispatchMenu, kReportMenu};
constexpr bool kBuilt = true;

constexpr auto kScreens = std::to_array<TScreenInfo>({
    {"Tfrm_Site", u"网点揽派区/县", kSiteMenu, u"Ctrl+Shift+2", "", "site", kBuilt},
    {"Tfrm_BillQuery", u"泽摩订单查询", kReportMenu, u"Ctrl+3", "", "query", kBuilt},
    {"Tfrm_AcceptBill", u"网点接单", kSiteMenu, u"Ctrl+1", "000", "accept", kBuilt},
    {"Tfrm_RecBill", u"网点揽件", kSiteMenu, u"Ctrl+2", "000", "pickup", kBuilt},
    {"Tfrm_UnDispartBill", u"未分件泽摩订单", kDispatchMenu, u"Ctrl+4", "000", "distribution", kBuilt},
    {"Tfrm_UnAccept", u"未接单查询", kReportMenu, u"Ctrl+Shift+4", "000", "unaccept", kBuilt},
    {"Tfrm_UnRec", u"未揽件查询", kReportMenu, u"Ctrl+Shift+5", "000", "unrec", kBuilt},
    {"Tfrm_Collect", u"汇总分析", kReportMenu, u"Ctrl+Shift+6", "", "collect", kBuilt},
    {"Tfrm_CenterChange", u"", kDispatchMenu, u"", ""},
    {"Tfrm_Collect1", u"", kReportMenu, u"", ""},
    {"Tfrm_CustomQry", u"", kReportMenu, u"", ""},
    {"Tfrm_Customer", u"", kReportMenu, u"", ""},
    {"Tfrm_NewCustomer", u"", kReportMenu, u"", ""},
    {"Tfrm_CenterBillQuery", u"泽摩订单查询", kReportMenu, u"Ctrl+Shift+3", "", "centre-query", kBuilt,
        u"（中心）"},
    {"Tfrm_CenterBillBack", u"中心订单撤销", kDispatchMenu, u"Ctrl+9", "001", "revocation", kBuilt},
    {"Tfrm_YDOrderQuery", u"", kReportMenu, u"", ""},
    {"Tfrm_CustomerAndStie", u"", kReportMenu, u"", ""},
    {"Tfrm_RecBillQuery", u"网点揽件查询", kSiteMenu, u"Ctrl+Shift+1", "001", "correction", kBuilt},
    {"Tfrm_order_pda", u"订单录入", kDispatchMenu, u"Ctrl+5", "", "entry", kBuilt},
    {"Tfrm_order_pda_control", u"订单分派", kDispatchMenu, u"Ctrl+6", "", "dispatch", kBuilt},
    {"Tfrm_order_pda_EMP", u"订单查询", kDispatchMenu, u"Ctrl+7", "", "worklist", kBuilt},
    {"Tfrm_order_pda_depute", u"订单委托", kDispatchMenu, u"Ctrl+8", "", "entrust", kBuilt},
});

} // namespace

std::span<const char16_t* const> ScreenMenus()
{
    return kMenus;
}

std::span<const TScreenInfo> ScreenTable()
{
    return kScreens;
}

const TScreenInfo* FindScreenInfo(std::string_view name)
{
    const auto* row = std::ranges::find(kScreens, name, &TScreenInfo::Name);
    return row == kScreens.end() ? nullptr : row;
}

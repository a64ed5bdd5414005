#include "module/Registry.h"

#include "orders/frm_AcceptBill.h"
#include "orders/frm_RecBill.h"
#include "reports/frm_BillQuery.h"

#include <algorithm>
#include <array>

namespace {

template <typename TScreenClass> Tfrm_Basic* Create(QObject* owner)
{
    return new TScreenClass(owner);
}

constexpr std::array<TScreenEntry, 22> kScreens{{
    {"frm_Site"},
    {"frm_BillQuery", {}, Create<Tfrm_BillQuery>},
    {"frm_AcceptBill", "000", Create<Tfrm_AcceptBill>},
    {"frm_RecBill", "000", Create<Tfrm_RecBill>},
    {"frm_UnDispartBill", "000"},
    {"frm_UnAccept", "000"},
    {"frm_UnRec", "000"},
    {"frm_Collect"},
    {"frm_CenterChange"},
    {"frm_Collect1"},
    {"frm_CustomQry"},
    {"frm_Customer"},
    {"frm_NewCustomer"},
    {"frm_CenterBillQuery"},
    {"frm_CenterBillBack", "001"},
    {"frm_YDOrderQuery"},
    {"frm_CustomerAndStie"},
    {"frm_RecBillQuery", "001"},
    {"frm_order_pda"},
    {"frm_order_pda_control"},
    {"frm_order_pda_EMP"},
    {"frm_order_pda_depute"},
}};

std::array<Tfrm_Basic*, kScreens.size()> openScreens{};

} // namespace

std::span<const TScreenEntry> ScreenTable()
{
    return kScreens;
}

const TScreenEntry* FindScreen(std::string_view name)
{
    const auto* entry = std::find_if(
        kScreens.begin(), kScreens.end(), [&](const TScreenEntry& known) { return known.name == name; });
    return entry != kScreens.end() && entry->create ? entry : nullptr;
}

Tfrm_Basic*& ScreenVariable(const TScreenEntry& entry)
{
    return openScreens[static_cast<size_t>(&entry - kScreens.data())];
}

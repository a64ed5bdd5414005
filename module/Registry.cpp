#include "module/Registry.h"

#include "dispatch/frm_CenterBillBack.h"
#include "dispatch/frm_UnDispartBill.h"
#include "dispatch/frm_order_pda.h"
#include "dispatch/frm_order_pda_EMP.h"
#include "dispatch/frm_order_pda_control.h"
#include "dispatch/frm_order_pda_depute.h"
#include "orders/frm_AcceptBill.h"
#include "orders/frm_RecBill.h"
#include "orders/frm_RecBillQuery.h"
#include "orders/frm_Site.h"
#include "reports/frm_BillQuery.h"
#include "reports/frm_CenterBillQuery.h"
#include "reports/frm_Collect.h"
#include "reports/frm_UnAccept.h"
#include "reports/frm_UnRec.h"

#include <algorithm>
#include <array>

namespace {

// The row of the screen table is found by the name of the class.
template <typename TScreenClass> TScreenSlot Slot()
{
    return {FindScreenInfo(TScreenClass::staticMetaObject.className() + 1),
        [](QObject* owner) -> Tfrm_Basic* { return MakeScreen<TScreenClass>(owner); }};
}

} // namespace

std::span<TScreenSlot> ScreenSlots()
{
    static std::array slots{
        Slot<Tfrm_Site>(),
        Slot<Tfrm_BillQuery>(),
        Slot<Tfrm_AcceptBill>(),
        Slot<Tfrm_RecBill>(),
        Slot<Tfrm_RecBillQuery>(),
        Slot<Tfrm_UnDispartBill>(),
        Slot<Tfrm_order_pda_control>(),
        Slot<Tfrm_order_pda_EMP>(),
        Slot<Tfrm_order_pda_depute>(),
        Slot<Tfrm_UnAccept>(),
        Slot<Tfrm_UnRec>(),
        Slot<Tfrm_Collect>(),
        Slot<Tfrm_CenterBillBack>(),
        Slot<Tfrm_CenterBillQuery>(),
        Slot<Tfrm_order_pda>(),
    };
    return slots;
}

TScreenSlot* FindScreenSlot(std::string_view name)
{
    const std::span<TScreenSlot> slots = ScreenSlots();
    const auto slot =
        std::ranges::find_if(slots, [&](const TScreenSlot& known) { return known.info->Name() == name; });
    return slot == slots.end() ? nullptr : &*slot;
}

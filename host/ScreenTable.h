#pragma once

#include <QStringView>

#include <array>

// The module's screens as the menus offer them; the table grows with the module.
struct TScreenEntry {
    QStringView name; // as `exec` knows it
    QStringView caption;
    QStringView subsystem; // menu
    QStringView shortcut; // portable text; may be empty
};

inline constexpr std::array kScreens{
    TScreenEntry{u"frm_AcceptBill", u"网点接单", u"网点业务(&B)", u"Ctrl+1"},
    TScreenEntry{u"frm_RecBill", u"网点揽件", u"网点业务(&B)", u"Ctrl+2"},
    TScreenEntry{u"frm_BillQuery", u"泽摩订单查询", u"查询统计(&Q)", u"Ctrl+3"},
};

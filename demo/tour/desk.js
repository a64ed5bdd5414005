// Between two windows and between two days: the list of screens on an empty desk, a window among others, and
// the windows of last time.

chapter("空的主窗口");
{
    host.login(BRANCH.account, PASSWORD);
    assertEqual(host.screens(), []);
    const list = host.control("StartList");
    assert(list.visible && list.hasFocus, "the screens are offered to the keyboard");
    host.screenshot("start.png");
    list.key("Down");
    list.key("Down");
    list.key("Enter");
    assertEqual(host.screens(), ["frm_RecBill"]);
    assert(!list.visible);
}

chapter("上次的窗口");
{
    host.key("Ctrl+3");
    host.reopenScreens(true);
    host.login(RIVAL.account, PASSWORD);
    assertEqual(host.screens(), [], "every account has a desk of its own");
    host.login(BRANCH.account, PASSWORD);
    assertEqual(host.screens(), ["frm_RecBill", "frm_BillQuery"]);
    assertEqual(host.screen("泽摩订单查询").control("项目").name, "DBComboBoxEh2");
    host.screenshot("reopened.png");
    host.reopenScreens(false);
    assert(host.closeAll());
}

// A centre revokes orders whose pickup cannot be made, and looks over the orders of every site with what their
// waybills say; a branch sees its own.

chapter("中心订单撤销");
host.login(CENTRE.account, PASSWORD);
host.key("Ctrl+9");
{
    const screen = host.screen("frm_CenterBillBack");
    assertEqual(screen.rights(), "001", "whatever the caller gives");
    const list = screen.grid("DataView1");
    screen.control("开始").text = daysAgo(9) + " 00:00:00";
    screen.control("结束").text = daysAgo(0) + " 23:59:59";
    screen.control("订单状态").text = "揽件成功";
    assertEqual(screen.control("项目").text, "泽摩");
    host.key("F5");
    const told = host.serverSql("select i.TX_LOGISTIC_ID from tab_zelmor_instruction i where"
        + " i.INFO_CONTENT='GOT'").map(row => row.TX_LOGISTIC_ID);
    const find = reported => {
        for (let row = 0; row < list.rowCount; ++row) {
            if (told.includes(list.value(row, "TX_LOGISTIC_ID")) === reported)
                return row;
        }
        assert(false, "no such order");
    };
    const revoke = (row, reason) => {
        list.edit(row, "CANCEL_DESC", reason);
        list.key(row + 1 < list.rowCount ? "Down" : "Up");
    };

    const reported = find(true);
    expectMessage("详细：该订单已在运输中，不能撤消！", () => revoke(reported, "禁运品"));
    assertEqual(list.current, reported, "the row waits");
    list.key("Esc");
    list.key("Esc");
    assertEqual(list.value(reported, "STATUS"), 3);

    const row = find(false);
    const number = list.value(row, "TX_LOGISTIC_ID");
    host.clearMessages();
    revoke(row, "虚假揽收地址");
    assertEqual(host.messages().length, 0);
    assertEqual(list.cell(row, "STATUS"), "揽件失败");
    assertEqual(order(number).STATUS, 3, "nothing is sent before saving");
    host.screenshot("revocation.png");

    // Somebody was faster: nothing is overwritten, and the row says why.
    const branch = host.otherSession(HEADQUARTERS.account, PASSWORD);
    branch.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number), { STATUS: 5 });
    host.clearMessages();
    host.key("Ctrl+S");
    assert(lastMessage().startsWith("详细："));
    assertEqual(order(number).STATUS, 5);
    host.screenshot("revocation-refused.png");
    branch.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number),
        { STATUS: 3, REC_MAN: branch.employeeName, REC_DATE: host.serverTime });
    host.answer("yes");
    host.key("F5");
    revoke(rowOf(list, number), "虚假揽收地址");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    const revoked = order(number);
    assertEqual([revoked.STATUS, revoked.BL_CANCEL, revoked.CANCEL_DESC, revoked.CANCEL_SITE, revoked.MODIFY_SITE],
        [4, 1, "虚假揽收地址", CENTRE.site, CENTRE.site]);
    expectMessage("详细：没有改变任何数据，因此不需要保存！", () => screen.control("Button2").click());
    assert(host.closeAll());
}

chapter("中心的泽摩订单查询");
host.key("Ctrl+Shift+3");
{
    const screen = host.screen("frm_CenterBillQuery");
    const list = screen.grid("DataView1");
    screen.control("开始").text = daysAgo(9) + " 00:00:00";
    screen.control("结束").text = daysAgo(0) + " 23:59:59";
    screen.control("订单状态").text = "等待导出";
    screen.control("等待导出").text = "派件成功";
    screen.control("项目").text = "芮讯";
    host.key("F5");
    assert(list.rowCount > 5, "delivered orders of one source: " + list.rowCount);
    const prices = {};
    for (const bill of host.serverSql("select b.* from tab_bill b"))
        prices[bill.TX_LOGISTIC_ID + bill.BILL_CODE] = bill.OLD_GOODS_PAYMENT;
    let without = 0;
    for (let row = 0; row < list.rowCount; ++row) {
        const price = prices[list.value(row, "TX_LOGISTIC_ID") + list.value(row, "BILL_CODE")];
        assertEqual(list.cell(row, "BL_ORDER_STATUS1"), price === undefined ? "0" : "1");
        assertEqual(Number(list.cell(row, "ONLINE_PRICE1")), price || 0);
        without += price === undefined ? 1 : 0;
        assertEqual(list.value(row, "SIGN_STATUS"), "已签收");
    }
    assert(without > 0 && without < list.rowCount, "orders with and without a waybill");
    list.current = 0;
    list.click(0, "WEIGHT_RATE");
    host.screenshot("centre-query.png");
    screen.control("订单状态").text = "订单取消";
    assertEqual(screen.control("等待导出").enabled, false);
    assertEqual(screen.control("等待导出").text, "");
    list.doubleClick(0, "TX_LOGISTIC_ID");
    assert(screen.grid("DataView2").rowCount > 0, "the goods");
    assertEqual(screen.has("DataView3"), false, "and no trail");
    assert(host.closeAll());

    host.login(BRANCH.account, PASSWORD);
    host.key("Ctrl+Shift+3");
    const own = host.screen("frm_CenterBillQuery");
    const shown = own.grid("DataView1");
    assertEqual(own.control("可接单网点").enabled || own.control("接单/揽件网点").enabled, false);
    host.key("F5");
    assert(shown.rowCount > 0, "the branch has orders");
    for (let row = 0; row < shown.rowCount; ++row) {
        assert(shown.value(row, "REC_SITE") === BRANCH.site
            || shown.value(row, "PREPARE_SITE").includes(";" + BRANCH.site + ";"));
    }
    assert(host.closeAll());
}

// Order entry: a known customer calls, then a shop sends its orders as a file, one of them with a bad number.

chapter("订单录入");
host.login(BRANCH.account, PASSWORD);
host.exec("frm_order_pda111");
{
    const screen = host.screen("frm_order_pda");
    const grid = screen.grid("DataView1");
    const customer = host.serverSql("select a.* from tab_customer a where a.CUSTOMER_OWNER_SITE="
        + quoted(BRANCH.site) + " order by a.CUSTOMER_CODE")[0];
    const search = screen.control("客户检索");
    search.focus();
    search.type(customer.CUSTOMER_CODE);
    search.key("Enter");
    assertEqual(grid.value(0, "PHONE"), customer.CUSTOMER_PHONE1);
    assertEqual(screen.control("发货人电话").text, customer.CUSTOMER_PHONE1);
    assertEqual(screen.control("CITY").text, customer.CITY);

    for (const [box, text] of [["SEND_PROV", "广东"], ["SEND_CITY", "广州"], ["SEND_COUNTY", "天河"],
             ["SEND_ADDRESS", "体育西路100号"], ["货物重量", "2.5"], ["件数", "1"], ["备注", "下午三点以后上门"]])
        screen.control(box).text = text;
    expectMessage("详细：业务员不能为空！", () => host.key("Ctrl+S"));
    waitFor("the courier's box", () => screen.control("业务员").hasFocus);
    screen.control("业务员").text = host.serverSql("select a.* from tab_employee a where a.OWNER_SITE="
        + quoted(BRANCH.site) + " order by a.EMPLOYEE_CODE")[0].EMPLOYEE_NAME;
    host.screenshot("entry.png");
    const provisional = grid.value(0, "TX_LOGISTIC_ID");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    const saved = order(provisional);
    assertEqual([saved.SEND_CITY, saved.STATUS, saved.BL_DISPART, saved.CREATER_SITE],
        ["广州市", 0, 0, BRANCH.site]);
    assert(saved.MESSAGE !== null, "the courier's handheld is told by the code");
    assertEqual(grid.rowCount, 0);

    host.answer(fullPath("tour/orders.csv"));
    host.onDialog(dialog => {
        waitFor("the file", () => dialog.control("导入").enabled);
        host.screenshot("import.png");
        dialog.control("导入").click();
        assertEqual(dialog.grid("Grid1").rowCount, 1);
        assertEqual(dialog.grid("Grid1").cell(0, "REASON"), "发货人电话输入有错，请检查！");
        host.screenshot("import-rest.png");
        dialog.control("关闭").click();
    });
    screen.control("Excel导入").click();
    host.onDialog(null);
    assertEqual(host.serverSql("select a.* from tab_zelmor_bill a where a.PHONE like '1386666000%'").length, 2);
    assertEqual(grid.rowCount, 0);
    assert(host.closeAll());
}

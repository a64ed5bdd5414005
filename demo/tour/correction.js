// The same evening: two of the day's waybill numbers were taken down wrongly and are corrected.

chapter("网点揽件查询");
host.login(BRANCH.account, PASSWORD);
host.key("Ctrl+Shift+1");
{
    const screen = host.screen("frm_RecBillQuery");
    assertEqual(screen.caption, "网点揽件查询");
    const list = screen.grid("DataView1");
    assertEqual(list.rowCount, 0, "nothing is read before it is asked for");
    host.key("F5");
    assert(list.rowCount > 20, "today's pickups: " + list.rowCount);

    const refused = (number, text) => expectMessage(text, () => {
        list.edit(0, "BILL_CODE", number);
        list.key("Down");
    });
    refused("12345", "详细：单号规则错误！");
    refused(list.value(1, "BILL_CODE"), "详细：该运单号已使用，请使用新的运单号！");
    refused("168999000025", "详细：新的运单编号没有发放，修改失败！");
    assertEqual(list.current, 0, "the row waits for its number");
    const orders = [0, 1].map(row => list.value(row, "TX_LOGISTIC_ID"));
    const before = order(orders[0]).BILL_CODE;
    host.clearMessages();
    list.edit(0, "BILL_CODE", own[26]);
    list.edit(1, "BILL_CODE", own[27]);
    list.key("Down");
    assertEqual(host.messages().length, 0);
    host.screenshot("correction.png");
    assertEqual(order(orders[0]).BILL_CODE, before, "nothing is sent before saving");
    expectMessage("详细：保存数据成功", () => host.key("Ctrl+S"));
    assertEqual(orders.map(number => order(number).BILL_CODE), [own[26], own[27]]);

    // Found again by their numbers; another site's are not shown.
    const foreign = host.serverSql("select a.BILL_CODE from tab_zelmor_bill a where a.STATUS=3 and a.REC_SITE<>"
        + quoted(BRANCH.site))[0].BILL_CODE;
    screen.control("Memo1").text = [own[26], own[27], foreign].join("\n");
    screen.control("按运单号查询").click();
    host.key("F5");
    assertEqual(list.rowCount, 2);

    // What is listed goes out of the program, as a workbook and as text.
    host.onDialog(dialog => {
        if (!dialog.has("Edit1"))
            return "确定";
        assert(dialog.control("Edit1").text.endsWith(".xlsx"), "a name is proposed");
        host.screenshot("export.png");
        return "Button2";
    });
    host.key("Ctrl+E");
    host.onDialog(null);
    assert(host.closeAll());
}

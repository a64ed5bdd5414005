// The distribution desk: a centre finds the delivery sites of new orders and offers one to two branches.

chapter("未分件泽摩订单");
host.login(HEADQUARTERS.account, PASSWORD);
host.exec("frm_UnDispartBill111");
{
    const screen = host.screen("frm_UnDispartBill");
    assertEqual(screen.caption, "未分件泽摩订单");
    const grid = screen.grid("DataView1");
    screen.control("DBDateTimeEditEh1").text = daysAgo(2) + " 00:00:00";
    host.key("F5");
    assert(grid.rowCount > 2, "there are orders to distribute");

    host.clearSql();
    screen.control("SpeedButton3").click();
    let matched = 0;
    for (let row = 0; row < grid.rowCount; ++row)
        matched += grid.value(row, "SEND_SITE") === null ? 0 : 1;
    assert(matched > 0, "delivery sites are found");
    assertEqual(host.sql().filter(sent => sent.kind === "apply").length, 0, "nothing is saved yet");

    grid.current = 0;
    const number = grid.value(0, "TX_LOGISTIC_ID");
    host.answer([BRANCH.site, RIVAL.site]);
    grid.doubleClick(0, "ADDRESS");
    assertEqual(grid.value(0, "PREPARE_SITE"), ";" + BRANCH.site + ";" + RIVAL.site + ";");
    host.screenshot("distribution.png");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual(order(number).PREPARE_SITE, ";" + BRANCH.site + ";" + RIVAL.site + ";");
    assertEqual(rowOf(grid, number), -1, "it is offered, and gone from the list");
    assert(host.closeAll());
}

// An order goes from hand to hand: a branch gives it to a driver, who refuses it; the worklist gives it to
// another. Headquarters entrusts one order to another branch and cancels a third.

// Opens the screen on the orders of the last days that have the status.
function openDispatch(keys, name, status) {
    host.key(keys);
    const screen = host.screen(name);
    screen.control("开始").text = daysAgo(6) + " 00:00:00";
    screen.control("订单状态").text = status;
    host.key("F5");
    return screen;
}

// Types a code, and takes the employee whom the list then shows.
function takeDriver(screen, code) {
    const box = screen.control("EMP_NAME");
    box.focus();
    box.type(code);
    box.key("Enter");
}

function employee(code) {
    return host.serverSql("select a.* from tab_employee a where a.EMPLOYEE_CODE=" + quoted(code))[0];
}

function selectOrder(grid, number) {
    const row = rowOf(grid, number);
    assert(row >= 0, number + " is listed");
    grid.select([row]);
    return row;
}

chapter("订单分派");
host.login(BRANCH.account, PASSWORD);
var drivers = host.serverSql("select a.EMPLOYEE_CODE from tab_employee a where a.OWNER_SITE=" + quoted(BRANCH.site)
    + " order by a.EMPLOYEE_CODE").slice(2, 4).map(row => row.EMPLOYEE_CODE);
var driven;
{
    const screen = openDispatch("Ctrl+6", "frm_order_pda_control", "等待接单");
    const grid = screen.grid("DataView1");
    assert(grid.rowCount > 2, "orders wait that are offered to this branch alone");
    driven = grid.value(0, "TX_LOGISTIC_ID");
    takeDriver(screen, drivers[0]);
    assertEqual(screen.control("EMP_NAME").text, employee(drivers[0]).EMPLOYEE_NAME);
    grid.select([0]);
    host.answer("yes");
    expectMessage("详细：批量修改完毕！1条数据修改成功，0条数据未改变！", () => screen.control("批量分派司机").click());
    assertEqual(order(driven).REC_BILL_MAN, null, "nothing is saved yet");
    host.screenshot("dispatch.png");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual([order(driven).STATUS, order(driven).REC_BILL_CODE, order(driven).PREPARE_SITE],
        [10, drivers[0], ";" + BRANCH.site + ";"]);
    assertEqual(rowOf(grid, driven), -1, "it waits no more");

    // What the branch cannot do goes back, without driver and site.
    screen.control("订单状态").text = "接单成功";
    host.key("F5");
    const refused = grid.value(0, "TX_LOGISTIC_ID");
    grid.select([0]);
    host.answer("yes", "车辆不够");
    screen.control("btn_Fail").click();
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual([order(refused).STATUS, order(refused).CANCEL_DESC, order(refused).PREPARE_SITE], [2, "车辆不够", null]);
    assert(host.closeAll());
}

chapter("订单查询：司机拒收以后再分派");
{
    const terminal = host.otherSession(HEADQUARTERS.account, PASSWORD);
    const sql = "select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(driven);
    const screen = openDispatch("Ctrl+7", "frm_order_pda_EMP", "已分派");
    const grid = screen.grid("DataView1");
    const give = () => grid.edit(rowOf(grid, driven), "REC_BILL_MAN", employee(drivers[1]).EMPLOYEE_NAME);
    expectMessage("详细：该运单已分派给司机，未拒收情况下，不能进行再次分派！", () => assert(!give(), "has a driver"));
    assertEqual(host.messages().length, 1, "told once");
    terminal.update(sql, { STATUS: 11 });
    terminal.logout();
    screen.control("订单状态").text = "已拒收";
    host.key("F5");
    assert(give(), "the driver may be changed now");
    host.screenshot("worklist.png");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual([order(driven).STATUS, order(driven).REC_BILL_CODE], [10, drivers[1]]);
    assert(host.closeAll());
}

chapter("订单委托与订单取消");
host.login(HEADQUARTERS.account, PASSWORD);
{
    const screen = openDispatch("Ctrl+8", "frm_order_pda_depute", "等待接单");
    const grid = screen.grid("DataView1");
    const offered = [];
    for (let row = 0; row < grid.rowCount && offered.length < 2; ++row) {
        if (grid.value(row, "PREPARE_SITE") === ";" + BRANCH.site + ";")
            offered.push(grid.value(row, "TX_LOGISTIC_ID"));
    }
    assertEqual(offered.length, 2, "orders of the branch wait");
    screen.control("委托网点").text = RIVAL.site;
    selectOrder(grid, offered[0]);
    host.answer("yes");
    expectMessage("详细：批量修改完毕！1条数据修改成功，0条数据未改变！订单状态不符",
        () => screen.control("批量委托").click());
    host.screenshot("entrust.png");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    const entrusted = order(offered[0]);
    assertEqual([entrusted.STATUS, entrusted.PREPARE_SITE, entrusted.BL_DEPUTE], [1, ";" + RIVAL.site + ";", 1]);

    const control = openDispatch("Ctrl+6", "frm_order_pda_control", "等待接单");
    selectOrder(control.grid("DataView1"), offered[1]);
    host.answer("yes", "客户不寄了");
    control.control("订单取消").click();
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual([order(offered[1]).STATUS, order(offered[1]).CANCEL_DESC], [-1, "客户不寄了"]);
    assert(host.closeAll());

    // The branch that it was entrusted to sends a driver of its own.
    host.login(RIVAL.account, PASSWORD);
    const worklist = openDispatch("Ctrl+7", "frm_order_pda_EMP", "接单成功");
    const row = rowOf(worklist.grid("DataView1"), offered[0]);
    const own = host.serverSql("select a.* from tab_employee a where a.OWNER_SITE=" + quoted(RIVAL.site))[2];
    assert(worklist.grid("DataView1").edit(row, "REC_BILL_MAN", own.EMPLOYEE_NAME), "has no driver yet");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual(order(offered[0]).REC_BILL_CODE, own.EMPLOYEE_CODE);
    assert(host.closeAll());
}

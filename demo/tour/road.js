// Two orders on their whole road, by the windows alone. One arrives, is matched and offered by the desk, accepted,
// refused by its driver, given to another, sent back, offered anew, entrusted to the neighbour and collected by
// his driver; what a driver does, his handheld reports. The other is typed, and revoked by the centre.

function stateOf(number) {
    const now = order(number);
    return [now.STATUS, now.PREPARE_SITE, now.REC_BILL_CODE];
}

function report(number, fields) {
    const terminal = host.otherSession(HEADQUARTERS.account, PASSWORD);
    if (fields.REC_DATE)
        fields.REC_MAN = terminal.employeeName;
    assertEqual(terminal.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number), fields), 1);
    terminal.logout();
}

function listOf(site) {
    return ";" + site.site + ";";
}

function staffOf(site) {
    return host.serverSql("select a.EMPLOYEE_CODE from tab_employee a where a.OWNER_SITE=" + quoted(site.site)
        + " order by a.EMPLOYEE_CODE").map(row => row.EMPLOYEE_CODE);
}

// One of the dispatch screens, with the order alone in its list and selected.
function openAt(account, keys, name, number) {
    host.login(account.account, PASSWORD);
    host.key(keys);
    const screen = host.screen(name);
    screen.control("Memo1").text = number;
    screen.control("按订单号查询").checked = true;
    host.key("F5");
    assertEqual(screen.grid("DataView1").rowCount, 1, number + " in " + name);
    screen.grid("DataView1").select([0]);
    return screen;
}

function saveAndClose() {
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assert(host.closeAll());
}

function giveInWorklist(account, number, driver) {
    const screen = openAt(account, "Ctrl+7", "frm_order_pda_EMP", number);
    assert(screen.grid("DataView1").edit(0, "REC_BILL_MAN", employee(driver).EMPLOYEE_NAME), "may be given away");
    saveAndClose();
    assertEqual(stateOf(number), [10, listOf(account), driver]);
}

function offerInControl(account, number, site) {
    const screen = openAt(account, "Ctrl+6", "frm_order_pda_control", number);
    screen.control("接单网点").text = site.site;
    host.answer("yes");
    expectMessage("详细：批量修改完毕！1条数据修改成功，0条数据未改变！", () => screen.control("批量分派机构").click());
    saveAndClose();
    assertEqual(stateOf(number), [1, listOf(site), null]);
}

var road;
chapter("一路：分件、接单");
host.login(HEADQUARTERS.account, PASSWORD);
host.exec("frm_UnDispartBill111");
{
    const screen = host.screen("frm_UnDispartBill");
    const grid = screen.grid("DataView1");
    screen.control("DBDateTimeEditEh1").text = daysAgo(2) + " 00:00:00";
    host.key("F5");
    screen.control("SpeedButton3").click();
    let row = 0;
    while (row < grid.rowCount && grid.value(row, "SEND_SITE") === null)
        ++row;
    assert(row < grid.rowCount, "one is matched");
    road = grid.value(row, "TX_LOGISTIC_ID");
    host.answer([BRANCH.site]);
    grid.doubleClick(row, "ADDRESS");
    saveAndClose();
    assertEqual(stateOf(road), [0, listOf(BRANCH), null]);
    assert(order(road).SEND_SITE !== null, "and knows where it goes");

    host.login(BRANCH.account, PASSWORD);
    const list = openAcceptance().grid("DataView1");
    list.edit(rowOf(list, road), "STATUS", "接单成功");
    list.key("Down");
    saveAndClose();
    assertEqual([order(road).STATUS, order(road).REC_SITE], [1, BRANCH.site]);
}

chapter("一路：司机拒收，再分派，退回");
{
    const [, , first, second] = staffOf(BRANCH);
    const screen = openAt(BRANCH, "Ctrl+6", "frm_order_pda_control", road);
    takeDriver(screen, first);
    host.answer("yes", "派车上门"); // whoever accepted it is asked after, as a driver is
    screen.control("批量分派司机").click();
    saveAndClose();
    assertEqual(stateOf(road), [10, listOf(BRANCH), first]);
    report(road, { STATUS: 11 });
    giveInWorklist(BRANCH, road, second);
    report(road, { STATUS: 11 });
    const again = openAt(BRANCH, "Ctrl+6", "frm_order_pda_control", road);
    host.answer("yes", "两位司机都去不了");
    again.control("接单失败").click();
    saveAndClose();
    assertEqual(stateOf(road), [2, null, null]);
}

chapter("一路：另派网点、委托、揽件");
{
    offerInControl(HEADQUARTERS, road, BRANCH);
    const screen = openAt(HEADQUARTERS, "Ctrl+8", "frm_order_pda_depute", road);
    screen.control("委托网点").text = RIVAL.site;
    host.answer("yes");
    screen.control("批量委托").click();
    saveAndClose();
    assertEqual([...stateOf(road), order(road).BL_DEPUTE], [1, listOf(RIVAL), null, 1]);
    giveInWorklist(RIVAL, road, staffOf(RIVAL)[2]);
    const waybill = freshNumbers(RIVAL.site, 1)[0];
    report(road, { STATUS: 3, BILL_CODE: waybill, REC_DATE: host.serverTime });
    assertEqual([order(road).STATUS, order(road).BILL_CODE], [3, waybill]);
}

chapter("一路：录入的订单，中心撤消");
host.login(BRANCH.account, PASSWORD);
host.exec("frm_order_pda111");
{
    const screen = host.screen("frm_order_pda");
    for (const [box, text] of [["发货人电话", "13900001234"], ["发货人姓名", "周明"], ["PROV", "安徽"], ["CITY", "合肥"],
             ["COUNTY", "蜀山"], ["ADDRESS", "长江西路12号"], ["SEND_PROV", "广东"], ["SEND_CITY", "广州"],
             ["SEND_COUNTY", "天河"], ["业务员", employee(staffOf(BRANCH)[0]).EMPLOYEE_NAME]])
        screen.control(box).text = text;
    saveAndClose();
    const typed = host.serverSql("select a.* from tab_zelmor_bill a where a.PHONE='13900001234'")[0].TX_LOGISTIC_ID;
    offerInControl(BRANCH, typed, BRANCH);

    host.login(CENTRE.account, PASSWORD);
    host.key("Ctrl+9");
    const centre = host.screen("frm_CenterBillBack");
    centre.control("按物流号查询").checked = true;
    centre.control("Memo1").text = typed;
    host.key("F5");
    const list = centre.grid("DataView1");
    assertEqual(list.rowCount, 1);
    list.edit(0, "CANCEL_DESC", "用户取消投递");
    saveAndClose();
    assertEqual([order(typed).STATUS, order(typed).BL_CANCEL, order(typed).CANCEL_SITE], [4, 1, CENTRE.site]);
}

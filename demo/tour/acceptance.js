// A branch site's morning: look, accept, accept many at once, hand on, save, lose a race.

chapter("登录窗口");
waitFor("the database", () => host.control("LoginButton").enabled);
assert(host.control("OfferedList").items().length >= 4, "demo accounts are offered");
host.screenshot("01-login.png");
host.control("ServerButton").click();
host.control("ServerEdit").text = "orders1:8866,orders2:8866";
host.control("CaEdit").text = "/etc/zelmor/ca.pem";
host.screenshot("login-server.png");
host.control("CaEdit").text = "";
host.control("EmbeddedButton").click();
waitFor("the database again", () => host.control("LoginButton").enabled);
let refusal = "";
try {
    host.login(BRANCH.account, "not the password");
} catch (error) {
    refusal = error.message;
}
assert(refusal.length > 0, "a wrong password is refused");
host.screenshot("02-login-refused.png");
host.login(BRANCH.account, PASSWORD);
assertEqual(host.control("SiteLabel").text, "网点：" + BRANCH.site);
host.screenshot("03-frame.png");

chapter("网点接单：查询");
host.exec("frm_AcceptBill111");
{
    const screen = host.screen("frm_AcceptBill");
    assertEqual(screen.caption, "网点接单");
    assertEqual(screen.rights(), "000", "this screen ignores the caller's rights");
    host.screenshot("04-accept-today.png");
}
var accept = openAcceptance();
var list = accept.grid("DataView1");
assert(list.rowCount >= 8, "orders wait for the site: " + list.rowCount);
for (let row = 0; row < list.rowCount; ++row) {
    assert(list.value(row, "PREPARE_SITE").includes(";" + BRANCH.site + ";"), "offered to the site");
    assertEqual(list.cell(row, "STATUS"), "等待接单");
}
assertEqual(list.footer("TX_LOGISTIC_ID"), String(list.rowCount), "the footer counts the rows");

list.clickTitle("CREATE_DATE");
assert(list.value(0, "CREATE_DATE") < list.value(list.rowCount - 1, "CREATE_DATE"), "oldest first");
list.clickTitle("CREATE_DATE");
assert(list.value(0, "CREATE_DATE") > list.value(list.rowCount - 1, "CREATE_DATE"), "newest first");
host.control("SearchEdit").focus();
host.control("SearchEdit").type(list.value(5, "TX_LOGISTIC_ID").slice(-6));
list.click(0, "TX_LOGISTIC_ID");
host.control("SearchEdit").key("Enter");
assertEqual(list.current, 5, "the search box finds the order");
list.clickTitle("CREATE_DATE");

accept.control("DBDateTimeEditEh2").text = "2000-01-01 00:00:00";
expectMessage("详细：结束日期不能比开始日期还早！", () => accept.control("Button4").click());
accept.control("DBDateTimeEditEh2").text = host.serverTime.slice(0, 10) + " 23:59:59";
host.key("F5");
expectMessage("详细：没有改变任何数据，因此不需要保存！", () => accept.control("保存").click());
assert(!host.control("SaveAction").enabled, "nothing to save");

chapter("接单并保存");
var first = list.value(0, "TX_LOGISTIC_ID");
list.edit(0, "STATUS", "接单成功");
list.key("Down");
assertEqual(list.value(0, "STATUS"), 1);
assertEqual(list.value(0, "REC_SITE"), BRANCH.site);
assertEqual(list.value(0, "DUTY_SITE"), BRANCH.site);
assert(list.value(0, "ACCEPT_DATE") !== null, "the time of acceptance is stamped");
assertEqual(order(first).STATUS, 0, "nothing is sent before saving");
host.screenshot("05-accepted.png");
{
    const question = "详细：您所做的操作并未保存，重新查询将丢失这些修改，确定要查询吗？";
    const rows = list.rowCount;
    expectMessage(question, () => host.key("F5"));
    assertEqual(list.value(0, "STATUS"), 1, "left unanswered, a query drops no edits");
    assertEqual(list.rowCount, rows);
    host.answer("yes");
    expectMessage(question, () => accept.control("Button4").click());
    assertEqual(list.value(rowOf(list, first), "STATUS"), 0, "as the server has it");
    list.current = rowOf(list, first);
    list.edit(rowOf(list, first), "STATUS", "接单成功");
    list.key("Down");
}
expectMessage("详细：数据保存成功！", () => accept.control("Button1").click());
assertEqual(order(first).STATUS, 1);
assertEqual(order(first).MODIFY_SITE, BRANCH.site);
assertEqual(rowOf(list, first), -1, "an accepted order leaves the list");

chapter("批量接单");
{
    const courier = host.serverSql("select EMPLOYEE_CODE, EMPLOYEE_NAME from tab_employee where OWNER_SITE="
        + quoted(BRANCH.site) + " order by EMPLOYEE_CODE")[1];
    const lookup = accept.control("DBPageLookup_Employee1");
    lookup.focus();
    lookup.type(courier.EMPLOYEE_CODE);
    host.wait(400);
    host.screenshot("06-employee-lookup.png");
    lookup.key("Enter");
    assertEqual(lookup.text, courier.EMPLOYEE_NAME);
    list.select([1, 2, 3]);
    assertEqual(list.selected(), [1, 2, 3]);
    const numbers = [1, 2, 3].map(row => list.value(row, "TX_LOGISTIC_ID"));
    expectMessage("详细：已成功批量接单！", () => accept.control("BatchAcceptBill").click());
    assertEqual(list.selected(), []);
    assertEqual(lookup.text, "");
    for (const number of numbers) {
        const row = rowOf(list, number);
        assertEqual(list.value(row, "STATUS"), 1);
        assertEqual(list.value(row, "REC_GOODS_MAN"), courier.EMPLOYEE_NAME);
        assert(list.value(row, "MESSAGE").startsWith(courier.EMPLOYEE_NAME + ","), "the text message is made");
    }
    host.screenshot("07-batch.png");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    for (const number of numbers)
        assertEqual(order(number).STATUS, 1);
}

chapter("转单");
{
    let offered = 0;
    while (list.value(offered, "PREPARE_SITE").includes(";" + RIVAL.site + ";"))
        ++offered;
    list.current = offered;
    const number = list.value(offered, "TX_LOGISTIC_ID");
    host.onDialog(picker => {
        picker.control("DBLookupComboboxEh1").text = RIVAL.site;
        host.screenshot("08-transfer.png");
        picker.control("Button1").click();
    });
    accept.control("Button2").click();
    host.onDialog(null);
    const row = rowOf(list, number);
    assert(list.value(row, "PREPARE_SITE").endsWith(";" + RIVAL.site + ";"), "the other site is a candidate");
    assert(!list.value(row, "PREPARE_SITE").includes(";" + BRANCH.site + ";"), "the own site no longer is");
    assertEqual(list.color(row), "#ffb7b5", "the row is marked");
    expectMessage("详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！", () => {
        list.edit(row, "STATUS", "接单成功");
        list.key("Down");
    });
    host.screenshot("09-transferred.png");
    list.key("Escape");
    list.key("Escape");
    expectMessage("详细：数据保存成功！", () => accept.control("Button1").click());
    assert(order(number).PREPARE_SITE.includes(";" + RIVAL.site + ";"));
}

chapter("两个网点抢同一票");
{
    const number = list.value(0, "TX_LOGISTIC_ID");
    const kept = list.value(1, "TX_LOGISTIC_ID");
    list.edit(0, "STATUS", "接单成功");
    list.key("Down");
    list.edit(1, "STATUS", "接单成功");
    list.key("Down");
    const rival = host.otherSession(RIVAL.account, PASSWORD);
    assertEqual(rival.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number),
        { STATUS: 1, REC_SITE: rival.site, DUTY_SITE: rival.site, REC_BILL_MAN: rival.employeeName,
            ACCEPT_DATE: host.serverTime }), 1);
    let told = "";
    let failed = 0;
    host.onDialog(dialog => {
        if (dialog.has("Grid1")) {
            told = dialog.control("Label1").text;
            failed = dialog.grid("Grid1").rowCount;
            assertEqual(dialog.grid("Grid1").value(0, "TX_LOGISTIC_ID"), number);
            host.screenshot("10-lost-race.png");
        }
        return dialog.has("Button1") ? "Button1" : "确定";
    });
    accept.control("Button1").click();
    host.onDialog(null);
    assertEqual(told, "以下泽摩订单接单失败，其可能被其它网点接单！");
    assertEqual(failed, 1, "only the contested order failed");
    assertEqual(order(number).REC_SITE, RIVAL.site, "the first one keeps it");
    assertEqual(order(kept).REC_SITE, BRANCH.site, "the other order is saved all the same");
    assertEqual(rowOf(list, number), -1, "the list shows how things stand");
}

chapter("未保存的修改");
{
    const number = list.value(0, "TX_LOGISTIC_ID");
    list.edit(0, "STATUS", "接单成功");
    list.key("Down");
    host.answer("cancel");
    expectMessage("详细：您所做的操作并未保存，确定要关闭吗？", () => assertEqual(accept.close(), false));
    assertEqual(list.value(0, "STATUS"), 1, "the edit is still there");
    host.answer("ok");
    assert(accept.close(), "closed on the second answer");
    assertEqual(host.screens(), []);
    assertEqual(order(number).STATUS, 0, "the edit is dropped");
}

// The overdue monitors: where orders wait for a site, or for somebody to fetch the goods.

host.login(HEADQUARTERS.account, PASSWORD);
for (const monitor of [
    { name: "frm_UnAccept", caption: "未接单查询", bySite: false, picture: "unaccept.png",
        condition: "and a.bl_dispart=1 and a.status=0 and a.prepare_site is not null" },
    { name: "frm_UnRec", caption: "未揽件查询", bySite: true, picture: "unrec.png",
        condition: "and a.bl_dispart=1 and a.status=1" },
]) {
    chapter(monitor.caption);
    host.exec(monitor.name + "000");
    const screen = host.screen(monitor.name);
    assertEqual(screen.caption, monitor.caption);
    const sums = screen.grid("DataView2");
    const orders = screen.grid("DataView1");
    assertEqual(screen.control("DBComboBoxEh1").text, "2");
    host.clearSql();
    screen.control("Button1").click();
    const group = "a.prov,a.city,a.county" + (monitor.bySite ? ",a.rec_site" : "");
    assertEqual(host.sql()[0].text, "select /*+index(a,TAB_ZELMOR_BILL_I3)*/" + group
        + ",count(a.TX_LOGISTIC_ID) as count_sum from tab_zelmor_bill a where a.create_date between"
        + " (sysdate-(2/24)-3) and (sysdate-(2/24)) " + monitor.condition + " group by " + group + " order by "
        + group);
    assert(sums.rowCount > 10, "orders wait in several regions");
    let total = 0;
    for (let row = 0; row < sums.rowCount; ++row)
        total += sums.value(row, "COUNT_SUM");
    assertEqual(sums.footer("COUNT_SUM"), String(total));
    assertEqual(sums.footer("COUNT_SUM", 0), "总票数");
    host.screenshot(monitor.picture);

    let row = 0;
    while (sums.value(row, "COUNT_SUM") < 3)
        ++row;
    const count = sums.value(row, "COUNT_SUM");
    const county = sums.value(row, "COUNTY");
    sums.doubleClick(row, "COUNT_SUM");
    assertEqual(orders.rowCount, count);
    for (let order = 0; order < count; ++order)
        assertEqual(orders.value(order, "COUNTY"), county);
    assert(screen.grid("DataView3").rowCount > 0, "with the goods of the first");
    host.screenshot(monitor.picture.replace(".png", "-orders.png"));

    screen.control("DBComboBoxEh1").text = "0.5";
    host.key("F5");
    assert(Number(sums.footer("COUNT_SUM")) > total, "more of them have waited half an hour");
    screen.control("DBComboBoxEh1").text = "xx";
    host.clearMessages();
    host.key("F5");
    assert(lastMessage().startsWith("详细：SQL语句"), "the server says what it cannot read");
    assert(Number(sums.footer("COUNT_SUM")) > total, "and the summary stays");
}
assert(host.closeAll());

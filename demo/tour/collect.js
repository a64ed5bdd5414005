// The service statistics: how well sites served the orders of a month, and the orders behind a figure.

chapter("汇总分析");
host.login(HEADQUARTERS.account, PASSWORD);
host.exec("frm_Collect111");
{
    const screen = host.screen("frm_Collect");
    assertEqual(screen.caption, "汇总分析");
    const figures = screen.grid("DataView1");
    const orders = screen.grid("DataView2");
    screen.control("DBDateTimeEditEh1").text = daysAgo(20) + " 00:00:00";
    screen.control("DBDateTimeEditEh2").text = daysAgo(0) + " 23:59:59";
    host.clearSql();
    screen.control("Button1").click();
    const sent = host.sql().map(one => one.text);
    assertEqual(sent.length, 2);
    assert(sent[0].includes("and a.bl_dispart=1 and a.duty_site is null  ) a  group by"));
    assert(sent[1].includes("and a.bl_dispart=1 and ((a.duty_site in ('"));

    const total = field => Number(figures.footer(field));
    const window = "a.BL_DISPART=1 and a.CREATE_DATE>=to_date('" + daysAgo(20) + "','yyyy-mm-dd')";
    assertEqual(total("mustrec_count"), host.serverSql("select count(*) as N from tab_zelmor_bill a where " + window)[0].N);
    for (const field of ["OutTimeAccept_Count", "noaccept_count", "accept_fail_count", "OutTimeRec_Count",
        "NoRec_Count", "rec_fail_count", "NoBill_Count"])
        assert(total(field) > 0, field + " has something to show");
    assertEqual(total("send_count") + total("nosend_count"), total("mustrec_count"));
    host.screenshot("collect.png");

    let row = 0;
    while (figures.value(row, "OutTimeAccept_Count") < 3)
        ++row;
    const site = figures.value(row, "duty_site");
    figures.doubleClick(row, "OutTimeAccept_Count");
    assertEqual(orders.rowCount, figures.value(row, "OutTimeAccept_Count"));
    for (let order = 0; order < orders.rowCount; ++order)
        assertEqual(orders.value(order, "DUTY_SITE"), site);
    host.screenshot("collect-orders.png");

    host.key("F5");
    host.clearSql();
    figures.doubleClick(row, "rec_fail_count");
    assert(host.sql()[0].text.includes(" and a.status = 2 and a.CANCEL_SITE is not null   "),
        "failed pickups list the failed acceptances");
}

chapter("片区和无责任网点的订单");
{
    const screen = host.screen("frm_Collect");
    const figures = screen.grid("DataView1");
    host.key("F5");
    const all = figures.rowCount;
    screen.control("DBComboBoxEh4").text = "华东区";
    assert(figures.rowCount < all);
    let row = 0;
    while (figures.value(row, "duty_site") !== "空" || figures.value(row, "mustrec_count") < 2)
        ++row;
    assertEqual(figures.value(row, "area_name"), "华东区");
    assertEqual(figures.value(row, "accept_count"), null);
    figures.doubleClick(row, "mustrec_count");
    assertEqual(screen.grid("DataView2").rowCount, figures.value(row, "mustrec_count"));
    screen.control("网点名称").text = BRANCH.site;
    host.key("F5");
    assertEqual(figures.rowCount, 1, "a chosen site alone");
}

chapter("刷新接单站点");
{
    const screen = host.screen("frm_Collect");
    host.clearMessages();
    host.answer("ok");
    screen.control("Button2").click();
    assertEqual(host.messages().length, 2);
    assert(lastMessage().startsWith("详细：SQL语句"), "the server refuses it as it stands");
    host.clearMessages();
    assert(host.closeAll());
    assertEqual(host.messages().length, 0, "regions are no unsaved edits");
}

// The headquarters sees every site's orders and may refuse one, with a reason.

chapter("本部：接单失败");
{
    // The distribution desk has offered an order to the headquarters.
    const candidate = host.serverSql("select a.TX_LOGISTIC_ID from tab_zelmor_bill a where a.STATUS=0 and"
        + " a.BL_DISPART=1 and a.BL_CANCEL=0 order by a.CREATE_DATE desc")[0].TX_LOGISTIC_ID;
    const desk = host.otherSession(HEADQUARTERS.account, PASSWORD);
    desk.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(candidate),
        { PREPARE_SITE: ";" + HEADQUARTERS.site + ";" + BRANCH.site + ";" });

    host.login(HEADQUARTERS.account, PASSWORD);
    assertEqual(host.control("SiteLabel").text, "网点：" + HEADQUARTERS.site);
    const screen = openAcceptance();
    const all = screen.grid("DataView1").rowCount;
    screen.control("DBEditEh2").text = candidate;
    host.key("F5");
    const grid = screen.grid("DataView1");
    assert(all > 1, "other sites' orders are listed");
    assertEqual(grid.rowCount, 1);

    expectMessage("详细：选择\"接单失败\"必须填写\"撤消原因\"！", () => {
        grid.edit(0, "STATUS", "接单失败");
        screen.control("Button1").click();
    });
    assertEqual(order(candidate).STATUS, 0);
    host.screenshot("12-refusal-needs-reason.png");

    grid.edit(0, "CANCEL_DESC", "虚假取件电话");
    expectMessage("详细：数据保存成功！", () => screen.control("Button1").click());
    const refused = order(candidate);
    assertEqual(refused.STATUS, 2);
    assertEqual(refused.BL_CANCEL, 1);
    assertEqual(refused.CANCEL_SITE, HEADQUARTERS.site);
    assertEqual(refused.CANCEL_DESC, "虚假取件电话");
    assertEqual(refused.REC_SITE, HEADQUARTERS.site, "a refused order is stamped like an accepted one");
    screen.control("DBEditEh2").text = "";
    host.key("F5");
    host.screenshot("13-headquarters.png");
    assert(host.closeAll());
}

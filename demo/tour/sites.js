// A branch settles the counties it serves: one more of a name that repeats, other hours, what it may not open.

chapter("网点揽派区/县");
host.login(BRANCH.account, PASSWORD);
host.key("Ctrl+Shift+2");
{
    const service = county => host.serverSql("select a.* from tab_zelmor_site a where a.SITE_NAME="
        + quoted(BRANCH.site) + " and a.COUNTY_NAME=" + quoted(county))[0];
    const screen = host.screen("frm_Site");
    assertEqual(screen.caption, "网点揽派区/县");
    const list = screen.grid("DataView1");
    const served = list.rowCount;
    assert(served > 0, "the branch serves counties");
    for (let row = 0; row < served; ++row)
        assertEqual(list.value(row, "SITE_NAME"), BRANCH.site, "its own, for none is below it");
    assert(!screen.control("DBLookupComboboxEh1").visible, "it is no site's but its own to settle");
    assert(!screen.control("揽件").enabled, "nothing is written before the row is in edit");

    screen.control("增加").click();
    const county = screen.control("所属区/县");
    county.focus();
    county.type("朝阳区");
    county.key("Down");
    county.key("Down");
    host.screenshot("site.png");
    county.key("Enter");
    const added = list.current;
    assertEqual(list.value(added, "CITY_NAME"), "长春市", "the row chosen, not the first of its name");
    assertEqual(list.value(added, "PROVINCE"), "吉林省");
    screen.control("揽件时间始").text = "0930";
    screen.control("派送").click();
    assert(screen.control("揽件").enabled && !screen.control("开通泽摩").enabled, "opening is the headquarters'");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual(service("朝阳区").REC_START_TIME, "09:30:00");
    assertEqual([service("朝阳区").BL_SEND, service("朝阳区").BL_OPEN], [0, 1]);
    assertEqual(list.rowCount, served + 1);

    // The same county once more: the server knows it.
    screen.control("增加").click();
    county.focus();
    county.type("朝阳区");
    county.key("Down");
    county.key("Down");
    county.key("Enter");
    host.clearMessages();
    host.key("Ctrl+S");
    assert(lastMessage().startsWith("详细：有1条数据未能保存"), lastMessage());
    host.screenshot("site-refused.png");
    screen.control("放弃").click();
    assertEqual(list.rowCount, served + 1);
    assert(host.closeAll());
}

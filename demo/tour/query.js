// The order query: by criteria, by pasted numbers, an order's trail, and a centre over its sites.

chapter("泽摩订单查询：按条件");
host.login(BRANCH.account, PASSWORD);
host.exec("frm_BillQuery101");
var query = host.screen("frm_BillQuery");
var found = query.grid("DataView1");
assertEqual(query.caption, "泽摩订单查询");
assertEqual(query.rights(), "101", "the caller's rights count");
assertEqual(query.control("DBLookupComboboxEh2").text, BRANCH.site);
assertEqual(query.control("CheckBox3").enabled, false, "a branch has no subtree");
assertEqual(query.control("DBComboBoxEh4").visible, false);

function dayOf(offset) {
    const today = new Date(host.serverTime.slice(0, 10) + "T12:00:00Z").getTime();
    return new Date(today + offset * 86400000).toISOString().slice(0, 10);
}

// What the search asked of the orders.
function searchText(search) {
    host.clearSql();
    search();
    return host.sql().map(sent => sent.text).filter(text => text.includes("from tab_zelmor_bill a where"))[0];
}

// As the filters of an order's own row would have it.
function numbersOf(condition) {
    return host.serverSql("select a.TX_LOGISTIC_ID from tab_zelmor_bill a where a.BL_DISPART=1 and " + condition
        + " order by a.TX_LOGISTIC_ID").map(row => row.TX_LOGISTIC_ID);
}

function shownNumbers() {
    const numbers = [];
    for (let row = 0; row < found.rowCount; ++row)
        numbers.push(found.value(row, "TX_LOGISTIC_ID"));
    return numbers;
}

{
    assertEqual(query.control("DBDateTimeEditEh1").text, dayOf(-1) + " 12:00:00");
    assertEqual(query.control("DBDateTimeEditEh2").text, dayOf(0) + " 11:59:59");
    query.control("DBDateTimeEditEh1").text = dayOf(-20) + " 00:00:00";
    query.control("DBDateTimeEditEh2").text = dayOf(0) + " 23:59:59";
    const window = "to_date('" + dayOf(-20) + " 00:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('" + dayOf(0)
        + " 23:59:59','yyyy-mm-dd hh24:mi:ss')";
    assertEqual(searchText(() => host.key("F5")),
        "select /*+index(a,TAB_ZELMOR_BILL_I3)*/ a.* from tab_zelmor_bill a where a.CREATE_DATE between " + window
            + " and a.bl_dispart=1 and a.PREPARE_SITE like '%;" + BRANCH.site
            + ";%' and a.LOGISTICPROVIDERID like '%洛维卡特%' order by a.CREATE_DATE desc");
    assert(found.rowCount > 10, "orders are found: " + found.rowCount);
    assertEqual(shownNumbers().sort(),
        numbersOf("a.CREATE_DATE between " + window + " and a.PREPARE_SITE like '%;" + BRANCH.site
            + ";%' and a.LOGISTICPROVIDERID='洛维卡特'"));
    assertEqual(found.footer("TX_LOGISTIC_ID"), String(found.rowCount));
    host.screenshot("query.png");

    // A site half typed is completed by the search itself.
    const site = query.control("DBLookupComboboxEh1");
    site.focus();
    site.type("ahhf");
    assert(searchText(() => host.key("F5")).includes(" and a.REC_SITE='" + BRANCH.site + "'"));
    assert(site.hasFocus, "the clerk goes on where he was");
    site.text = "";
    query.control("DBLookupComboboxEh2").text = "";
    query.control("DBComboBoxEh1").text = "揽件成功";
    assert(searchText(() => query.control("Button1").click()).includes(" and a.STATUS=3 and a.LOGISTICPROVIDERID"));
    for (let row = 0; row < found.rowCount; ++row)
        assertEqual(found.cell(row, "STATUS"), "揽件成功");
}

chapter("时间范围超过31天");
{
    const before = found.rowCount;
    query.control("DBDateTimeEditEh1").text = dayOf(-31) + " 23:59:58";
    expectMessage("详细：结束日期不能超过开始日期\"31\"天！", () => assertEqual(searchText(() => host.key("F5")), undefined));
    assertEqual(found.rowCount, before, "the result stays");
    query.control("DBDateTimeEditEh1").text = dayOf(-31) + " 23:59:59";
    assert(searchText(() => host.key("F5")) !== undefined, "31 days to the second");
}

chapter("详细数据和订单状态信息");
{
    const items = query.grid("DataView2");
    const trail = query.grid("DataView3");
    // An order whose pickup the marketplace has been told of.
    const told = host.serverSql("select i.TX_LOGISTIC_ID from tab_zelmor_instruction i where"
        + " i.INFO_CONTENT='GOT'").map(row => row.TX_LOGISTIC_ID);
    let row = 0;
    while (!told.includes(found.value(row, "TX_LOGISTIC_ID")))
        ++row;
    found.current = row;
    found.doubleClick(row, "TX_LOGISTIC_ID");
    assertEqual(trail.rowCount, 0, "the first double click turns the page");
    assertEqual(query.control("DBEditEh_TX_LOGISTIC_ID").text, found.value(row, "TX_LOGISTIC_ID"));
    assert(items.rowCount > 0, "the goods are shown");
    found.doubleClick(row, "TX_LOGISTIC_ID");
    assert(trail.rowCount > 0, "the second one shows the trail");
    const words = [];
    for (let step = 0; step < trail.rowCount; ++step)
        words.push(trail.cell(step, "infos"));
    assert(words.includes("揽收成功"), "codes are shown in words: " + words);
    host.screenshot("query-details.png");
}

chapter("按单号查询");
{
    const numbers = [3, 0, 1].map(row => found.value(row, "TX_LOGISTIC_ID"));
    const waybill = found.value(2, "BILL_CODE");
    host.key("F5");
    query.control("Memo1").text = numbers.join("\n");
    query.control("CheckBox2").click();
    query.control("CheckBox1").click();
    assertEqual(query.control("CheckBox2").checked, false, "one way at a time");
    assertEqual(searchText(() => host.key("F5")),
        "select /*+index(a,TAB_ZELMOR_BILL_P)*/a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('"
            + numbers[2] + "','" + numbers[1] + "','" + numbers[0]
            + "') and a.bl_dispart=1 order by a.CREATE_DATE desc");
    assertEqual(shownNumbers().sort(), numbers.slice().sort());
    host.screenshot("query-numbers.png");
    query.control("SpeedButton1").click();
    query.control("CheckBox2").click();
    query.control("Memo1").text = waybill;
    host.key("F5");
    assertEqual(found.rowCount, 1);
    assertEqual(found.value(0, "BILL_CODE"), waybill);
    query.control("SpeedButton1").click();
    expectMessage("详细：没有输入任何运单编号！", () => host.key("F5"));
    assertEqual(found.rowCount, 1, "the result stays");
}

chapter("记住项目");
{
    query.control("DBComboBoxEh2").text = "泽摩";
    assert(query.close());
    host.exec("frm_BillQuery111");
    query = host.screen("frm_BillQuery");
    found = query.grid("DataView1");
    assertEqual(query.control("DBComboBoxEh2").text, "泽摩");
    query.control("DBLookupComboboxEh2").text = "";
    host.key("F5");
    assert(found.rowCount > 0);
    for (let row = 0; row < found.rowCount; ++row)
        assert(found.value(row, "LOGISTICPROVIDERID") !== "洛维卡特", "every source but the first");
    query.control("DBComboBoxEh2").text = "洛维卡特";
    assert(host.closeAll());
}

chapter("中心及下属网点");
{
    host.login(CENTRE.account, PASSWORD);
    host.exec("frm_BillQuery111");
    query = host.screen("frm_BillQuery");
    found = query.grid("DataView1");
    host.key("F5");
    const own = found.rowCount;
    query.control("CheckBox3").click();
    host.clearSql();
    host.key("F5");
    assert(found.rowCount > own, "the subtree has more orders: " + found.rowCount + " than " + own);
    const sent = host.sql().map(one => one.text);
    assert(sent[0].includes("connect by  prior SITE_NAME=(case SITE_NAME when '" + CENTRE.site + "' then ''"));
    assert(sent[1].includes(" and ((a.PREPARE_SITE like '%;" + CENTRE.site + ";%' or a.PREPARE_SITE like '%;"));
    host.screenshot("query-centre.png");
    assert(host.closeAll());
}

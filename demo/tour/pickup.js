// A branch site's afternoon: twenty pickups by keyboard alone, wrong numbers, a coupon, a batch, a colleague
// who was faster; and the sites whose waybill stock is another's, or nobody's.

var BRANCH3 = { account: "hefei3", site: "安徽合肥三部" };
var PARTNER = { account: "xuancheng", site: "安徽宣城同行" };

// The digits with the check digit that the printed numbers carry behind them.
function withCheckDigit(digits, first, weights) {
    let sum = 0;
    for (let i = 0; i < weights.length; ++i)
        sum += Number(digits[first + i]) * Number(weights[i]);
    const rest = sum % 11;
    return digits + (rest === 0 ? 5 : rest === 1 ? 0 : rest === 10 ? 1 : 11 - rest);
}

// Unused numbers that were issued to the site and not withdrawn.
function freshNumbers(site, count) {
    const start = host.serverSql("select min(a.START_NO) as START_NO from TAB_BILL_PROVIDE a where a.USE_SITE="
        + quoted(site))[0].START_NO;
    const numbers = [];
    for (let i = 300; numbers.length < count; ++i) {
        const digits = String(Number(start) + i);
        const number = digits.length === 11 ? withCheckDigit(digits, 2, "742536829")
            : withCheckDigit(digits, 0, "7425368");
        if (host.serverSql("select a.bill_code from tab_bill_del a where a.bill_code=" + quoted(number)).length === 0
            && host.serverSql("select a.bill_code from tab_zelmor_bill a where a.bill_code=" + quoted(number)).length === 0)
            numbers.push(number);
    }
    return numbers;
}

// What a scanner sends: the digits, then Enter.
function scan(grid, number) {
    for (const digit of number)
        grid.key(digit);
    grid.key("Enter");
}

function openPickup() {
    host.key("Ctrl+2");
    const screen = host.screen("frm_RecBill");
    screen.control("DBDateTimeEditEh1").text = daysAgo(6) + " 00:00:00";
    host.key("F5");
    return screen;
}

chapter("网点揽件：二十票，只用键盘");
host.login(BRANCH.account, PASSWORD);
var own = freshNumbers(BRANCH.site, 30);
{
    const screen = openPickup();
    const list = screen.grid("DataView1");
    assert(list.rowCount > 25, "accepted orders wait for their numbers: " + list.rowCount);
    const orders = [];
    host.clearMessages();
    for (let i = 0; i < 20; ++i) {
        assertEqual(list.current, i, "the next order is current");
        orders.push(list.value(i, "TX_LOGISTIC_ID"));
        scan(list, own[i]);
    }
    assertEqual(host.messages().length, 0, "nothing was in the way");
    for (let i = 0; i < 20; ++i) {
        assertEqual(list.value(i, "BILL_CODE"), own[i]);
        assertEqual(list.cell(i, "STATUS"), "揽件成功");
        assert(list.value(i, "REC_DATE") !== null, "the time of pickup is stamped");
    }
    host.screenshot("pickup.png");
    assertEqual(order(orders[0]).STATUS, 1, "nothing is sent before saving");
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    for (let i = 0; i < 20; ++i) {
        assertEqual(order(orders[i]).BILL_CODE, own[i]);
        assertEqual(order(orders[i]).STATUS, 3);
        assertEqual(rowOf(list, orders[i]), -1, "a collected order leaves the list");
    }
}

chapter("单号不对");
{
    const list = host.screen("frm_RecBill").grid("DataView1");
    const disabled = host.serverSql("select a.bill_code from tab_bill_del a where a.bill_code like '"
        + own[0].slice(0, 6) + "%'")[0].BILL_CODE;
    const refused = (number, text) => expectMessage(text, () => scan(list, number));
    refused("12345", "详细：单号规则错误！");
    refused(own[0], "详细：该运单号已使用，请使用新的运单号！");
    refused(disabled, "详细：该单号已经禁用，请使用其他单号！");
    refused("168999000017", "详细：此面单没有发放，不能进行收件扫描！");
    assertEqual(list.current, 0, "the row waits for its number");
    host.screenshot("pickup-refused.png");
    host.clearMessages();
    scan(list, own[20]);
    assertEqual(host.messages().length, 0);
    assertEqual(list.value(0, "BILL_CODE"), own[20], "the wrong number gave way to the next one scanned");
    refused(own[20], "详细：该运单号已使用，请使用新的运单号！");
    scan(list, own[21]);

    // Leaving the row any other way leaves the status to the clerk.
    expectMessage("详细：请修改订单状态！", () => {
        for (const digit of own[22])
            list.key(digit);
        list.key("Down");
    });
    host.clearMessages();
    list.key("3");
    list.key("Down");
    assertEqual(host.messages().length, 0);
    assertEqual(list.cell(2, "STATUS"), "揽件成功");
}

chapter("优惠券");
{
    const screen = host.screen("frm_RecBill");
    const list = screen.grid("DataView1");
    const coupon = value => host.serverSql("select a.FAVOURABLE_BILL from tab_favourable_bill a where a.BL_USE=0"
        + " and a.BILL_VALUE=" + quoted(value) + " and a.USE_START_DATE<sysdate and a.USE_END_DATE>sysdate")[0]
        .FAVOURABLE_BILL;
    const edit = screen.control("DBEditEh1");
    list.current = 3;
    list.edit(3, "TOTAL_WEIGHT", "45");
    list.edit(3, "TOTAL_VOLUME", "0.1");
    expectMessage("详细：校验码错误，请核实!", () => edit.text = coupon("10元").slice(0, 10));
    expectMessage("详细：此票只能使用不大于10元面值的优惠券，此优惠券不能使用!", () => edit.text = coupon("20元"));
    host.screenshot("pickup-coupon.png");
    host.clearMessages();
    edit.text = coupon("10元");
    assertEqual(host.messages().length, 0, "this one is good");
    expectMessage("详细：优惠券不能用于到付的支付方式！", () => {
        list.edit(3, "PAY_TYPE", "到付");
        list.edit(3, "BILL_CODE", own[23]);
    });
    host.clearMessages();
    list.edit(3, "PAY_TYPE", "现金");
    list.edit(3, "BILL_CODE", own[23]);
    assertEqual(host.messages().length, 0);
    assertEqual(list.cell(3, "STATUS"), "揽件成功");
}

chapter("批量揽件");
{
    const screen = host.screen("frm_RecBill");
    const list = screen.grid("DataView1");
    // Two pickups are taken back, and then done again together.
    for (const row of [0, 1])
        list.edit(row, "STATUS", "接单成功");
    list.key("Down");
    assertEqual(list.value(0, "REC_MAN"), null, "the stamp is taken away");
    assertEqual(list.value(0, "BILL_CODE"), own[20], "the number stays");
    list.select([0, 1]);
    expectMessage("详细：已成功批量揽件！", () => screen.control("BatchRecBill").click());
    assertEqual(list.selected(), []);
    for (const row of [0, 1])
        assertEqual(list.cell(row, "STATUS"), "揽件成功");
    list.select([1, 5, 6]);
    expectMessage("详细：网点揽件一定要输入运单号！", () => screen.control("BatchRecBill").click());
    assertEqual(list.current, 5, "the first row without a number ends the batch");
    list.key("Escape");
    list.key("Escape");
}

chapter("同事先揽收了");
{
    const screen = host.screen("frm_RecBill");
    const list = screen.grid("DataView1");
    const number = list.value(0, "TX_LOGISTIC_ID");
    const kept = list.value(3, "TX_LOGISTIC_ID");
    const colleague = host.otherSession(BRANCH.account, PASSWORD);
    colleague.update("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number),
        { STATUS: 3, BILL_CODE: own[25], REC_MAN: colleague.employeeName, REC_DATE: host.serverTime });
    let told = "";
    host.onDialog(dialog => {
        if (dialog.has("Grid1")) {
            told = dialog.control("Label1").text;
            host.screenshot("pickup-lost-race.png");
        }
        return dialog.has("Button1") ? "Button1" : "确定";
    });
    screen.control("Button1").click();
    host.onDialog(null);
    assertEqual(told, "以下泽摩订单揽件失败，其可能被您网点的其它员工揽收！");
    assertEqual(order(number).BILL_CODE, own[25], "the first one keeps it");
    assertEqual(order(kept).BILL_CODE, own[23], "the other orders are saved all the same");
    assertEqual(rowOf(list, number), -1, "the list shows how things stand");
    assert(host.closeAll());
}

chapter("面单归属");
{
    // The finance centre's stock, a site's own without a finance centre, and a partner whom nobody checks.
    const cases = [
        { user: RIVAL, good: freshNumbers("安徽财务中心", 1)[0], refusal: "详细：此面单没有发放，不能进行扫描！" },
        { user: BRANCH3, good: freshNumbers(BRANCH3.site, 1)[0], refusal: "详细：此面单没有发放，不能进行扫描！" },
        { user: PARTNER, good: "168999000017" },
    ];
    for (const tried of cases) {
        host.login(tried.user.account, PASSWORD);
        const screen = openPickup();
        const list = screen.grid("DataView1");
        const number = list.value(0, "TX_LOGISTIC_ID");
        if (tried.refusal)
            expectMessage(tried.refusal, () => scan(list, own[28]));
        host.clearMessages();
        scan(list, tried.good);
        assertEqual(host.messages().length, 0, tried.user.site + " may use " + tried.good);
        expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
        assertEqual(order(number).BILL_CODE, tried.good);
        assert(host.closeAll());
    }
}

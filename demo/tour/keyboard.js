// A clerk's day without a mouse: whatever happens here, a key makes it happen.

chapter("一天只用键盘");
{
    const type = text => { for (const character of text) host.key(character); };
    const tabTo = (what, control) => {
        for (let steps = 0; !control.hasFocus; ++steps) {
            assert(steps < 80, "Tab comes to " + what);
            host.key("Tab");
        }
    };
    host.login(BRANCH.account, PASSWORD);
    host.key("Ctrl+1");
    const screen = host.screen("frm_AcceptBill");
    const grid = screen.grid("DataView1");
    const column = field => {
        const shown = grid.columns().filter(one => one.visible).map(one => one.field);
        host.key("Home");
        for (let steps = shown.indexOf(field); steps > 0; --steps)
            host.key("Right");
    };

    // Query.
    tabTo("the first date", screen.control("DBDateTimeEditEh1"));
    host.key("Ctrl+A");
    type(daysAgo(6));
    host.key("F5");
    const all = grid.rowCount;
    assert(all > 2, "orders wait for the site");
    assertEqual(screen.control("DBDateTimeEditEh1").text, daysAgo(6) + " 00:00:00");

    // Filter.
    tabTo("the list", screen.control("DataView1.DataViewGrid"));
    host.key("Ctrl+Home");
    column("LOGISTICPROVIDERID");
    const source = grid.cell(0, "LOGISTICPROVIDERID");
    host.key("Ctrl+L");
    assert(grid.rowCount < all, "some orders are of another source");

    // Edit, look at what was there, take it back and make it again.
    const number = grid.value(0, "TX_LOGISTIC_ID");
    column("STATUS");
    host.key("F2");
    host.key("Ctrl+A");
    type("接单成功");
    host.key("Enter");
    host.key("Down");
    assertEqual(grid.value(0, "REC_SITE"), BRANCH.site);
    const picture = host.screenshot("keyboard.png");
    host.key("Ctrl+Z");
    assertEqual(grid.value(0, "STATUS"), 0, "one step back");
    host.key("Ctrl+Y");
    assertEqual(grid.value(0, "STATUS"), 1, "and forward");

    // Save.
    expectMessage("详细：数据保存成功！", () => host.key("Ctrl+S"));
    assertEqual(order(number).STATUS, 1);
    assertEqual(order(number).REC_SITE, BRANCH.site);

    // Look at it on paper.
    let pages = "";
    host.onDialog(dialog => {
        pages = dialog.control("Label1").text;
        host.key("PgDown");
        host.screenshot("keyboard-print.png");
        host.key("Escape");
    });
    host.key("Ctrl+P");
    host.onDialog(null);
    assert(/^共 \d+ 页/.test(pages), pages);

    // Export.
    const file = picture.replace(".png", "-" + Date.now() + ".xlsx"); // an earlier run may have left its own
    let written = "";
    host.onDialog(dialog => {
        tabTo("the file", dialog.control("Edit1"));
        host.key("Ctrl+A");
        type(file);
        tabTo("the button", dialog.control("Button1"));
        host.onDialog(null); // the progress needs no answer
        host.key("Space");
        written = dialog.control("Label1").text;
        host.key("Escape");
    });
    host.key("Ctrl+E");
    assert(written.startsWith("已导出"), written);

    // And home.
    host.key("Ctrl+F4");
    assert(!host.screens().includes("frm_AcceptBill"), "the window is closed");
}

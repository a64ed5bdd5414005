// What every list can do, on the acceptance screen: narrow its rows, mark what is not saved and take it back.

chapter("列表：筛选、标记、撤销");
{
    host.login(BRANCH.account, PASSWORD);
    const screen = openAcceptance();
    const grid = screen.grid("DataView1");
    const all = grid.rowCount;
    const source = grid.cell(0, "LOGISTICPROVIDERID");
    host.clearSql();
    grid.click(0, "LOGISTICPROVIDERID");
    grid.key("Ctrl+L");
    assert(grid.rowCount > 0 && grid.rowCount < all, "some orders are of another source");
    for (let row = 0; row < grid.rowCount; ++row)
        assertEqual(grid.cell(row, "LOGISTICPROVIDERID"), source);
    assertEqual(grid.footer("TX_LOGISTIC_ID"), String(grid.rowCount), "the footer counts what is shown");
    const narrowed = grid.rowCount;

    grid.edit(0, "STATUS", "接单成功");
    grid.key("Down");
    assertEqual(grid.value(0, "REC_SITE"), BRANCH.site);
    grid.click(0, "STATUS");
    host.screenshot("lists.png");
    host.onDialog(dialog => {
        assert(/^共 \d+ 页/.test(dialog.control("Label1").text), dialog.control("Label1").text);
        host.wait(1000);
        host.screenshot("print.png");
        return "关闭";
    });
    host.key("Ctrl+P");
    host.onDialog(null);
    assertEqual(screen.grid("DataView1").rowCount, narrowed, "back on the list");
    grid.key("Ctrl+Shift+L");
    host.screenshot("lists-filter.png");
    host.key("Escape");
    grid.key("Ctrl+Z");
    assertEqual(grid.value(0, "STATUS"), 0, "one step back");
    grid.key("Ctrl+Y");
    assertEqual(grid.value(0, "STATUS"), 1);
    grid.key("Ctrl+Shift+Z");
    assertEqual(grid.value(0, "REC_SITE"), null, "with what the rules had stamped");
    assertEqual(grid.rowCount, narrowed);
    assertEqual(host.control("FilteredCount").text, "显示" + narrowed + "行，共" + all + "行");
    assert(host.sql().every(sent => !sent.text.includes("from tab_zelmor_bill")), "no query was sent");
    assert(screen.close(), "nothing is left to save");
}

chapter("列表：查找、一列单号");
{
    host.login(BRANCH.account, PASSWORD);
    const screen = openAcceptance();
    const grid = screen.grid("DataView1");
    const all = grid.rowCount;
    const numbers = [2, 5, 9].map((row) => grid.cell(row, "TX_LOGISTIC_ID"));
    host.clearSql();
    grid.click(0, "TX_LOGISTIC_ID");
    grid.key("Ctrl+F");
    screen.control("FindText").type(numbers[1]);
    host.wait(300);
    screen.control("FindText").key("Return");
    assertEqual(grid.current, 5);
    assertEqual(screen.control("FindState").text, "1 / 1");
    screen.control("FindText").key("Ctrl+A");
    screen.control("FindText").type("上海");
    host.wait(300);
    host.screenshot("lists-find.png");
    screen.control("FindText").key("Escape");

    // Numbers copied in one order are found in it, whatever order the list has now.
    grid.click(0, "TX_LOGISTIC_ID");
    grid.select([2, 5, 9]);
    grid.key("Ctrl+Alt+C");
    grid.clickTitle("TX_LOGISTIC_ID");
    const first = grid.cell(0, "TX_LOGISTIC_ID");
    grid.key("Ctrl+Shift+F");
    host.wait(500);
    numbers.forEach((number, row) => assertEqual(grid.cell(row, "TX_LOGISTIC_ID"), number, "in the order copied"));
    assertEqual(grid.rowCount, all, "the others stay below");
    host.screenshot("lists-gather.png");
    grid.key("Escape");
    assertEqual(grid.cell(0, "TX_LOGISTIC_ID"), first);
    grid.clickTitle("TX_LOGISTIC_ID");
    grid.clickTitle("TX_LOGISTIC_ID");
    assert(host.sql().every(sent => !sent.text.includes("from tab_zelmor_bill")), "no query was sent");
    assert(screen.close(), "nothing was changed");
}

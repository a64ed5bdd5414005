// What every list can do, on the acceptance screen: mark what is not saved and take it back.

chapter("列表：标记、撤销");
{
    host.login(BRANCH.account, PASSWORD);
    const screen = openAcceptance();
    const grid = screen.grid("DataView1");
    grid.edit(0, "STATUS", "接单成功");
    grid.key("Down");
    assertEqual(grid.value(0, "REC_SITE"), BRANCH.site);
    grid.click(0, "STATUS");
    host.screenshot("lists.png");
    grid.key("Ctrl+Z");
    assertEqual(grid.value(0, "STATUS"), 0, "one step back");
    grid.key("Ctrl+Y");
    assertEqual(grid.value(0, "STATUS"), 1);
    grid.key("Ctrl+Shift+Z");
    assertEqual(grid.value(0, "REC_SITE"), null, "with what the rules had stamped");
    assert(screen.close(), "nothing is left to save");
}

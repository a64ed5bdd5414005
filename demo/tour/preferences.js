// How the lists look, and the guide beside them.

chapter("首选项和帮助");
{
    host.login(BRANCH.account, PASSWORD);
    const screen = openAcceptance();
    const grid = screen.grid("DataView1");
    grid.edit(0, "STATUS", "接单成功");
    grid.select([2, 3]);
    host.onDialog(dialog => {
        dialog.control("FontSize").text = "15";
        dialog.control("Stripes").checked = true;
        host.screenshot("preferences.png");
        dialog.control("DefaultsButton").click();
        return "取消";
    });
    host.key("Ctrl+,");
    host.onDialog(null);
    assertEqual(grid.value(0, "STATUS"), 1, "the edit is still there");
    assertEqual(grid.selected().length, 2, "so is the selection");

    host.key("F1");
    assertEqual(host.control("GuideContents").text, "网点接单");
    host.screenshot("help.png");
    host.key("Ctrl+F1");
    host.screenshot("help-keys.png");
    host.control("GuidePage").key("Escape");
    assert(!host.control("GuidePage").visible, "Esc closes the guide");
    grid.key("Ctrl+Z");
    assert(screen.close(), "nothing is left to save");
}

// The user's column widths, hidden columns and last criteria come back when the screen is opened again.

chapter("列宽保存与恢复");
{
    host.exec("frm_AcceptBill111");
    const widthOf = field =>
        host.screen("frm_AcceptBill").grid("DataView1").columns().find(column => column.field === field).width;
    const grid = host.screen("frm_AcceptBill").grid("DataView1");
    const before = widthOf("LOGISTICPROVIDERID");
    grid.resize("LOGISTICPROVIDERID", before + 45);
    const wider = widthOf("LOGISTICPROVIDERID");
    assert(Math.abs(wider - before - 45) <= 2, "dragged from " + before + " to " + wider);
    assert(host.screen("frm_AcceptBill").close());
    host.exec("frm_AcceptBill111");
    assertEqual(widthOf("LOGISTICPROVIDERID"), wider, "the width was kept");
    host.screenshot("11-layout.png");
    host.screen("frm_AcceptBill").grid("DataView1").resize("LOGISTICPROVIDERID", before);

    const warehouse = () => host.screen("frm_AcceptBill").control("仓库编号");
    warehouse().text = "W00";
    host.key("F5");
    assert(host.closeAll());
    host.exec("frm_AcceptBill111");
    assertEqual(warehouse().text, "", "a screen opens on its own criteria");
    warehouse().focus();
    host.screen("frm_AcceptBill").key("Shift+F5");
    assertEqual(warehouse().text, "W00");
    warehouse().text = "";
    host.key("F5");
    assert(host.closeAll());
}

// Opens every window in turn and takes its picture; scripts/looks.sh fills in the size and scale.

const width = Math.floor(WIDTH / SCALE), height = Math.floor(HEIGHT / SCALE);
const screens = ["frm_Site", "frm_BillQuery", "frm_AcceptBill", "frm_RecBill", "frm_RecBillQuery", "frm_UnDispartBill",
    "frm_order_pda_control", "frm_order_pda_EMP", "frm_order_pda_depute", "frm_UnAccept", "frm_UnRec", "frm_Collect",
    "frm_CenterBillBack", "frm_CenterBillQuery", "frm_order_pda"];
// Headquarters has many sites, a branch none but itself.
const accounts = { benbu: screens, hefei1: ["frm_Site", "frm_UnAccept", "frm_UnRec", "frm_Collect"] };

// What opens over a window, or beside it.
function lookAtTheRest() {
    host.screenshot("start");
    host.exec("frm_AcceptBill111");
    const grid = host.screen("frm_AcceptBill").grid("DataView1");
    host.wait(200);
    host.key("F5");
    const look = (name, key) => {
        host.onDialog(() => {
            host.wait(1000);
            host.screenshot(name);
        });
        grid.key(key);
        host.wait(200);
        host.onDialog(null);
    };
    grid.click(0, "LOGISTICPROVIDERID");
    look("cell-menu", "Menu");
    look("print", "Ctrl+P");
    look("export", "Ctrl+E");
    look("preferences", "Ctrl+,");
    grid.key("Ctrl+Shift+L");
    host.screenshot("filter");
    host.key("Escape");
    grid.key("Ctrl+L");
    grid.key("Ctrl+F");
    host.wait(200);
    host.screenshot("find");
    host.key("Escape");
    host.key("Ctrl+F1");
    host.screenshot("keys");
    host.control("GuidePage").key("Escape");
    host.closeAll();
    host.exec("frm_order_pda111");
    host.answer("FOLDER/demo/tour/orders.csv");
    host.onDialog(() => {
        host.wait(1000);
        host.screenshot("import");
    });
    host.screen("frm_order_pda").control("Excel导入").click();
    host.onDialog(null);
    host.closeAll();
}

host.screenshot("login");
for (const account in accounts) {
    host.login(account, "demo");
    host.resize(width, height);
    for (const name of accounts[account]) {
        host.exec(name + "111");
        const screen = host.screen(name);
        for (const from of ["DBDateTimeEditEh1", "开始"]) {
            if (screen.has(from))
                screen.control(from).text = host.serverTime.slice(0, 8) + "18 00:00:00";
        }
        host.wait(200); // until the window system has given it the keyboard
        host.key("F5");
        host.screenshot(account + "-" + name);
        assert(host.closeAll(), name);
    }
    if (account === "benbu")
        lookAtTheRest();
}

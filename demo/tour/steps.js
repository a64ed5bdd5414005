// What the acts of the tour share; "var", because only that reaches the other files.

var BRANCH = { account: "hefei1", site: "安徽合肥一部" };
var RIVAL = { account: "hefei2", site: "安徽合肥二部" };
var CENTRE = { account: "hefei", site: "合肥中心" };
var HEADQUARTERS = { account: "benbu", site: "快运本部" };
var PASSWORD = "demo";

function quoted(text) {
    return "'" + String(text).replace(/'/g, "''") + "'";
}

// Waits until the function gives something true; a tour must not depend on how fast a machine is.
function waitFor(what, condition, milliseconds = 60000) {
    for (let waited = 0; waited < milliseconds; waited += 20) {
        if (condition())
            return;
        host.wait(20);
    }
    assert(false, "waited in vain for " + what);
}

function lastMessage() {
    const shown = host.messages();
    return shown.length === 0 ? "" : shown[shown.length - 1].text;
}

// Runs the step and checks the one message that it shows.
function expectMessage(text, step) {
    host.clearMessages();
    step();
    assertEqual(lastMessage(), text);
}

function order(number) {
    return host.serverSql("select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID=" + quoted(number))[0];
}

function rowOf(grid, number) {
    for (let row = 0; row < grid.rowCount; ++row) {
        if (grid.value(row, "TX_LOGISTIC_ID") === number)
            return row;
    }
    return -1;
}

// The server's date so many days ago.
function daysAgo(days) {
    const noon = new Date(host.serverTime.slice(0, 10) + "T12:00:00Z");
    return new Date(noon.getTime() - days * 86400000).toISOString().slice(0, 10);
}

// Opens the acceptance screen on the orders of the last days.
function openAcceptance() {
    host.exec("frm_AcceptBill111");
    const screen = host.screen("frm_AcceptBill");
    screen.control("DBDateTimeEditEh1").text = daysAgo(6) + " 00:00:00";
    screen.control("Button4").click();
    return screen;
}

function chapter(title) {
    print("· " + title);
}

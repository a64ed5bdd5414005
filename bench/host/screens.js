// The order query's widest window on a million orders. Run by scripts/bench.sh.

host.login("benbu", "demo");

function timed(what, action) {
    var start = Date.now();
    action();
    print("| " + what + " | " + (Date.now() - start) + " ms |");
}

function serverMilliseconds() {
    return Math.round(host.sql().reduce(function (sum, entry) { return sum + entry.microseconds; }, 0) / 1000);
}

print("| on 1,000,000 orders | time |");
print("|---|---|");
host.exec("frm_BillQuery111");
var screen = host.screen("frm_BillQuery");
screen.control("DBLookupComboboxEh2").text = "";
screen.control("DBDateTimeEditEh1").text = "2026-10-20 15:00:00";
screen.control("DBDateTimeEditEh2").text = "2026-11-20 15:00:00";
screen.control("DBComboBoxEh2").text = "泽摩";
host.clearSql();
timed("a window of 31 days, every column, shown", function () { screen.control("Button1").click(); });
print("| of that, in the server and the dataset | " + serverMilliseconds() + " ms |");
var grid = screen.grid("DataView1");
timed("its " + grid.rowCount + " rows sorted by site", function () { grid.clickTitle("REC_SITE"); });
timed("and by site and time", function () { grid.clickTitle("CREATE_DATE"); });

// Two clients dispatch the same orders at the same time, each through its own window, until none is left.

#include "tests/support/ServerProcess.h"
#include "tests/system/Desk.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kOrders = 500;

// What a desk does: picks some of the orders that it sees without a driver, gives them to its own, saves.
const QString kScript = uR"js(
host.login("%1", "demo");
host.exec("frm_order_pda_control111");
const screen = host.screen("frm_order_pda_control");
const grid = screen.grid("DataView1");
screen.control("Memo1").text = "%2";
screen.control("按订单号查询").checked = true;
const driver = screen.control("EMP_NAME");
driver.focus();
driver.type("%3");
driver.key("Enter");
host.key("F5");
assertEqual(grid.rowCount, %4);
while (Date.now() < %5)
    host.wait(5);
let won = 0, lost = 0;
for (;;) {
    let free = [];
    for (let row = 0; row < grid.rowCount; ++row) {
        if (grid.value(row, "REC_BILL_MAN") === null)
            free.push(row);
    }
    if (free.length === 0)
        break;
    free = free.sort(() => Math.random() - 0.5).slice(0, 40);
    grid.select(free);
    host.answer("yes");
    screen.control("批量分派司机").click();
    host.clearMessages();
    host.key("Ctrl+S");
    const told = host.messages()[0].text;
    if (told === "详细：数据保存成功！") {
        won += free.length;
    } else {
        assertEqual(told, "详细：保存失败");
        assert(screen.control("RefusedRows").visible, "which orders");
        const refused = free.filter(row => grid.color(row) === "#f2a65e");
        assert(refused.length > 0 && refused.length <= free.length, "are marked");
        grid.current = refused[0];
        assert(screen.control("RefusedReason").visible, "and why");
        ++lost;
        host.answer("yes");
        host.key("F5");
    }
}
print("won " + won + " lost " + lost);
)js"_s;

struct TClient {
    QTemporaryDir folder;
    QProcess process;
    int won = 0;
    int lost = 0;

    void Start(int port, const QString& script)
    {
        QFile file(folder.filePath(u"desk.js"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(script.toUtf8());
        file.close();
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationDirPath() + u"/zelmor-host"_s,
            {u"--data"_s, folder.path(), u"--server"_s, u"127.0.0.1:%1"_s.arg(port), u"--script"_s,
                file.fileName()});
    }
    void Finish()
    {
        ASSERT_TRUE(process.waitForFinished(240'000));
        const QString said = QString::fromUtf8(process.readAll());
        EXPECT_EQ(process.exitCode(), 0) << qUtf8Printable(said);
        const auto counts = QRegularExpression(u"won (\\d+) lost (\\d+)"_s).match(said);
        won = counts.captured(1).toInt();
        lost = counts.captured(2).toInt();
    }
};

} // namespace

TEST(DispatchRace, EveryOrderEndsWithOneDriverAndEveryLoserIsTold)
{
    const QTemporaryDir folder;
    const ServerProcess server(folder.path(), {u"--demo"_s, u"small"_s});
    QStringList numbers;
    {
        Desk headquarters(server.Port(), DemoAccountOf(u"本部"_s));
        headquarters.Open(u"select a.* from tab_zelmor_bill a where rownum<=%1"_s.arg(kOrders));
        TClientDataSetEx& orders = headquarters.orders;
        for (; !orders.Eof(); orders.Next()) {
            numbers += orders.FieldByName(u"TX_LOGISTIC_ID").AsString();
            orders.Edit();
            for (const QStringView field : {u"REC_BILL_MAN", u"REC_BILL_CODE", u"REC_SITE", u"BILL_CODE"})
                orders.FieldByName(field).Clear();
            orders.FieldByName(u"STATUS").SetAsInteger(0);
            orders.FieldByName(u"PREPARE_SITE").SetAsString(u";安徽合肥一部;"_s);
            orders.FieldByName(u"CREATER_SITE").SetAsString(u"安徽合肥一部"_s);
            orders.Post();
        }
        orders.ApplyUpdates(0);
    }
    ASSERT_EQ(numbers.size(), kOrders);

    // The branch, and the centre above it.
    const QStringList accounts{u"hefei1"_s, u"hefei"_s};
    const QStringList drivers{u"34000303"_s, u"34000304"_s};
    const qint64 together = QDateTime::currentMSecsSinceEpoch() + 8'000;
    TClient clients[2];
    for (int i = 0; i < 2; ++i)
        clients[i].Start(server.Port(),
            kScript.arg(accounts[i], numbers.join(u"\\n"_s), drivers[i]).arg(kOrders).arg(together));
    for (TClient& client : clients)
        client.Finish();

    std::map<QString, int> ordersOf;
    for (const QStringList& row : AskDatabase(folder.path(),
             u"select a.REC_BILL_CODE, count(*) from tab_zelmor_bill a where a.STATUS=10 and "
             u"a.TX_LOGISTIC_ID in "
             "('%1') group by a.REC_BILL_CODE"_s.arg(numbers.join(u"','"_s)))) {
        ordersOf[row[0]] = row[1].toInt();
    }
    EXPECT_EQ(ordersOf[drivers[0]], clients[0].won);
    EXPECT_EQ(ordersOf[drivers[1]], clients[1].won);
    EXPECT_EQ(clients[0].won + clients[1].won, kOrders);
    EXPECT_GT(clients[0].lost + clients[1].lost, 0) << "they never met";
    // Each order was given away once, and never taken from one driver for the other.
    EXPECT_EQ(
        AskDatabase(folder.path(),
            u"select count(*) from zelmor_audit where FIELDS like '%\"REC_BILL_CODE\":[null,\"3400030%'"_s),
        std::vector<QStringList>{{QString::number(kOrders)}});
}

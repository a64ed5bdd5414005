// Two clients at a time, each through its own window: they dispatch the same orders until none is left, and
// they enter orders that all want the next number.

#include "tests/support/Desk.h"
#include "tests/support/ServerProcess.h"

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

constexpr int kCalls = 20; // that each desk takes

const QString kEntryScript = uR"js(
host.login("%1", "demo");
host.exec("frm_order_pda111");
const screen = host.screen("frm_order_pda");
const grid = screen.grid("DataView1");
let lost = 0;
for (let call = 0; call < %2; ++call) {
    const phone = "%3" + String(call).padStart(4, "0");
    for (const [box, text] of [["发货人电话", phone], ["发货人姓名", "王芳"], ["PROV", "安徽"], ["CITY", "合肥"],
             ["COUNTY", "蜀山"], ["ADDRESS", "长江西路1号"], ["SEND_PROV", "广东"], ["SEND_CITY", "广州"],
             ["SEND_COUNTY", "天河"], ["业务员", "%4"]])
        screen.control(box).text = text;
    const together = Math.ceil(Date.now() / 500) * 500;
    while (Date.now() < together);
    for (;;) {
        host.clearMessages();
        host.key("Ctrl+S");
        const told = host.messages()[0].text;
        if (told === "详细：数据保存成功！")
            break;
        assertEqual(told, "详细：保存失败");
        assert(screen.control("RefusedReason").text.includes("已存在"), "why");
        assertEqual([grid.rowCount, grid.value(0, "PHONE")], [1, phone], "nothing typed is lost");
        ++lost;
    }
    assertEqual(grid.rowCount, 0);
}
print("won %2 lost " + lost);
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

TEST(EntryRace, EveryOrderOfTwoDesksHasItsOwnNumberAndNoneIsLost)
{
    const QTemporaryDir folder;
    const ServerProcess server(folder.path(), {u"--demo"_s, u"small"_s});
    const QStringList accounts{u"hefei1"_s, u"hefei2"_s};
    TClient clients[2];
    for (int i = 0; i < 2; ++i) {
        const auto couriers = AskDatabase(folder.path(),
            u"select a.EMPLOYEE_NAME from tab_employee a where a.OWNER_SITE='安徽合肥%1部'"_s.arg(
                u"一二"_s[i]));
        ASSERT_FALSE(couriers.empty());
        clients[i].Start(
            server.Port(), kEntryScript.arg(accounts[i]).arg(kCalls).arg(1'380'001 + i).arg(couriers[0][0]));
    }
    for (TClient& client : clients) {
        client.Finish();
        EXPECT_EQ(client.won, kCalls);
    }
    EXPECT_GT(clients[0].lost + clients[1].lost, 0) << "they never met";

    // Both wrote under the day's next numbers, without a gap.
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(AskDatabase(folder.path(),
                      u"select count(distinct a.PHONE), count(*) from tab_zelmor_bill a where a.PHONE like "
                      u"'%1%' and "
                      "a.CREATER_SITE='安徽合肥%2部' and a.STATUS=0"_s.arg(1'380'001 + i)
                          .arg(u"一二"_s[i])),
            (std::vector<QStringList>{{QString::number(kCalls), QString::number(kCalls)}}));
    EXPECT_EQ(
        AskDatabase(folder.path(),
            u"select count(distinct a.TX_LOGISTIC_ID), "
            "to_number(substr(max(a.TX_LOGISTIC_ID),10))-to_number(substr(min(a.TX_LOGISTIC_ID),10))+1 from "
            "tab_zelmor_bill a where a.PHONE like '138000%'"_s),
        (std::vector<QStringList>{{QString::number(2 * kCalls), QString::number(2 * kCalls)}}));
}

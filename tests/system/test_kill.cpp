// The server dies without warning in the middle of saves, over and over.

#include "tests/support/Desk.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <random>
#include <semaphore>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kKills = 100;
constexpr int kRowsASave = 40;
const QString kRows = u"select a.* from tab_zelmor_bill a where rownum<=%1"_s.arg(kRowsASave);

struct Turn {
    bool acknowledged = false;
    int present = 0; // rows of the save that stand in the database after the restart
    bool goesThrough = false;
    QString problem;
};

// Saves, is cut off, looks at what stands, and sends the same save again.
class Client {
public:
    explicit Client(const ServerProcess& server)
        : server_(server)
    {
    }

    void Run()
    {
        Desk desk(server_.Port(), DemoAccountOf(u"本部"_s));
        desk.Open(kRows);
        for (int turn = 0; turn < kKills; ++turn) {
            turns.emplace_back();
            try {
                OneTurn(desk, turns.back(), turn);
            } catch (const wire::Error& error) {
                turns.back().problem = error.Message();
                restarted.release(kKills);
                saving.release(kKills);
                return;
            }
        }
    }

    std::vector<Turn> turns;
    std::counting_semaphore<> saving{0};
    std::counting_semaphore<> restarted{0};

private:
    void OneTurn(Desk& desk, Turn& turn, int number)
    {
        const QString mark = u"第%1次保存"_s.arg(number);
        desk.MarkAll(mark);
        saving.release();
        desk.connection.SavePatience = 0; // what the kill hits is to be seen, not mended
        try {
            desk.orders.ApplyUpdates(-1);
            turn.acknowledged = true;
        } catch (const wire::Error& error) {
            if (error.Kind() != wire::ErrorKind::Connection)
                throw;
        }
        desk.connection.SavePatience = 10'000;
        restarted.acquire();
        Desk witness(server_.Port(), DemoAccountOf());
        witness.Open(u"select a.TX_LOGISTIC_ID from tab_zelmor_bill a where a.REMARK='%1'"_s.arg(mark));
        turn.present = witness.orders.RecordCount();
        desk.orders.ApplyUpdates(-1);
        turn.goesThrough = desk.orders.ChangeCount() == 0;
    }

    const ServerProcess& server_;
};

} // namespace

TEST(Kill, EverySaveIsThereWholeOrNotAtAllAndGoesThroughOnce)
{
    const QTemporaryDir folder;
    ServerProcess server(folder.path(), {u"--demo"_s, u"small"_s});
    const QString auditEntries = u"select count(*) from zelmor_audit"_s;
    const int entriesBefore = AskDatabase(folder.path(), auditEntries)[0][0].toInt();
    Client client(server);
    std::mt19937 random(20'240'131);
    {
        const DeskThread thread([&] { client.Run(); });
        for (int kill = 0; kill < kKills; ++kill) {
            client.saving.acquire();
            QThread::usleep(random() % 20'000);
            server.Kill();
            server.Start();
            client.restarted.release();
        }
    }
    ASSERT_EQ(client.turns.size(), size_t(kKills));
    int cutOff = 0;
    for (const Turn& turn : client.turns) {
        ASSERT_TRUE(turn.problem.isEmpty()) << qUtf8Printable(turn.problem);
        EXPECT_TRUE(turn.present == 0 || turn.present == kRowsASave) << turn.present;
        EXPECT_TRUE(!turn.acknowledged || turn.present == kRowsASave);
        EXPECT_TRUE(turn.goesThrough);
        cutOff += !turn.acknowledged;
    }
    EXPECT_GT(cutOff, 0) << "no kill hit a save: nothing was tested";
    EXPECT_EQ(AskDatabase(folder.path(), auditEntries)[0][0].toInt() - entriesBefore, kKills * kRowsASave);
}

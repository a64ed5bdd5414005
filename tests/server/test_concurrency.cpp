#include "tests/server/AnyStorage.h"

#include <atomic>
#include <thread>

namespace server::testing {
namespace {

class ConcurrencyTest : public AnyStorageTest {
protected:
    static void InParallel(int threads, const std::function<void(int)>& work)
    {
        std::vector<std::jthread> running;
        for (int i = 0; i < threads; ++i)
            running.emplace_back([&work, i] { work(i); });
    }
    // Fewer through ODBC, where each look behind the server's back makes a connection.
    static int Rounds(int rounds)
    {
        const bool odbc =
            GetParam() == StorageKind::OdbcToSqlite || GetParam() == StorageKind::OdbcToPostgres;
        return odbc ? rounds / 5 : rounds;
    }
};

TEST_P(ConcurrencyTest, OfTwoClientsRacingForARowOneWins)
{
    const QString text = kOrders;
    const int rounds = Rounds(100);
    Client clients[] = {LoggedIn(), LoggedIn()};
    int wins[2] = {};
    for (int round = 0; round < rounds; ++round) {
        Raw("update tab_zelmor_bill set STATUS = 0, REC_SITE = null");
        const wire::RowSet rows = clients[0].Query(text);
        std::atomic<int> accepted = 0;
        InParallel(2, [&](int i) {
            Changes changes(text, rows);
            changes.Update(0, u"STATUS=1, DUTY_SITE=合肥一部"_s);
            if (clients[i]
                    .Apply(changes.log, {.client = {quint8(i + 1)}, .number = quint64(round)}, -1)
                    .rows[0]
                    .accepted) {
                ++accepted;
                ++wins[i];
            }
        });
        ASSERT_EQ(accepted, 1);
        ASSERT_EQ(RawText("select count(*) from zelmor_audit").toInt(), round + 1);
    }
    EXPECT_EQ(wins[0] + wins[1], rounds);
}

TEST_P(ConcurrencyTest, ASaveSentTwiceAtOnceIsAppliedOnce)
{
    const QString text = kOrders;
    for (quint64 round = 0; round < quint64(Rounds(50)); ++round) {
        Client clients[] = {LoggedIn(), LoggedIn()};
        Changes changes(text, clients[0].Query(text));
        changes.Insert(u"TX_LOGISTIC_ID=N%1"_s.arg(round));
        InParallel(2, [&](int i) {
            EXPECT_TRUE(clients[i].Apply(changes.log, {.client = {9}, .number = round}, -1).rows[0].accepted);
        });
    }
    EXPECT_EQ(RawText("select count(*) from zelmor_audit").toInt(), Rounds(50));
}

TEST_P(ConcurrencyTest, ReadersSeeSavesWholeOrNotAtAll)
{
    const QString text = kOrders;
    std::atomic<bool> done = false;
    std::jthread writer([&] {
        Client client = LoggedIn();
        for (int round = 1; round <= Rounds(60); ++round) {
            const wire::RowSet rows = client.Query(text);
            Changes changes(text, rows);
            for (int row = 0; row < 3; ++row)
                changes.Update(row, u"PIECE=%1"_s.arg(round));
            EXPECT_EQ(client.Apply(changes.log, {.client = {3}, .number = quint64(round)}, -1).Rejected(), 0);
        }
        done = true;
    });
    InParallel(3, [&](int) {
        Client client = LoggedIn();
        while (!done) {
            const wire::RowSet rows = client.Query(text);
            const wire::Column& piece = rows.columns[static_cast<size_t>(rows.IndexOf(u"PIECE"))];
            ASSERT_EQ(piece.ValueAt(0), piece.ValueAt(1));
            ASSERT_EQ(piece.ValueAt(0), piece.ValueAt(2));
        }
    });
}

ZELMOR_FOR_EACH_STORAGE(ConcurrencyTest);
ZELMOR_FOR_ODBC_TOO(ConcurrencyTest);

// The embedded database has one writer at a time, and clients' programs may be several.
class LockedFileTest : public ServerTest { };

TEST_F(LockedFileTest, AWriterOfAnotherProcessIsWaitedFor)
{
    storage::sqlite::Database other(File(), storage::sqlite::OpenMode::Serve);
    other.Execute("begin immediate; update tab_zelmor_bill set STATUS = 7 where TX_LOGISTIC_ID = 'B'");
    std::jthread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        other.Execute("commit");
    });
    Client client = LoggedIn();
    EXPECT_EQ(client.Query(kOrders).RowCount(), 3) << "readers go on meanwhile";
    EXPECT_EQ(client.Execute(u"update tab_zelmor_bill set STATUS = 5 where STATUS = 7"_s), 1);
}

} // namespace
} // namespace server::testing

#include "server/storage/Pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <thread>

namespace storage {
namespace {

using namespace std::chrono_literals;

// What a database would do to its connections, in numbers.
struct FakeDatabase {
    std::atomic<int> connects{0};
    std::atomic<int> open{0};
    std::atomic<int> looks{0};
    std::atomic<bool> closedAll{false}; // who looks, sees it
    std::atomic<bool> refuses{false};
};

class FakeConnection final : public Connection {
public:
    explicit FakeConnection(FakeDatabase& database)
        : Connection(nullptr, dialect::Target::Sqlite)
        , number(++database.connects)
        , database_(database)
    {
        ++database_.open;
    }
    ~FakeConnection() override { --database_.open; }

    const int number;
    bool lost = false; // known to it

    bool IsUsable() noexcept override { return !lost; }
    bool IsStillUsable() noexcept override
    {
        ++database_.looks;
        return !lost && !database_.closedAll;
    }

    qint64 Query(const dialect::Translated&, wire::DateTime, const ReadLimits&, wire::ReplySink&) override
    {
        return 0;
    }
    qint64 Execute(const dialect::Translated&, wire::DateTime) override { return 0; }
    std::vector<Row> Select(
        std::string_view, std::span<const wire::Value>, std::span<const wire::ColumnType>) override
    {
        return {};
    }
    qint64 Change(std::string_view, std::span<const wire::Value>) override { return 0; }
    bool Insert(const company::Table&, std::span<const wire::Value>) override { return true; }
    std::unique_ptr<RowWriter> WriteRows(const WriteTarget&) override { return nullptr; }
    void Begin() override { }
    void Commit() override { }
    void Rollback() noexcept override { }
    void SetSavepoint() override { }
    void RollbackToSavepoint() override { }
    void SetStop(StopSignal*) noexcept override { }

private:
    FakeDatabase& database_;
};

class FakeBackend final : public Backend {
public:
    explicit FakeBackend(FakeDatabase& database)
        : database_(database)
    {
    }
    std::shared_ptr<const dialect::Catalog> Catalog() const override { return nullptr; }
    std::unique_ptr<Connection> Connect() override
    {
        if (database_.refuses)
            throw TryAgain(TryAgain::Cause::Lost, wire::ErrorKind::Storage, QStringLiteral("not now"));
        return std::make_unique<FakeConnection>(database_);
    }
    bool HasOneWriter() const noexcept override { return false; }
    QString Description() const override { return {}; }

private:
    FakeDatabase& database_;
};

class PoolTest : public testing::Test {
protected:
    static FakeConnection& Of(const ConnectionPool::Lease& lease)
    {
        return static_cast<FakeConnection&>(*lease);
    }
    // Starts a thread that lends, and returns when it waits in the queue.
    std::jthread Waiting(ConnectionPool& pool, std::function<void(FakeConnection&)> work)
    {
        const int before = pool.State().waiting;
        std::jthread thread([&pool, work = std::move(work)] {
            const auto lease = pool.Lend();
            work(Of(lease));
        });
        while (pool.State().waiting == before)
            std::this_thread::yield();
        return thread;
    }

    FakeDatabase database_;
};

TEST_F(PoolTest, WhoWaitsIsServedInTurnWithTheConnectionThatIsGivenBack)
{
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 1);
    std::vector<int> served; // one at a time: the connection guards it
    std::vector<std::jthread> threads;
    {
        const auto lease = pool.Lend();
        for (int i = 0; i < 5; ++i)
            threads.push_back(Waiting(pool, [&served, i](FakeConnection&) { served.push_back(i); }));
    }
    threads.clear();
    EXPECT_EQ(served, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(database_.connects, 1);
    EXPECT_EQ(database_.looks, 0);
    EXPECT_EQ(pool.State().lent, 0);
    EXPECT_EQ(pool.State().idle, 1);
}

TEST_F(PoolTest, ALostConnectionLeavesItsPlaceToWhoWaits)
{
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 1);
    int number = 0;
    std::jthread thread;
    {
        const auto lease = pool.Lend();
        thread = Waiting(pool, [&number](FakeConnection& connection) { number = connection.number; });
        Of(lease).lost = true;
    }
    thread.join();
    EXPECT_EQ(number, 2);
    EXPECT_EQ(pool.State().opened, 2);
    EXPECT_EQ(pool.State().dropped, 1);
    EXPECT_EQ(database_.open, 1);
}

TEST_F(PoolTest, WhereNoneCanBeMadeThePlaceGoesOn)
{
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 1);
    std::atomic<int> refused{0};
    std::vector<std::jthread> threads;
    {
        const auto lease = pool.Lend();
        for (int i = 0; i < 3; ++i) {
            const int before = pool.State().waiting;
            threads.emplace_back([&] {
                try {
                    pool.Lend();
                } catch (const TryAgain&) {
                    ++refused;
                }
            });
            while (pool.State().waiting == before)
                std::this_thread::yield();
        }
        Of(lease).lost = true;
        database_.refuses = true;
    }
    threads.clear();
    EXPECT_EQ(refused, 3);
    EXPECT_EQ(pool.State().lent, 0);
    database_.refuses = false;
    EXPECT_EQ(Of(pool.Lend()).number, 2);
}

TEST_F(PoolTest, ARestedConnectionIsLookedAtAndEachOfThemOnceOneIsLost)
{
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 3);
    const auto lendAll = [&] {
        const ConnectionPool::Lease leases[] = {pool.Lend(), pool.Lend(), pool.Lend()};
    };
    lendAll();
    lendAll();
    EXPECT_EQ(database_.looks, 0);

    // The database has gone; one request notices, the others need not.
    database_.closedAll = true;
    Of(pool.Lend()).lost = true;
    lendAll();
    EXPECT_EQ(database_.looks, 2);
    EXPECT_EQ(database_.connects, 6);
    EXPECT_EQ(database_.open, 3);

    database_.closedAll = false;
    std::this_thread::sleep_for(1100ms);
    lendAll();
    EXPECT_EQ(database_.looks, 5);
    EXPECT_EQ(database_.connects, 6);
}

TEST_F(PoolTest, ManyShareFewWithoutLosingATurn)
{
    constexpr int kThreads = 24;
    constexpr int kTurns = 2000;
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 3);
    std::atomic<int> turns{0};
    {
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] {
                for (int turn = 0; turn < kTurns; ++turn) {
                    const auto lease = pool.Lend();
                    Of(lease).lost = (turn + i) % 97 == 0;
                    ++turns;
                }
            });
        }
    }
    EXPECT_EQ(turns, kThreads * kTurns);
    EXPECT_LE(database_.open, 3);
    const storage::PoolState state = pool.State();
    EXPECT_EQ(state.lent, 0);
    EXPECT_EQ(state.waiting, 0);
    EXPECT_EQ(state.opened - state.dropped, state.idle);
}

TEST_F(PoolTest, NoAccountTakesAllAndWhoHasNoneIsServedFirst)
{
    ConnectionPool pool(std::make_unique<FakeBackend>(database_), 8, 50ms);
    const QString greedy = QStringLiteral("greedy");
    const QString other = QStringLiteral("other");
    std::deque<std::unique_ptr<ConnectionPool::Lease>> held;
    const auto take = [&](const QString& account) {
        auto& place = held.emplace_back();
        place.reset(new ConnectionPool::Lease(pool.Lend(account)));
    };
    for (int i = 0; i < 4; ++i)
        take(greedy);
    EXPECT_THROW(pool.Lend(greedy), wire::Error);
    take(other);
    take(other);
    EXPECT_THROW(pool.Lend(other), wire::Error) << "the last quarter is for those that have none";
    take(QStringLiteral("third"));
    take(QStringLiteral("fourth"));
    try {
        pool.Lend(QStringLiteral("fifth"));
        FAIL() << "there is none";
    } catch (const wire::Error& error) {
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Limit);
        EXPECT_TRUE(error.Message().contains(QStringLiteral("繁忙"))) << error.what();
    }
    held.pop_front();
    EXPECT_NO_THROW(pool.Lend(QStringLiteral("fifth")));
    held.clear();
    EXPECT_EQ(pool.State().lent, 0);
    EXPECT_EQ(pool.State().waiting, 0);
}

TEST(WriterTurnTest, GoesToTheAccountThatWroteLongestAgo)
{
    storage::WriterTurn turn;
    QStringList order;
    std::vector<std::jthread> threads;
    {
        const auto held = turn.Take(QStringLiteral("greedy"), 10s);
        ASSERT_TRUE(held);
        EXPECT_FALSE(turn.Take(QStringLiteral("hurried"), 10ms));
        for (const QString& account : {QStringLiteral("greedy"), QStringLiteral("greedy"),
                 QStringLiteral("other"), QStringLiteral("greedy"), QStringLiteral("third")}) {
            threads.emplace_back([&turn, &order, account] {
                const auto own = turn.Take(account, 10s);
                order += own ? account : QString();
            });
            while (turn.Waiting() < int(threads.size()))
                std::this_thread::sleep_for(1ms);
        }
    }
    threads.clear();
    EXPECT_EQ(order.join(u' '), QStringLiteral("other third greedy greedy greedy"));
    EXPECT_TRUE(turn.Take(QStringLiteral("greedy"), 0ms));
}

} // namespace
} // namespace storage

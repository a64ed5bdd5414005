// Clients over a network that loses, cuts, delays and reorders, in thousands of cases that seeds name.

#include "demo/Generator.h"
#include "runtime/data/TcpTransport.h"
#include "server/net/Listener.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/Desk.h"
#include "tests/support/FaultProxy.h"
#include "tests/support/RowKeeper.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>
#include <mutex>
#include <random>

using namespace Qt::Literals::StringLiterals;
using wire::ErrorKind;
using Kind = Fate::Kind;
using Direction = PassingFrame::Direction;

namespace {

constexpr int kClients = 2;
constexpr int kCases = 1'500; // of each client
constexpr int kRowsAClient = 20;
constexpr int kReplyTimeout = 2'000; // milliseconds; what a stall costs

// Logging in takes its time on purpose, and faults make clients log in over and over: sessions that are
// logged in serve one connection after another.
class Sessions {
public:
    explicit Sessions(server::ApplicationServer& server)
        : server_(server)
    {
    }
    // So many are there before anybody comes.
    void LogIn(int count)
    {
        RowKeeper nothing;
        wire::Request login;
        login.kind = wire::RequestKind::Login;
        login.account = DemoAccountOf();
        login.password = demo::DemoPassword();
        while (count-- > 0) {
            idle_.push_back(server_.NewSession(u"test"_s));
            idle_.back()->Handle(login, nothing);
        }
    }
    std::unique_ptr<server::Session> New(const QString& peer) { return std::make_unique<Lent>(*this, peer); }

private:
    class Lent final : public server::Session {
    public:
        Lent(Sessions& all, const QString& peer)
            : all_(all)
            , session_(all.server_.NewSession(peer))
        {
        }
        ~Lent() override
        {
            if (session_->Identity().account.isEmpty())
                return;
            const std::lock_guard lock(all_.mutex_);
            all_.idle_.push_back(std::move(session_));
        }
        wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override
        {
            if (request.kind == wire::RequestKind::Login && session_->Identity().account.isEmpty()) {
                const std::lock_guard lock(all_.mutex_);
                if (!all_.idle_.empty()) {
                    session_ = std::move(all_.idle_.back());
                    all_.idle_.pop_back();
                    wire::Reply reply;
                    reply.identity = session_->Identity();
                    reply.serverTime = all_.server_.Now();
                    return reply;
                }
            }
            return session_->Handle(request, sink);
        }
        const wire::Identity& Identity() const noexcept override { return session_->Identity(); }
        void Interrupt() noexcept override { session_->Interrupt(); }

    private:
        Sessions& all_;
        std::unique_ptr<server::Session> session_;
    };

    server::ApplicationServer& server_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<server::Session>> idle_;
};

server::Options DemoIn(const QString& folder)
{
    server::Options options;
    options.open = storage::SqliteIn(folder);
    options.demo = u"2000"_s;
    return options;
}

server::ListenerOptions AnyPort()
{
    server::ListenerOptions options;
    options.maxPerAddress = 0; // faults break connections faster than any desk would
    options.port = 0;
    return options;
}

// What the audit says of one order's remarks, in the order in which they were stored.
struct Stored {
    QString before;
    QString after;
};

class FaultsTest : public testing::Test {
protected:
    FaultsTest()
    {
        sessions_.LogIn(3 * kClients);
        listener_.Start();
    }

    // A client that comes through a proxy, and gives up at once.
    struct Client {
        Client(quint16 port, const QString& rows)
            : proxy(u"127.0.0.1"_s, port)
        {
            TConnectOptions way;
            way.addresses = {{u"127.0.0.1"_s, proxy.Port()}};
            way.loginTimeout = way.replyTimeout = kReplyTimeout;
            connection.SetTransport(MakeTcpTransport(way));
            connection.QueryPatience = connection.SavePatience = 0;
            connection.Open(DemoAccountOf(), demo::DemoPassword());
            orders.SetRemoteServer(&connection);
            orders.SetCommandText(rows);
            orders.Open();
        }
        void Mark(const QString& text)
        {
            orders.Edit();
            orders.FieldByName(u"REMARK").SetAsString(text);
            orders.Post();
        }
        // The error of a save, or of a query; nothing when it went through.
        std::optional<ErrorKind> Save()
        {
            return KindOf([this] { orders.ApplyUpdates(-1); });
        }
        std::optional<ErrorKind> Ask(TClientDataSetEx& data)
        {
            return KindOf([&] { data.Open(); });
        }

        template <typename F> static std::optional<ErrorKind> KindOf(F&& work)
        {
            try {
                work();
                return std::nullopt;
            } catch (const wire::Error& error) {
                return error.Kind();
            }
        }

        FaultProxy proxy;
        TSocketConnectionEx connection;
        TClientDataSetEx orders;
    };

    // Some of the orders, by their place among all.
    QString Rows(int from, int count)
    {
        const wire::RowSet all = server_.QueryAsAdministrator(
            u"select a.TX_LOGISTIC_ID from tab_zelmor_bill a order by a.TX_LOGISTIC_ID"_s);
        QStringList numbers;
        for (int row = from; row < from + count; ++row)
            numbers += wire::ToText(all.columns[0].ValueAt(row));
        return u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('%1')"_s.arg(
            numbers.join(u"','"_s));
    }

    // By order number. Each remark must follow on the one before it.
    std::map<QString, std::vector<Stored>> StoredRemarks()
    {
        std::map<QString, std::vector<Stored>> stored;
        const wire::RowSet audit =
            server_.QueryAsAdministrator(u"select ROW_KEY, FIELDS from zelmor_audit order by AUDIT_ID"_s);
        for (qsizetype row = 0; row < audit.RowCount(); ++row) {
            const QByteArray fields = audit.columns[1].TextAt(row).toByteArray();
            const QJsonValue remark = QJsonDocument::fromJson(fields).object().value(u"REMARK");
            if (remark.isArray())
                stored[wire::ToText(audit.columns[0].ValueAt(row))].push_back(
                    {remark[0].toString(), remark[1].toString()});
        }
        return stored;
    }

    const QTemporaryDir folder_;
    server::ApplicationServer server_{DemoIn(folder_.path())};
    Sessions sessions_{server_};
    server::Listener listener_{[this](const QString& peer) { return sessions_.New(peer); }, AnyPort()};
};

// The frames of saves alone meet `fate`, as often as said.
FaultProxy::Script OnSaves(Direction direction, Fate fate, int times)
{
    // A reply is that of a save when the request before it was one.
    return [=, saves = false](const PassingFrame& frame) mutable -> Fate {
        if (frame.direction == Direction::ToServer)
            saves = frame.header.kind == wire::FrameKind::ApplyUpdates;
        if (!saves || frame.direction != direction || times == 0)
            return {};
        --times;
        return fate;
    };
}

} // namespace

TEST_F(FaultsTest, ASaveIsStoredOnceWhereverItIsCut)
{
    struct FaultyWay {
        Direction direction;
        Fate fate;
        bool mended; // by the connection, unless it meets the fault again
    };
    const FaultyWay ways[] = {
        {Direction::ToServer, {.kind = Kind::Cut}, true},
        {Direction::ToServer, {.kind = Kind::Cut, .bytes = 5}, true},
        {Direction::ToServer, {.kind = Kind::Cut, .bytes = 60}, true},
        {Direction::ToServer, {.kind = Kind::Cut, .bytes = 1 << 20}, true},
        {Direction::ToClient, {.kind = Kind::Cut}, true}, // after the commit
        {Direction::ToClient, {.kind = Kind::Cut, .bytes = 5}, true},
        {Direction::ToClient, {.kind = Kind::Cut, .bytes = 30}, true},
        {Direction::ToServer, {.kind = Kind::Stall}, false},
        {Direction::ToClient, {.kind = Kind::Stall}, false},
        {Direction::ToServer, {.kind = Kind::Hold}, true},
        {Direction::ToServer, {.kind = Kind::Hold, .replies = 1}, true},
        {Direction::ToServer, {.kind = Kind::Hold, .replies = 2}, true},
    };
    Client client(listener_.Port(), Rows(0, 3));
    const QString order = client.orders.FieldByName(u"TX_LOGISTIC_ID").AsString();
    int saves = 0;
    for (const FaultyWay& way : ways) {
        for (int times = 1; times <= (way.mended ? 3 : 1); ++times) {
            client.Mark(u"save %1"_s.arg(++saves));
            client.proxy.SetScript(OnSaves(way.direction, way.fate, times));
            const auto failure = client.Save();
            const std::string place = "save " + std::to_string(saves);
            // The connection mends one break by itself.
            EXPECT_EQ(failure.has_value(), !way.mended || times > 1) << place;
            EXPECT_EQ(failure.value_or(ErrorKind::Connection),
                way.mended ? ErrorKind::Connection : ErrorKind::Limit)
                << place;
            client.proxy.SetScript({});
            EXPECT_EQ(client.Save(), std::nullopt) << place;
            EXPECT_EQ(client.orders.ChangeCount(), 0) << place;
            EXPECT_TRUE(client.proxy.ReleaseHeld()) << place;
        }
    }
    const std::vector<Stored> stored = StoredRemarks()[order];
    ASSERT_EQ(stored.size(), size_t(saves));
    for (int i = 0; i < saves; ++i)
        EXPECT_EQ(stored[size_t(i)].after, u"save %1"_s.arg(i + 1));
}

TEST_F(FaultsTest, ASaveThatArrivesAfterTheNextOneChangesNothing)
{
    Client client(listener_.Port(), Rows(0, 1));
    const QString order = client.orders.FieldByName(u"TX_LOGISTIC_ID").AsString();
    const QString present = client.orders.FieldByName(u"REMARK").AsString();
    // Held until the test lets it go; the connection sends it again, and then the value is put back, so that
    // nothing but the name tells that the first sending has been here.
    client.Mark(u"once"_s);
    client.proxy.SetScript(OnSaves(Direction::ToServer, {.kind = Kind::Hold, .replies = 1'000'000}, 1));
    EXPECT_EQ(client.Save(), std::nullopt);
    client.Mark(present);
    EXPECT_EQ(client.Save(), std::nullopt);
    EXPECT_EQ(StoredRemarks()[order].size(), 2U);
    EXPECT_TRUE(client.proxy.ReleaseHeld());
    EXPECT_EQ(StoredRemarks()[order].size(), 2U);
    client.orders.Refresh();
    EXPECT_EQ(client.orders.FieldByName(u"REMARK").AsString(), present);
}

TEST_F(FaultsTest, AQueryGivesAllOfItsRowsOrAnError)
{
    Client client(listener_.Port(), Rows(0, 1));
    TClientDataSetEx all;
    all.SetRemoteServer(&client.connection);
    all.SetCommandText(u"select a.* from tab_zelmor_bill a order by a.TX_LOGISTIC_ID"_s);
    all.Open();
    const int rows = all.RecordCount();
    const int number = all.FieldIndex(u"TX_LOGISTIC_ID");
    const QString last = all.ViewText(rows - 1, number);
    int failed = 0;
    int whole = 0;
    for (quint32 seed = 1; seed <= 300; ++seed) {
        client.proxy.SetScript(RandomFaults(seed, 0.2, 500));
        all.Close();
        if (const auto failure = client.Ask(all)) {
            ++failed;
            EXPECT_TRUE(failure == ErrorKind::Connection || failure == ErrorKind::Limit)
                << "seed " << seed << ", kind " << int(*failure);
            EXPECT_FALSE(all.Active()) << "seed " << seed;
            continue;
        }
        ++whole;
        ASSERT_EQ(all.RecordCount(), rows) << "seed " << seed;
        ASSERT_EQ(all.ViewText(rows - 1, number), last) << "seed " << seed;
    }
    EXPECT_GT(failed, 0);
    EXPECT_GT(whole, 0);
}

namespace {

// What one client knows of its own saves.
struct Ledger {
    std::vector<std::pair<QString, QString>> acknowledged; // order and remark
    std::vector<std::pair<QString, QString>> refused;
    int failures = 0; // saves whose outcome was not known at first
    QString problem;
};

} // namespace

class RandomFaultsTest : public FaultsTest {
protected:
    // Edits and saves its own orders, case after case. Now and then somebody else changes one of them behind
    // its back, which refuses it.
    void Work(int number, Ledger& ledger)
    try {
        Client client(listener_.Port(), Rows(number * kRowsAClient, kRowsAClient));
        Desk rival(listener_.Port(), DemoAccountOf());
        for (int each = 0; each < kCases; ++each) {
            case_ = u"client %1, case %2"_s.arg(number).arg(each);
            const auto seed = static_cast<quint32>(number * kCases + each + 1);
            std::mt19937 random(seed);
            const auto below = [&random](int limit) { return int(random() % quint32(limit)); };
            client.proxy.SetScript(RandomFaults(seed, 0.25, 500));
            std::map<QString, QString> edits;
            const bool hasRival = below(8) == 0;
            for (int round = below(3); round >= 0; --round) {
                Edit(client, edits, u"%1-%2-%3"_s.arg(number).arg(each).arg(round), 1 + below(5), random);
                if (hasRival && round == 0)
                    Interfere(rival, edits.begin()->first);
                if (const auto failure = client.Save()) {
                    ++ledger.failures;
                    RequireKind(*failure);
                    if (failure == ErrorKind::Conflict)
                        break;
                }
            }
            client.proxy.SetScript({});
            Settle(client, edits, ledger);
        }
        if (!client.proxy.ReleaseHeld())
            throw wire::Error(ErrorKind::Usage, u"a held request was never answered"_s);
    } catch (const wire::Error& error) {
        ledger.problem = case_ + u": "_s + error.Message();
    }

private:
    static void RequireKind(ErrorKind kind)
    {
        if (kind != ErrorKind::Connection && kind != ErrorKind::Limit && kind != ErrorKind::Conflict)
            throw wire::Error(ErrorKind::Usage, u"a save failed with kind %1"_s.arg(int(kind)));
    }

    static void Edit(Client& client, std::map<QString, QString>& edits, const QString& mark, int rows,
        std::mt19937& random)
    {
        for (int i = 0; i < rows; ++i) {
            client.orders.SetRecNo(1 + int(random() % kRowsAClient));
            client.Mark(mark);
            edits[client.orders.FieldByName(u"TX_LOGISTIC_ID").AsString()] = mark;
        }
    }

    // Changes what every update of the order is checked against.
    static void Interfere(Desk& rival, const QString& order)
    {
        rival.Open(u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID='%1'"_s.arg(order));
        const QString sites = rival.orders.FieldByName(u"PREPARE_SITE").AsString();
        rival.orders.SetFieldAndPost(u"PREPARE_SITE", sites.isEmpty() ? u";安徽合肥一部;"_s : QString());
        rival.orders.ApplyUpdates(-1);
    }

    // On a network that works again: what is left is saved, or refused for good.
    static void Settle(Client& client, const std::map<QString, QString>& edits, Ledger& ledger)
    {
        const auto failure = client.Save();
        if (failure && failure != ErrorKind::Conflict)
            throw wire::Error(
                ErrorKind::Usage, u"a save failed without a fault, kind %1"_s.arg(int(*failure)));
        std::map<QString, QString> stored = edits;
        for (client.orders.First(); failure && !client.orders.Eof(); client.orders.Next()) {
            if (client.orders.UpdateStatus() == TRowStatus::Unmodified)
                continue;
            if (!client.orders.WasRejected())
                throw wire::Error(ErrorKind::Usage, u"a change was neither saved nor refused"_s);
            const QString order = client.orders.FieldByName(u"TX_LOGISTIC_ID").AsString();
            ledger.refused.emplace_back(order, client.orders.FieldByName(u"REMARK").AsString());
            stored.erase(order);
        }
        ledger.acknowledged.insert(ledger.acknowledged.end(), stored.begin(), stored.end());
        if (failure)
            client.orders.Refresh();
    }

    static thread_local inline QString case_;
};

TEST_F(RandomFaultsTest, EverySaveIsStoredOnceOrRefused)
{
    Ledger ledgers[kClients];
    {
        std::vector<std::unique_ptr<DeskThread>> threads;
        for (int i = 0; i < kClients; ++i)
            threads.push_back(std::make_unique<DeskThread>([&, i] { Work(i, ledgers[i]); }));
    }
    auto stored = StoredRemarks();
    // One remark follows on the other, and none comes twice: nothing was applied again, late or early.
    std::map<std::pair<QString, QString>, int> times;
    for (const auto& [order, remarks] : stored) {
        for (size_t i = 0; i < remarks.size(); ++i) {
            ++times[{order, remarks[i].after}];
            ASSERT_TRUE(i == 0 || remarks[i].before == remarks[i - 1].after) << order.toStdString();
        }
    }
    for (const auto& [remark, count] : times)
        ASSERT_EQ(count, 1) << remark.first.toStdString() << " " << remark.second.toStdString();
    for (const Ledger& ledger : ledgers) {
        ASSERT_TRUE(ledger.problem.isEmpty()) << ledger.problem.toStdString();
        for (const auto& remark : ledger.acknowledged)
            ASSERT_EQ(times[remark], 1) << "lost: " << remark.second.toStdString();
        for (const auto& remark : ledger.refused)
            ASSERT_EQ(times.count(remark), 0U) << "stored though refused: " << remark.second.toStdString();
        EXPECT_GT(ledger.failures, kCases / 20);
        EXPECT_GT(ledger.refused.size(), size_t(kCases / 20));
    }
}

#include "tests/server/AnyStorage.h"

#include "server/provider/Outcomes.h"
#include "server/provider/SaveQuota.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <chrono>
#include <thread>

namespace server::testing {
namespace {

using wire::ErrorKind;

class SessionTest : public AnyStorageTest { };
class SessionLimitsTest : public AnyStorageTest { };

TEST_P(SessionTest, NothingIsAnsweredBeforeALogin)
{
    Client client(*server_);
    EXPECT_EQ(KindOf([&] { client.Query(kOrders); }), ErrorKind::Login);
    EXPECT_EQ(ErrorOf([&] { client.Apply({}); }).Kind(), ErrorKind::Login);
    // A failed second login ends the first.
    client.Login(u"clerk"_s, u"secret"_s);
    EXPECT_EQ(client.Query(kOrders).RowCount(), 3);
    ErrorOf([&] { client.Login(u"clerk"_s, u"wrong"_s); });
    EXPECT_EQ(KindOf([&] { client.Query(kOrders); }), ErrorKind::Login);
}

TEST_P(SessionTest, ColumnsComeWithTypeWidthKeyAndGuard)
{
    const wire::RowSet rows = LoggedIn().Query(kOrders);
    const auto info = [&rows](QStringView name) {
        return rows.infos.at(static_cast<size_t>(rows.IndexOf(name)));
    };
    EXPECT_EQ(info(u"tx_logistic_id"),
        (wire::ColumnInfo{u"TX_LOGISTIC_ID"_s, wire::ColumnType::Text, 32, true, false, true}));
    EXPECT_EQ(info(u"STATUS").type, wire::ColumnType::Integer);
    EXPECT_TRUE(info(u"STATUS").guard && info(u"REC_SITE").guard && info(u"PREPARE_SITE").guard);
    EXPECT_FALSE(info(u"NAME").guard || info(u"NAME").key);
    EXPECT_EQ(info(u"TOTAL_WEIGHT").type, wire::ColumnType::Number);
    EXPECT_EQ(rows.columns[static_cast<size_t>(rows.IndexOf(u"CREATE_DATE"))].ValueAt(1),
        wire::Value(wire::DateTime{2000}));
    EXPECT_TRUE(wire::IsNull(rows.columns[static_cast<size_t>(rows.IndexOf(u"NAME"))].ValueAt(1)));
    EXPECT_EQ(rows.columns[0].ValueAt(2), wire::Value(u"C"_s));
}

TEST_P(SessionTest, ExecuteChangesRowsAndIsAudited)
{
    Client client = LoggedIn();
    EXPECT_EQ(client.Execute(u"update tab_zelmor_bill set STATUS = 5 where TX_LOGISTIC_ID = 'A'"_s), 1);
    EXPECT_EQ(RawText("select STATUS from tab_zelmor_bill where TX_LOGISTIC_ID = 'A'"), u"5"_s);
    EXPECT_TRUE(
        RawText("select ACTION || FIELDS from zelmor_audit").startsWith(u"statement{\"SQL\":\"update"_s));
}

TEST_P(SessionTest, LongResultsComeWholeAndInOrder)
{
    Raw(u"with recursive n(i) as (select 1 union all select i + 1 from n where i < 20000) insert into "
        "tab_zelmor_bill(TX_LOGISTIC_ID, STATUS, NAME, TOTAL_WEIGHT, CREATE_DATE) "
        "select 'X' || substr(cast(100000000 + i as varchar(9)), 2), i % 5, "
        "case when i % 3 <> 0 then '名' || (i % 7) end, i / 4.0, "_s
        + Time(u"i"_s) + u" from n"_s);
    const QString text =
        u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID like 'X%' order by a.TX_LOGISTIC_ID"_s;
    const auto verify = [](const RowKeeper& sink) {
        const wire::RowSet& rows = sink.rows;
        ASSERT_EQ(rows.RowCount(), 20000);
        const auto& id = rows.columns[static_cast<size_t>(rows.IndexOf(u"TX_LOGISTIC_ID"))];
        const auto& name = rows.columns[static_cast<size_t>(rows.IndexOf(u"NAME"))];
        const auto& weight = rows.columns[static_cast<size_t>(rows.IndexOf(u"TOTAL_WEIGHT"))];
        const auto& date = rows.columns[static_cast<size_t>(rows.IndexOf(u"CREATE_DATE"))];
        const auto& remark = rows.columns[static_cast<size_t>(rows.IndexOf(u"REMARK"))];
        for (int row = 0; row < 20000; ++row) {
            const int i = row + 1;
            ASSERT_EQ(id.TextAt(row),
                QByteArrayView(QByteArray("X") + QByteArray::number(i).rightJustified(8, '0')));
            ASSERT_EQ(name.IsNull(row), i % 3 == 0);
            ASSERT_EQ(QString::fromUtf8(name.TextAt(row)), i % 3 == 0 ? QString() : u"名%1"_s.arg(i % 7));
            ASSERT_EQ(weight.NumberAt(row), i / 4.0);
            ASSERT_EQ(date.IntegerAt(row), i);
            ASSERT_TRUE(remark.IsNull(row));
        }
    };
    const wire::Request request = RequestOf(wire::RequestKind::Query, text);
    Client client = LoggedIn();
    RowKeeper parts;
    client.Conversation().Handle(request, parts);
    EXPECT_GT(parts.blocks, 1) << "over the network, rows come in parts";
    verify(parts);

    const auto transport = server_->NewTransport();
    transport->Connect();
    RowKeeper whole;
    wire::Request login = RequestOf(wire::RequestKind::Login);
    login.account = u"clerk"_s;
    login.password = u"secret"_s;
    transport->Exchange(login, whole);
    transport->Exchange(request, whole);
    EXPECT_EQ(whole.blocks, 1) << "in process they are moved as one";
    verify(whole);

    // A client that fails while receiving leaves a session that goes on.
    struct Failing final : wire::ReplySink {
        void Columns(const wire::ColumnInfos&) override { }
        void Rows(std::vector<wire::Column>) override { throw wire::Error(ErrorKind::Connection, u"gone"_s); }
    } failing;
    EXPECT_EQ(KindOf([&] { client.Conversation().Handle(request, failing); }), ErrorKind::Connection);
    EXPECT_EQ(client.Query(text).RowCount(), 20000);
}

TEST_P(SessionLimitsTest, OfRowsAndTimeAndInterruption)
{
    const char* const many =
        "with recursive n(i) as (select 1 union all select i + 1 from n where i < 5000) insert "
        "into tab_zelmor_bill(TX_LOGISTIC_ID) select 'X' || i from n";
    Raw(many);
    maxRows_ = 5003;
    Restart();
    EXPECT_EQ(LoggedIn().Query(kOrders).RowCount(), 5003);
    maxRows_ = 5002;
    Restart();
    EXPECT_EQ(KindOf([&] { LoggedIn().Query(kOrders); }), ErrorKind::Limit);

    const QString endless = u"select count(*) from tab_zelmor_bill a, tab_zelmor_bill b, tab_zelmor_bill c"_s;
    maxSeconds_ = 1;
    Restart();
    // The second hardly comes back to the database between the long texts that it compares; SQLite by itself
    // does not know its functions.
    const bool knowsThem = GetParam() != StorageKind::OdbcToSqlite;
    for (const QString& text : {endless,
             !knowsThem ? endless
                        : endless
                     + u" where replace(lpad(a.tx_logistic_id,4000,'a'),'a','aaaaaaaaaaaaaaa') like "
                       "'%'||rpad('a',3900,'a_')||'b%'"_s}) {
        const auto start = std::chrono::steady_clock::now();
        const wire::Error over = ErrorOf([&] { LoggedIn().Query(text); });
        EXPECT_EQ(over.Kind(), ErrorKind::Limit);
        EXPECT_TRUE(over.Message().contains(u"超过1秒"_s)) << over.what();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }

    maxSeconds_ = 60;
    Restart();
    Client client = LoggedIn();
    std::jthread impatient([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        client.Conversation().Interrupt();
    });
    EXPECT_EQ(KindOf([&] { client.Query(endless); }), ErrorKind::Limit);
    EXPECT_EQ(client.Query(u"select a.* from tab_site a"_s).RowCount(), 1) << "the next request is a new one";
}

// What saves leave behind is kept for good, or for days: no account fills the disk with it.
TEST_P(SessionLimitsTest, WhoSavesWithoutEndIsStoppedAndNobodyElse)
{
    savedBytesADay_ = 3'000; // some six small saves
    Restart();
    server_->AddAccount({u"other"_s, u"secret"_s, u"E1"_s, {}, u"110"_s, Role::Headquarters});
    const auto save = [](Client& client, quint64 number) {
        const wire::RowSet rows = client.Query(kOrders);
        const Changes changes = Changes(kOrders, rows).Update(0, u"REMARK=%1"_s.arg(number));
        client.Apply(changes.log, {.client = {5}, .number = number}, -1);
        return changes.log;
    };
    Client client = LoggedIn();
    const wire::ChangeLog first = save(client, 1);
    quint64 saves = 1;
    const wire::Error error = ErrorOf([&] {
        for (; saves < 50; ++saves)
            save(client, saves + 1);
    });
    EXPECT_EQ(error.Kind(), ErrorKind::Limit);
    EXPECT_TRUE(error.Message().contains(u"分钟后重试"_s)) << error.what();
    EXPECT_EQ(RawText("select count(*) from zelmor_audit"), QString::number(saves));
    EXPECT_EQ(KindOf([&] { client.Execute(u"update tab_zelmor_bill set REMARK='x'"_s); }), ErrorKind::Limit);
    EXPECT_EQ(client.Apply(first, {.client = {5}, .number = 1}, -1).Rejected(), 0) << "was stored before";
    Client other(*server_, u"other"_s, u"secret"_s);
    save(other, 100);
}

TEST(SaveQuotaTest, AShareComesBackWithinADay)
{
    using namespace std::chrono_literals;
    SaveQuota quota(1'000);
    const SaveQuota::Clock::time_point start{};
    quota.Add(u"clerk"_s, 1'500, start);
    EXPECT_EQ(ErrorOf([&] { quota.Require(u"clerk"_s, start); }).Message(), texts::SavedTooMuch(12 * 60 + 1));
    EXPECT_EQ(KindOf([&] { quota.Require(u"clerk"_s, start + 12h - 1s); }), ErrorKind::Limit);
    quota.Require(u"clerk"_s, start + 12h + 1s);
    quota.Require(u"other"_s, start);
}

TEST_P(SessionTest, ClockRunsOnFromItsStart)
{
    const wire::DateTime start = wire::DateTime::FromParts(2024, 3, 1, 8);
    EXPECT_GE(server_->Now(), start);
    EXPECT_LT(server_->Now().seconds, start.seconds + 60);
}

TEST(OutcomeTidierTest, AClockThatLeapsForgetsNothingThatIsStillAskedFor)
{
    using namespace std::chrono_literals;
    const QTemporaryDir folder;
    storage::ConnectionPool pool(storage::SqliteIn(folder.path())({}), 1);
    constexpr qint64 kNow = 1'700'000'000;
    constexpr qint64 kDay = 24 * 3600;
    const auto rows = [&] {
        constexpr std::array types{wire::ColumnType::Integer};
        return pool.Lend()->Select("select SERIAL from zelmor_outcome order by SERIAL", {}, types).size();
    };
    storage::InTransaction(pool, false, [&](storage::OwnStatements& statements) {
        for (const qint64 age : {0, 8}) {
            const storage::Row row{u"c"_s, age, u"clerk"_s, kNow - age * kDay, u"x"_s};
            statements.Insert(storage::OutcomeTable(), row);
        }
    });
    OutcomeTidier tidier;
    OutcomeTidier::Clock::time_point running(1h);
    tidier.Tidy(pool, running, kNow + 8 * kDay); // the clock has leapt since
    tidier.Tidy(pool, running + 1min, kNow + 8 * kDay);
    EXPECT_EQ(rows(), 2u);
    tidier = {};
    tidier.Tidy(pool, running, kNow);
    tidier.Tidy(pool, running + 1h, kNow + 8 * kDay);
    EXPECT_EQ(rows(), 1u) << "the one that was a week old before the leap";
}

ZELMOR_FOR_EACH_STORAGE(SessionTest);
ZELMOR_FOR_EACH_STORAGE(SessionLimitsTest);
ZELMOR_FOR_ODBC_TOO(SessionLimitsTest);

} // namespace
} // namespace server::testing

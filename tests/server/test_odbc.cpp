#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"
#include "tests/server/OdbcFixture.h"
#include "tests/server/ServerBackend.h"

// What is ODBC's own; the change-log rule over ODBC is part of the resolver's tests.
namespace server::testing {
namespace {

constexpr int kUnderstoodByPostgres = 102; // of the texts of all screens, with orafce 4.1

class OdbcTest : public ServerTest, public ::testing::WithParamInterface<Product> {
protected:
    OdbcTest()
        : ServerTest(std::make_unique<OdbcCompany>(GetParam()))
    {
    }

    bool IsPostgres() const { return GetParam() == Product::Postgres; }
    const OdbcCompany& Company() const { return static_cast<const OdbcCompany&>(*other_); }
};

TEST_P(OdbcTest, ReadsAndWritesWhatTheDatabaseHolds)
{
    if (IsPostgres()) {
        // As a company may have it: decimals without places behind the point, padded texts.
        Raw("alter table tab_zelmor_bill alter column PIECE type numeric(19)");
        Raw("alter table tab_zelmor_bill alter column PAY_TYPE type char(6)");
    }
    Raw("alter table tab_zelmor_bill add OWN_NOTE varchar(7)");
    Raw("update tab_zelmor_bill set PIECE = 9007199254740993, PAY_TYPE = 'x', OWN_NOTE = '', TOTAL_WEIGHT = "
        "1.1, "
        "CREATE_DATE = '2024-03-31 02:30:00' where TX_LOGISTIC_ID = 'A'");
    Restart();
    Client client = LoggedIn();
    const wire::RowSet rows = client.Query(kOrders + u"  \n"_s);
    const auto cell = [](const wire::RowSet& from, const QString& name, qsizetype row) {
        return from.columns.at(static_cast<size_t>(from.IndexOf(name))).ValueAt(row);
    };
    EXPECT_EQ(cell(rows, u"NAME"_s, 0), wire::Value(u"甲"_s));
    EXPECT_EQ(cell(rows, u"PIECE"_s, 0), wire::Value(qint64(9007199254740993)));
    EXPECT_EQ(cell(rows, u"TOTAL_WEIGHT"_s, 0), wire::Value(1.1));
    EXPECT_EQ(cell(rows, u"CREATE_DATE"_s, 0), wire::Value(wire::DateTime::FromParts(2024, 3, 31, 2, 30)))
        << "a time that this machine's zone leaves out";
    EXPECT_EQ(cell(rows, u"PAY_TYPE"_s, 0), wire::Value(IsPostgres() ? u"x     "_s : u"x"_s));
    EXPECT_EQ(cell(rows, u"OWN_NOTE"_s, 0), wire::Value());
    EXPECT_EQ(rows.infos.back().name, u"OWN_NOTE"_s);
    EXPECT_EQ(rows.infos.back().width, 7);
    for (const wire::ColumnInfo& info : rows.infos)
        EXPECT_EQ(info.key, info.name == u"TX_LOGISTIC_ID"_s);

    // All of them must still stand for the row to be written.
    const wire::DateTime later = wire::DateTime::FromParts(2025, 3, 30, 2, 15);
    Changes changes(kOrders, rows);
    changes.Update(
        0, u"PIECE=9007199254740995, TOTAL_WEIGHT=0.7, CREATE_DATE=2025-03-30 02:15:00, PAY_TYPE=O'x"_s);
    const wire::RowVerdict verdict = client.Apply(changes.log).rows.at(0);
    EXPECT_TRUE(verdict.accepted) << verdict.reason.toStdString();
    const wire::RowSet written = client.Query(kOrders);
    EXPECT_EQ(cell(written, u"PIECE"_s, 0), wire::Value(qint64(9007199254740995)));
    EXPECT_EQ(cell(written, u"TOTAL_WEIGHT"_s, 0), wire::Value(0.7));
    EXPECT_EQ(cell(written, u"CREATE_DATE"_s, 0), wire::Value(later));
    EXPECT_EQ(RawText("select CREATE_DATE from tab_zelmor_bill where PAY_TYPE = 'O''x'"), later.ToText());
}

TEST_P(OdbcTest, ClientsReachTheirTablesAlone)
{
    Client client = LoggedIn();
    using wire::ErrorKind;
    EXPECT_EQ(KindOf([&] { client.Query(u"select a.* from tab_nothing a"_s); }), ErrorKind::Syntax);
    EXPECT_EQ(KindOf([&] { client.Query(u"select a.* from zelmor_account a"_s); }), ErrorKind::Policy);
    EXPECT_EQ(client.Execute(u"update tab_zelmor_bill set MESSAGE = 'x' where STATUS = 1"_s), 1);
    EXPECT_EQ(RawText("select TX_LOGISTIC_ID from tab_zelmor_bill where MESSAGE = 'x'"), u"C"_s);

    // A text goes on as it is, so the database must cut it into the same words.
    EXPECT_EQ(
        KindOf([&] { client.Query(u"select a.STATUS\u3000b from tab_zelmor_bill a"_s); }), ErrorKind::Syntax);
    if (IsPostgres()) {
        Raw(u"alter database %1 set standard_conforming_strings = off"_s.arg(
            RawText("select current_database()")));
        Restart();
    }
    const wire::RowSet rows =
        LoggedIn().Query(u"select '\\' N from tab_zelmor_bill a where a.STATUS = 1 union all "
                         "select ' from zelmor_account --' from tab_zelmor_bill a where a.STATUS = 99"_s);
    ASSERT_EQ(rows.RowCount(), 1);
    EXPECT_EQ(rows.columns[0].ValueAt(0), wire::Value(u"\\"_s));
}

TEST_P(OdbcTest, OneRowsConstraintLeavesTheOthersStanding)
{
    Raw("create unique index own_rule on tab_zelmor_bill(BILL_CODE)");
    Client client = LoggedIn();
    Changes changes(kOrders, client.Query(kOrders));
    for (int row = 0; row < 3; ++row)
        changes.Update(row, row == 2 ? u"BILL_CODE=2"_s : u"BILL_CODE=1"_s);
    const wire::ApplyOutcome outcome = client.Apply(changes.log);
    EXPECT_EQ(outcome.Rejected(), 1);
    EXPECT_FALSE(outcome.rows[1].accepted);
    EXPECT_TRUE(outcome.rows[1].reason.contains(texts::ConstraintBroken().chopped(1)))
        << outcome.rows[1].reason.toStdString();
    EXPECT_EQ(RawText("select BILL_CODE from tab_zelmor_bill order by TX_LOGISTIC_ID"), u"1,(null),2"_s);
    EXPECT_EQ(RawText("select ROW_KEY from zelmor_audit order by AUDIT_ID"), u"A,C"_s);
}

// What clients do not do today, keys that the database numbers; and the server's own rows.
TEST_P(OdbcTest, StorageAlone)
{
    Raw("drop table tab_area; create table tab_area(AREA_NAME varchar(40), AREA_CODE varchar(10)); drop "
        "table "
        "tab_city");
    const auto backend = storage::OdbcThrough(Company().Connection())({});
    const auto connection = backend->Connect();
    const dialect::CatalogTable* table = connection->Catalog().Find(u"tab_qrykey");
    ASSERT_NE(table, nullptr);
    const dialect::CatalogTable* area = connection->Catalog().Find(u"TAB_AREA");
    ASSERT_NE(area, nullptr);
    EXPECT_FALSE(area->columns.at(0).key);
    EXPECT_TRUE(area->columns.at(1).key) << "the system's, where the database has none";
    EXPECT_EQ(connection->Catalog().Find(u"tab_city"), nullptr);
    connection->Begin();
    const auto writer =
        connection->WriteRows({table, {&table->columns[0]}, {nullptr, &table->columns[2]}, {}});
    std::array<storage::RowWrite, 2> rows;
    for (storage::RowWrite& row : rows) {
        row.kind = wire::ChangeKind::Insert;
        row.sets = {{&table->columns[2], u"路"_s}};
    }
    rows[1].sets.push_back({&table->columns[0], qint64(7)});
    rows[1].auditKey = "7";
    rows[1].statementKey = u"1";
    std::array<storage::RowResult, 2> results;
    writer->Write(rows, results);
    EXPECT_EQ(results[0].outcome, storage::RowResult::Outcome::Refused);
    EXPECT_TRUE(results[0].message.contains(u"QRYKEY_ID"_s));
    EXPECT_EQ(results[1].outcome, storage::RowResult::Outcome::Written);
    const std::array<wire::Value, 1> key{qint64(7)};
    EXPECT_EQ(writer->Present(key), (storage::Row{{}, u"路"_s}));
    connection->SetSavepoint();
    EXPECT_EQ(connection->Change("delete from tab_qrykey where QRYKEY_ID = ?", key), 1);
    EXPECT_TRUE(writer->Present(key).empty());
    connection->RollbackToSavepoint();
    EXPECT_FALSE(writer->Present(key).empty());
    const storage::Row meta{u"version"_s, u"0"_s};
    EXPECT_FALSE(connection->Insert(storage::MetaTable(), meta));
    connection->Rollback();
    EXPECT_EQ(RawText("select count(*) from tab_qrykey"), u"0"_s);
    EXPECT_TRUE(connection->IsUsable());

    Raw("update zelmor_meta set VALUE = '99'");
    EXPECT_TRUE(
        ErrorOf([&] { storage::OdbcThrough(Company().Connection())({}); }).Message().contains(u"99"_s));
}

INSTANTIATE_TEST_SUITE_P(Drivers, OdbcTest, ::testing::Values(Product::Sqlite, Product::Postgres),
    [](const auto& product) { return product.param == Product::Sqlite ? "Sqlite" : "Postgres"; });

class OdbcPostgresTest : public OdbcTest { };

TEST_P(OdbcPostgresTest, ALostConnectionIsReplaced)
{
    Client client = LoggedIn();
    const auto cut = [&] {
        Raw("select pg_terminate_backend(pid) from pg_stat_activity where pid <> pg_backend_pid() and "
            "datname = "
            "current_database()");
    };
    Changes changes(kOrders, client.Query(kOrders));
    changes.Update(0, u"NAME=新"_s);
    cut();
    EXPECT_TRUE(client.Apply(changes.log).rows.at(0).accepted);
    cut();
    EXPECT_EQ(client.Query(kOrders).RowCount(), 3);
    EXPECT_EQ(RawText("select count(*) from zelmor_audit"), u"1"_s);
}

// What a driver leaves open when its statement is ended must not spoil the next one's.
TEST_P(OdbcPostgresTest, AConnectionIsUsedAgainUnlessAStatementWasStopped)
{
    constexpr int kSecondBeforeOurs = -4; // the driver's own time is over first
    for (const auto& [text, stopped] :
        {std::pair(u"select 1 / (n - 5) from generate_series(1, 9) n"_s, false),
            std::pair(u"select nothing"_s, false), std::pair(u"select pg_sleep(3)"_s, true),
            std::pair(u"select n, pg_sleep(n - 4) from generate_series(1, 9) n"_s, true)}) {
        storage::odbc::Database database(
            storage::odbc::ReadSettings(Company().Connection() + u";UseDeclareFetch=1;Fetch=2"_s),
            kSecondBeforeOurs);
        storage::odbc::Statement jit =
            database.Prepare(u"select setting from pg_settings where name = 'jit'"_s);
        jit.Run();
        jit.ReadAs(std::array{wire::ColumnType::Text});
        ASSERT_TRUE(jit.Next());
        EXPECT_EQ(jit.Value(0), wire::Value(u"off"_s)) << "what compiles cannot be stopped";
        while (jit.Next()) { }
        EXPECT_THROW(
            {
                storage::odbc::Statement statement = database.Prepare(text);
                statement.Run();
                while (statement.Next()) { }
            },
            wire::Error);
        EXPECT_EQ(database.IsLost(), stopped) << text.toStdString();
        if (!stopped) {
            EXPECT_NO_THROW(database.Prepare(u"select 1"_s).Run()) << text.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, OdbcPostgresTest, ::testing::Values(Product::Postgres));

// The texts of all screens, handed on as they are to a database that knows some of Oracle's language.
TEST(OdbcConformance, TextsThatPostgresUnderstandsAsTheyAre)
{
    const auto tables = conformance::ReadTables();
    ServerBackend backend(
        [] { return std::make_unique<OdbcCompany>(Product::Postgres, OdbcCompany::Types::Oracles); });
    backend.Load(tables, conformance::Now());
    int understood = 0;
    for (const conformance::Case& each : conformance::ReadCases()) {
        const QString fault = conformance::Check(each, backend);
        // What it does not understand it says; it must not give other rows than Oracle would.
        const bool refused = fault.startsWith(texts::DatabaseError()) && !each.error;
        EXPECT_TRUE(fault.isEmpty() || refused)
            << each.file.toStdString() << ":" << each.line << ": " << each.name.toStdString() << "\n"
            << fault.toStdString();
        understood += fault.isEmpty() && !each.error ? 1 : 0;
        if (each.changed)
            backend.Load(tables, conformance::Now());
    }
    RecordProperty("understood", understood);
    // The others need rownum, sysdate without parentheses, connect by, to_number of a number, an alias in
    // set.
    EXPECT_GE(understood, kUnderstoodByPostgres);
}

} // namespace
} // namespace server::testing

int main(int argc, char** argv)
{
    // Where a night has an hour less than that of the company's clock.
    qputenv("TZ", "Europe/Berlin");
    const QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

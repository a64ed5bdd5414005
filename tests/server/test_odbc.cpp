#include "server/Texts.h"
#include "server/storage/OwnTables.h"
#include "server/storage/odbc/Odbc.h"
#include "server/storage/odbc/OdbcDatabase.h"
#include "server/storage/odbc/OdbcOwnTables.h"
#include "server/storage/odbc/OdbcRowWriter.h"
#include "tests/server/ServerFixture.h"
#include "tests/server/conformance/Suite.h"
#include "tests/support/PostgresDatabase.h"

#include <QCoreApplication>
#include <QFile>

#include <atomic>
#include <thread>

namespace server::testing {
namespace {

using storage::odbc::Product;

constexpr int kRows = 2500; // more than two blocks
constexpr int kUnderstoodByPostgres = 102; // of the texts of all screens, with orafce 4.1

// A database as a company may have it, reached by nothing but ODBC.
class CompanyDatabase {
public:
    explicit CompanyDatabase(Product product, const QString& settings = {})
    {
        if (product == Product::Postgres) {
            postgres_.emplace(PostgresDatabase::Orafce::With);
            connection_ = u"DRIVER={PostgreSQL Unicode};Servername=%1;Database=%2;UID=zelmor"_s.arg(
                postgres_->Uri().section(u"host="_s, 1), postgres_->Name());
        } else {
            connection_ = u"DRIVER={SQLite3};Database="_s + folder_.filePath(u"company.db"_s);
        }
        connection_ += settings;
    }
    const QString& Connection() const { return connection_; }

    // On a connection of its own, behind the server's back.
    void Run(const QStringList& statements) const
    {
        Over([&](storage::odbc::Database& database) {
            for (const QString& statement : statements)
                database.Execute(statement);
        });
    }
    enum class Types { Own, Oracles };
    void MakeTables(Types types = Types::Own) const
    {
        Over([&](storage::odbc::Database& database) {
            for (const demo::TableDef& table : demo::Schema()) {
                for (QString statement : storage::odbc::CreateStatements(database.Product(), table)) {
                    if (types == Types::Oracles)
                        statement.replace(u"timestamp(0)"_s, u"oracle.date"_s)
                            .replace(u"double precision"_s, u"numeric"_s);
                    database.Execute(statement);
                }
            }
        });
    }
    void Fill(const conformance::TableRows& rows) const
    {
        QStringList names;
        for (const demo::ColumnDef& column : rows.table->columns)
            names << column.name;
        Over([&](storage::odbc::Database& database) {
            storage::odbc::Statement insert =
                database.Prepare(storage::odbc::InsertText(rows.table->name, names));
            for (const std::vector<wire::Value>& row : rows.rows) {
                for (size_t i = 0; i < row.size(); ++i)
                    insert.Bind(row[i], rows.table->columns[i].type);
                insert.Run();
            }
        });
    }
    // Of the only row and column, or of as many rows, with commas between them.
    QString Text(const QString& select) const
    {
        QStringList texts;
        Over([&](storage::odbc::Database& database) {
            storage::odbc::Statement statement = database.Prepare(select);
            statement.Run();
            statement.ReadAs(std::array{wire::ColumnType::Text});
            while (statement.Next())
                texts << wire::ToText(statement.Value(0));
        });
        return texts.join(u',');
    }

private:
    template <typename Work> void Over(Work&& work) const
    {
        storage::odbc::Database database(storage::odbc::ReadSettings(connection_), 60);
        work(database);
    }

    std::optional<PostgresDatabase> postgres_;
    QTemporaryDir folder_;
    QString connection_;
};

class OdbcTest : public ::testing::TestWithParam<Product> {
protected:
    OdbcTest()
    {
        database_.MakeTables();
        database_.Run({
            u"insert into tab_site(SITE_CODE, SITE_NAME) values('S1', '合肥一部')"_s,
            u"insert into tab_employee(EMPLOYEE_CODE, EMPLOYEE_NAME, OWNER_SITE) "
            "values('E1', '张三', '合肥一部')"_s,
            u"insert into tab_zelmor_bill(TX_LOGISTIC_ID, CREATE_DATE, STATUS, PREPARE_SITE, TOTAL_WEIGHT, "
            "NAME) values('A', '2024-03-31 02:30:00', 0, ';合肥一部;', 1.1, '甲')"_s,
            u"insert into tab_zelmor_bill(TX_LOGISTIC_ID) values('B')"_s,
            u"insert into tab_zelmor_bill(TX_LOGISTIC_ID, STATUS, PREPARE_SITE, TOTAL_WEIGHT, NAME) "
            "values('C', 1, ';合肥二部;', 2, '丙')"_s,
        });
    }

    bool IsPostgres() const { return GetParam() == Product::Postgres; }
    void Start()
    {
        Options options;
        options.open = [this](const Options& given, wire::DateTime now) {
            return storage::OpenOdbc(database_.Connection(), given, now);
        };
        options.now = wire::DateTime::FromParts(2024, 3, 1, 8);
        options.maxRows = kRows;
        server_ = std::make_unique<ApplicationServer>(options);
    }
    Client LoggedIn()
    {
        Start();
        server_->AddAccount({u"clerk"_s, u"secret"_s, u"E1"_s, u"2"_s, u"110"_s, Role::Headquarters});
        return {*server_, u"clerk"_s, u"secret"_s};
    }
    QString Of(const QString& column, const QString& key)
    {
        return database_.Text(
            u"select %1 from tab_zelmor_bill where TX_LOGISTIC_ID = '%2'"_s.arg(column, key));
    }

    static inline const QString kOrders = u"select a.* from tab_zelmor_bill a order by a.TX_LOGISTIC_ID"_s;

    CompanyDatabase database_{GetParam()};
    std::unique_ptr<ApplicationServer> server_;
};

TEST_P(OdbcTest, ReadsWhatTheDatabaseHolds)
{
    if (IsPostgres()) {
        // As the company may have it: decimals without a place behind the point, padded texts, a column of
        // its own.
        database_.Run({u"alter table tab_zelmor_bill alter column PIECE type numeric(19)"_s,
            u"alter table tab_zelmor_bill alter column PAY_TYPE type char(6)"_s});
    }
    database_.Run({u"alter table tab_zelmor_bill add OWN_NOTE varchar(7)"_s,
        u"update tab_zelmor_bill set PIECE = 9007199254740993, PAY_TYPE = 'x', OWN_NOTE = '' "
        "where TX_LOGISTIC_ID = 'A'"_s});
    Client client = LoggedIn();
    const wire::RowSet rows = client.Query(kOrders + u"  \n"_s);
    ASSERT_EQ(rows.RowCount(), 3);
    const auto cell = [&](const QString& name, qsizetype row) {
        return rows.columns.at(static_cast<size_t>(rows.IndexOf(name))).ValueAt(row);
    };
    EXPECT_EQ(cell(u"NAME"_s, 0), wire::Value(u"甲"_s));
    EXPECT_EQ(cell(u"PIECE"_s, 0), wire::Value(qint64(9007199254740993)));
    EXPECT_EQ(cell(u"TOTAL_WEIGHT"_s, 0), wire::Value(1.1));
    EXPECT_EQ(cell(u"CREATE_DATE"_s, 0), wire::Value(wire::DateTime::FromParts(2024, 3, 31, 2, 30)))
        << "a time that this machine's zone leaves out";
    EXPECT_EQ(cell(u"PAY_TYPE"_s, 0), wire::Value(IsPostgres() ? u"x     "_s : u"x"_s));
    EXPECT_EQ(cell(u"OWN_NOTE"_s, 0), wire::Value());
    for (size_t i = 0; i < rows.infos.size(); ++i) {
        const wire::ColumnInfo& info = rows.infos[i];
        EXPECT_EQ(info.key, info.name == u"TX_LOGISTIC_ID"_s);
        EXPECT_NE(info.key, wire::IsNull(rows.columns[i].ValueAt(1))) << info.name.toStdString();
    }
    EXPECT_EQ(rows.infos.back().name, u"OWN_NOTE"_s);
    EXPECT_EQ(rows.infos.back().width, 7);

    EXPECT_EQ(
        ErrorOf([&] { client.Query(u"select a.* from tab_nothing a"_s); }).Kind(), wire::ErrorKind::Syntax);
    EXPECT_EQ(ErrorOf([&] { client.Query(u"select a.* from zelmor_account a"_s); }).Kind(),
        wire::ErrorKind::Policy);
    EXPECT_EQ(client.Execute(u"update tab_zelmor_bill set MESSAGE = 'x' where STATUS = 1"_s), 1);
    EXPECT_EQ(Of(u"MESSAGE"_s, u"C"_s), u"x"_s);
}

TEST_P(OdbcTest, LongResultsAreReadToTheirLimit)
{
    QStringList rows;
    for (int i = 3; i <= kRows; ++i)
        rows << u"('K%1')"_s.arg(i);
    database_.Run({u"insert into tab_zelmor_bill(TX_LOGISTIC_ID) values "_s + rows.sliced(1).join(u',')});
    Client client = LoggedIn();
    EXPECT_EQ(client.Query(u"select a.TX_LOGISTIC_ID, a.NAME from tab_zelmor_bill a"_s).RowCount(), kRows);
    database_.Run({u"insert into tab_zelmor_bill(TX_LOGISTIC_ID) values "_s + rows.first()});
    EXPECT_EQ(ErrorOf([&] { client.Query(kOrders); }).Kind(), wire::ErrorKind::Limit);

    // Billions of rows, counted until somebody stops it.
    std::atomic<bool> ended{false};
    std::thread interrupter([&] {
        while (!ended) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            client.Conversation().Interrupt();
        }
    });
    const wire::Error stopped = ErrorOf([&] {
        client.Query(u"select count(*) from tab_zelmor_bill a, tab_zelmor_bill b, tab_zelmor_bill c "
                     "where a.TX_LOGISTIC_ID < b.TX_LOGISTIC_ID and b.TX_LOGISTIC_ID < c.TX_LOGISTIC_ID"_s);
    });
    ended = true;
    interrupter.join();
    EXPECT_EQ(stopped.Kind(), wire::ErrorKind::Limit) << stopped.what();
    EXPECT_EQ(client.Query(u"select a.SITE_NAME from tab_site a"_s).RowCount(), 1);
}

TEST_P(OdbcTest, RowsAreWrittenWhereTheyAreAsTheyWereRead)
{
    Client client = LoggedIn();
    Changes changes(kOrders, client.Query(kOrders));
    changes.Update(0,
        {{u"STATUS"_s, qint64(1)}, {u"REC_SITE"_s, u"合肥'一部'"_s}, {u"NAME"_s, {}},
            {u"TOTAL_WEIGHT"_s, 0.7}, {u"CREATE_DATE"_s, wire::DateTime::FromParts(2025, 3, 30, 2, 15)}});
    changes.Update(1, {{u"STATUS"_s, qint64(0)}, {u"TOTAL_WEIGHT"_s, 2.5}});
    changes.Update(2, {{u"NAME"_s, u"新"_s}});
    changes.Insert({{u"TX_LOGISTIC_ID"_s, u"D"_s}, {u"STATUS"_s, qint64(0)}});
    changes.Insert({{u"TX_LOGISTIC_ID"_s, u"B"_s}, {u"STATUS"_s, qint64(9)}});
    database_.Run(
        {u"update tab_zelmor_bill set REMARK = '别人的', PREPARE_SITE = null where TX_LOGISTIC_ID = 'C'"_s});
    const auto rows = client.Apply(changes.log).rows;
    ASSERT_EQ(rows.size(), 5u);
    for (const size_t accepted : {0, 1, 3})
        EXPECT_TRUE(rows[accepted].accepted) << accepted << rows[accepted].reason.toStdString();
    EXPECT_TRUE(rows[2].reason.contains(u"可接单网点"_s)) << rows[2].reason.toStdString();
    ASSERT_TRUE(rows[2].present);
    EXPECT_TRUE(rows[4].reason.contains(u"“B”已存在"_s)) << rows[4].reason.toStdString();

    const wire::RowSet now = client.Query(kOrders);
    for (size_t i = 0; i < now.infos.size(); ++i)
        EXPECT_TRUE(wire::SameValue(rows[2].presentValues[i], now.columns[i].ValueAt(2)));
    EXPECT_EQ(Of(u"REC_SITE"_s, u"A"_s), u"合肥'一部'"_s);
    EXPECT_EQ(Of(u"TOTAL_WEIGHT"_s, u"A"_s), u"0.7"_s);
    EXPECT_EQ(now.columns.at(static_cast<size_t>(now.IndexOf(u"CREATE_DATE"_s))).ValueAt(0),
        wire::Value(wire::DateTime::FromParts(2025, 3, 30, 2, 15)));
    EXPECT_EQ(database_.Text(u"select ACTION || ROW_KEY from zelmor_audit order by AUDIT_ID"_s),
        u"updateA,updateB,insertD"_s);
    EXPECT_EQ(database_.Text(u"select ACCOUNT || '/' || EMPLOYEE_NAME || '/' || TABLE_NAME || '/' || FIELDS "
                             "from zelmor_audit where ROW_KEY = 'B'"_s),
        u"clerk/张三/tab_zelmor_bill/{\"STATUS\":[null,0],\"TOTAL_WEIGHT\":[null,2.5]}"_s);

    // The same rows again, as they stand now: moved to other keys, deleted.
    Changes more(kOrders, now);
    more.Update(0, {{u"TX_LOGISTIC_ID"_s, u"A2"_s}});
    more.Update(1, {{u"TX_LOGISTIC_ID"_s, u"C"_s}});
    more.Delete(2);
    more.Delete(3);
    database_.Run({u"update tab_zelmor_bill set STATUS = 5 where TX_LOGISTIC_ID = 'D'"_s});
    const auto moved = client.Apply(more.log).rows;
    EXPECT_TRUE(moved[0].accepted);
    EXPECT_TRUE(moved[1].reason.contains(u"“C”已存在"_s)) << moved[1].reason.toStdString();
    EXPECT_TRUE(moved[2].accepted);
    EXPECT_FALSE(moved[3].accepted);
    EXPECT_EQ(database_.Text(u"select TX_LOGISTIC_ID from tab_zelmor_bill order by 1"_s), u"A2,B,D"_s);
}

TEST_P(OdbcTest, OneRowsConstraintLeavesTheOthersStanding)
{
    database_.Run({u"create unique index own_rule on tab_zelmor_bill(BILL_CODE)"_s});
    Client client = LoggedIn();
    for (const int maxErrors : {-1, 0}) {
        SCOPED_TRACE(maxErrors);
        database_.Run(
            {u"update tab_zelmor_bill set BILL_CODE = null, NAME = null"_s, u"delete from zelmor_audit"_s});
        Changes changes(kOrders, client.Query(kOrders));
        changes.Update(0, {{u"BILL_CODE"_s, u"1"_s}});
        changes.Update(1, {{u"BILL_CODE"_s, u"1"_s}});
        changes.Update(2, {{u"NAME"_s, u"新"_s}});
        const wire::ApplyOutcome outcome =
            client.Apply(changes.log, {.client = {1}, .number = quint64(7 + maxErrors)}, maxErrors);
        EXPECT_FALSE(outcome.rows[1].accepted);
        EXPECT_FALSE(outcome.rows[1].reason.isEmpty());
        const bool undone = maxErrors == 0;
        EXPECT_EQ(outcome.rolledBack, undone);
        EXPECT_EQ(outcome.Rejected(), undone ? 3 : 1);
        EXPECT_EQ(Of(u"BILL_CODE"_s, u"A"_s), undone ? QString() : u"1"_s);
        EXPECT_EQ(Of(u"NAME"_s, u"C"_s), undone ? QString() : u"新"_s);
        const QString audit = undone ? QString() : u"A,C"_s;
        EXPECT_EQ(database_.Text(u"select ROW_KEY from zelmor_audit order by AUDIT_ID"_s), audit);

        // Sent again, by another server: answered as before, nothing applied.
        Start();
        Client again(*server_, u"clerk"_s, u"secret"_s);
        const wire::ApplyOutcome same =
            again.Apply(changes.log, {.client = {1}, .number = quint64(7 + maxErrors)}, maxErrors);
        EXPECT_EQ(same.rolledBack, undone);
        EXPECT_EQ(same.rows[1].reason, outcome.rows[1].reason);
        EXPECT_EQ(database_.Text(u"select ROW_KEY from zelmor_audit order by AUDIT_ID"_s), audit);
        client = Client(*server_, u"clerk"_s, u"secret"_s);
    }
}

TEST_P(OdbcTest, OneOfManyWins)
{
    Client client = LoggedIn();
    const wire::RowSet rows = client.Query(kOrders);
    std::atomic<int> won{0};
    std::vector<std::thread> desks;
    for (int desk = 0; desk < 6; ++desk) {
        desks.emplace_back([&, desk] {
            Client own(*server_, u"clerk"_s, u"secret"_s);
            Changes changes(kOrders, rows);
            changes.Update(0, {{u"STATUS"_s, qint64(1)}, {u"REC_SITE"_s, QString::number(desk)}});
            won += own.Apply(changes.log).rows.at(0).accepted ? 1 : 0;
        });
    }
    for (std::thread& desk : desks)
        desk.join();
    EXPECT_EQ(won, 1);
    EXPECT_EQ(database_.Text(u"select count(*) from zelmor_audit"_s), u"1"_s);
}

// What clients do not do today: keys that the database numbers, and the server's own rows.
TEST_P(OdbcTest, StorageAlone)
{
    const auto backend = storage::OpenOdbc(database_.Connection(), {}, {});
    const auto connection = backend->Connect();
    const dialect::CatalogTable* table = connection->Catalog().Find(u"tab_qrykey");
    ASSERT_NE(table, nullptr);
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
    rows[1].shape = u"1";
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
    EXPECT_EQ(database_.Text(u"select count(*) from tab_qrykey"_s), u"0"_s);
    EXPECT_TRUE(connection->IsUsable());

    database_.Run({u"update zelmor_meta set VALUE = '99'"_s});
    EXPECT_TRUE(
        ErrorOf([&] { storage::OpenOdbc(database_.Connection(), {}, {}); }).Message().contains(u"99"_s));
}

INSTANTIATE_TEST_SUITE_P(Drivers, OdbcTest, ::testing::Values(Product::Sqlite, Product::Postgres),
    [](const auto& product) { return product.param == Product::Sqlite ? "Sqlite" : "Postgres"; });

class OdbcPostgresTest : public OdbcTest { };

TEST_P(OdbcPostgresTest, ALostConnectionIsReplaced)
{
    Client client = LoggedIn();
    const auto cut = [&] {
        database_.Run(
            {u"select pg_terminate_backend(pid) from pg_stat_activity where pid <> pg_backend_pid() "
             "and datname = current_database()"_s});
    };
    Changes changes(kOrders, client.Query(kOrders));
    changes.Update(0, {{u"NAME"_s, u"新"_s}});
    cut();
    EXPECT_TRUE(client.Apply(changes.log).rows.at(0).accepted);
    cut();
    EXPECT_EQ(client.Query(kOrders).RowCount(), 3);
    EXPECT_EQ(database_.Text(u"select count(*) from zelmor_audit"_s), u"1"_s);
}

INSTANTIATE_TEST_SUITE_P(Drivers, OdbcPostgresTest, ::testing::Values(Product::Postgres));

// The texts of all screens, handed on as they are to a database that knows some of Oracle's language.
class VerbatimBackend final : public conformance::Backend {
public:
    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override
    {
        client_.reset();
        server_.reset();
        database_.emplace(Product::Postgres, u";ZELMOR_SCHEMA=company"_s);
        database_->Run({u"create schema company"_s,
            u"do $$ begin execute format('alter database %I set search_path = oracle, pg_catalog, public', "
            "current_database()); end $$"_s});
        database_->MakeTables(CompanyDatabase::Types::Oracles);
        for (const conformance::TableRows& table : tables)
            database_->Fill(table);
        Options options;
        options.open = [this](const Options& given, wire::DateTime moment) {
            return storage::OpenOdbc(database_->Connection(), given, moment);
        };
        options.now = now;
        server_ = std::make_unique<ApplicationServer>(options);
        server_->AddAccount({u"clerk"_s, u"secret"_s, u"E01"_s, {}, u"111"_s, Role::Headquarters});
        client_.emplace(*server_, u"clerk"_s, u"secret"_s);
    }
    wire::RowSet Query(const QString& sql) override { return client_->Query(sql); }
    qint64 Execute(const QString& sql) override { return client_->Execute(sql); }

private:
    std::optional<CompanyDatabase> database_;
    std::unique_ptr<ApplicationServer> server_;
    std::optional<Client> client_;
};

TEST(OdbcConformance, TextsThatPostgresUnderstandsAsTheyAre)
{
    const auto tables = conformance::ReadTables();
    VerbatimBackend backend;
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
    // The others need rownum, sysdate without parentheses, connect by, to_number of a number.
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

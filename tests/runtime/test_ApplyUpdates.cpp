// Saving: verdicts, lost requests and replies, edits made in between.

#include "runtime/data/SocketConnection.h"
#include "tests/runtime/DataSetRows.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// A table of orders on a server: applies changes as the real one does.
struct Table {
    std::vector<wire::ColumnInfo> infos = OrderColumns();
    std::map<QString, Row> rows; // by key
    std::map<QString, QString> refusals; // key → reason
    int applied = 0; // row changes stored, ever

    wire::RowSet Rows() const
    {
        std::vector<Row> all;
        for (const auto& [key, row] : rows)
            all.push_back(row);
        return MakeRows(infos, all);
    }
    wire::ApplyOutcome Apply(const wire::Request& request)
    {
        const std::map<QString, Row> before = rows;
        const int appliedBefore = applied;
        wire::ApplyOutcome outcome;
        for (const wire::RowChange& change : request.changes.rows)
            outcome.rows.push_back(ApplyRow(request.changes, change));
        if (request.maxErrors >= 0 && outcome.Rejected() > request.maxErrors) {
            rows = before;
            applied = appliedBefore;
            outcome.rolledBack = true;
            for (wire::RowVerdict& verdict : outcome.rows) {
                if (verdict.accepted)
                    verdict.reason = QStringLiteral("undone with others");
                verdict.accepted = false;
            }
        }
        return outcome;
    }

    wire::RowVerdict ApplyRow(const wire::ChangeLog& log, const wire::RowChange& change)
    {
        wire::RowVerdict verdict;
        verdict.rowId = change.rowId;
        const auto fieldOf = [&](quint16 column) {
            for (size_t i = 0; i < infos.size(); ++i)
                if (infos[i].name == log.columns[column].name)
                    return i;
            ADD_FAILURE() << "unknown column";
            return size_t{0};
        };
        QString oldKey;
        Row row(infos.size());
        for (const wire::CellChange& cell : change.cells)
            if (log.columns[cell.column].key)
                oldKey = wire::ToText(change.kind == wire::ChangeKind::Insert ? cell.current : cell.original);
        const auto refuse = [&](const QString& reason) {
            verdict.reason = reason;
            if (const auto found = rows.find(oldKey); found != rows.end()) {
                verdict.present = true;
                for (quint16 i = 0; i < log.columns.size(); ++i)
                    verdict.presentValues.push_back(found->second[fieldOf(i)]);
            }
            return verdict;
        };
        if (const auto refusal = refusals.find(oldKey); refusal != refusals.end())
            return refuse(refusal->second);
        const auto found = rows.find(oldKey);
        if (change.kind == wire::ChangeKind::Insert) {
            if (found != rows.end())
                return refuse(QStringLiteral("duplicate"));
        } else {
            if (found == rows.end())
                return refuse(QStringLiteral("gone"));
            row = found->second;
            for (const wire::CellChange& cell : change.cells)
                if (!wire::SameValue(row[fieldOf(cell.column)], cell.original))
                    return refuse(QStringLiteral("changed by another！"));
        }
        for (const wire::CellChange& cell : change.cells)
            row[fieldOf(cell.column)] = cell.current;
        if (change.kind != wire::ChangeKind::Insert)
            rows.erase(oldKey);
        if (change.kind != wire::ChangeKind::Delete)
            rows[wire::ToText(row[0])] = row;
        verdict.accepted = true;
        ++applied;
        return verdict;
    }
};

class ApplyUpdatesTest : public testing::Test {
protected:
    ApplyUpdatesTest()
    {
        const wire::RowSet orders = ThreeOrders();
        for (qsizetype row = 0; row < orders.RowCount(); ++row) {
            Row values;
            for (const wire::Column& column : orders.columns)
                values.push_back(column.ValueAt(row));
            table.rows[wire::ToText(values[0])] = values;
        }
        server.OnQuery = [this](const QString&) { return table.Rows(); };
        server.OnExecute = [](const QString&) { return 7; };
        server.OnSave = [this](const wire::Request& request) { return table.Apply(request); };
        connection.SetTransport(server.MakeTransport());
        connection.SavePatience = 0; // sent twice, then given up
        connection.Open(u"account"_s, u"password"_s);
        set.SetRemoteServer(&connection);
        set.SetCommandText(u"select * from orders"_s);
        set.Open();
        server.Requests.clear();
    }

    void Go(const char16_t* id) { ASSERT_TRUE(set.Locate(u"ID", {T(id)})) << QString::fromUtf16(id); }
    void Put(const char16_t* id, QStringView field, const wire::Value& value)
    {
        Go(id);
        set.SetFieldAndPost(field, value);
    }
    void Add(const QString& id)
    {
        set.Append();
        set.FieldByName(u"ID").SetAsString(id);
        set.Post();
    }
    std::optional<wire::ErrorKind> Apply(int maxErrors = -1)
    {
        return RaisedBy([&] { set.ApplyUpdates(maxErrors); });
    }
    // Every sending the connection itself makes is lost, too.
    void LoseReplies() { server.Faults = {Fault::LoseReply, Fault::LoseRequest}; }
    void LoseRequests() { server.Faults = {Fault::LoseRequest, Fault::LoseRequest}; }
    wire::Value OnServer(const QString& id, size_t field) { return table.rows.at(id)[field]; }

    Table table;
    TFakeServer server;
    TSocketConnectionEx connection;
    TClientDataSetEx set;
};

TEST_F(ApplyUpdatesTest, SendsKeyGuardAndChangesOnly)
{
    Put(u"D1", u"SITE", T(u"广州"));
    Put(u"D1", u"SITE_PHONE", T(u"999")); // joined: never sent
    Go(u"D2");
    set.Delete();
    Add(u"D4"_s);
    EXPECT_EQ(Apply(), std::nullopt);
    EXPECT_EQ(set.ChangeCount(), 0);
    EXPECT_FALSE(set.CanUndo());
    ASSERT_EQ(server.Requests.size(), 1U);
    const wire::ChangeLog& log = server.Requests[0].changes;
    EXPECT_EQ(log.columns.size(), 5U);
    ASSERT_EQ(log.rows.size(), 3U);
    EXPECT_EQ(log.rows[0].kind, wire::ChangeKind::Update);
    ASSERT_EQ(log.rows[0].cells.size(), 3U);
    EXPECT_EQ(log.rows[0].cells[2].original, T(u"上海"));
    EXPECT_EQ(log.rows[0].cells[2].current, T(u"广州"));
    EXPECT_EQ(log.rows[1].kind, wire::ChangeKind::Delete);
    EXPECT_EQ(log.rows[1].cells.size(), 2U);
    EXPECT_EQ(log.rows[2].kind, wire::ChangeKind::Insert);
    EXPECT_EQ(log.rows[2].cells.size(), 1U);
    EXPECT_EQ(OnServer(u"D1"_s, 2), T(u"广州"));
    EXPECT_FALSE(table.rows.contains(u"D2"_s));
    EXPECT_TRUE(table.rows.contains(u"D4"_s));
    // What was stored is the original from now on.
    Go(u"D1");
    EXPECT_EQ(set.FieldByName(u"SITE").OldValue(), T(u"广州"));
    EXPECT_EQ(set.FieldByName(u"SITE_PHONE").AsString(), u"999"_s);
    Go(u"D4");
    EXPECT_EQ(set.FieldByName(u"ID").OldValue(), T(u"D4"));
    Put(u"D4", u"SITE", T(u"苏州"));
    EXPECT_EQ(Apply(), std::nullopt);
    EXPECT_EQ(server.Requests.back().changes.rows.at(0).kind, wire::ChangeKind::Update);
}

TEST_F(ApplyUpdatesTest, EmptyLogSendsNothing)
{
    EXPECT_EQ(Apply(), std::nullopt);
    Put(u"D1", u"SITE_PHONE", T(u"999")); // nothing to store
    EXPECT_EQ(set.ChangeCount(), 1);
    EXPECT_EQ(Apply(), std::nullopt);
    EXPECT_EQ(set.ChangeCount(), 0);
    EXPECT_TRUE(server.Requests.empty());
}

TEST_F(ApplyUpdatesTest, PostsThePendingEditFirst)
{
    set.Edit();
    set.FieldByName(u"STATUS").SetAsInteger(1);
    set.BeforePost = [] { Abort(); };
    EXPECT_THROW(set.ApplyUpdates(), EAbort);
    EXPECT_TRUE(server.Requests.empty());
    set.BeforePost = nullptr;
    EXPECT_EQ(Apply(), std::nullopt);
    EXPECT_EQ(OnServer(u"D1"_s, 1), I(1));
}

TEST_F(ApplyUpdatesTest, RefusedRowsStayWithReasonAndPresentValues)
{
    table.rows[u"D1"_s][1] = I(2); // another user was faster
    Put(u"D1", u"STATUS", I(1));
    Put(u"D2", u"SITE", T(u"广州"));
    try {
        set.ApplyUpdates();
        ADD_FAILURE();
    } catch (const wire::Error& error) {
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Conflict);
        EXPECT_EQ(error.Message(), u"有1条数据未能保存：changed by another！"_s);
    }
    EXPECT_EQ(set.ChangeCount(), 1);
    EXPECT_EQ(OnServer(u"D2"_s, 2), T(u"广州"));
    Go(u"D2");
    EXPECT_FALSE(set.WasRejected());
    Go(u"D1");
    EXPECT_TRUE(set.WasRejected());
    EXPECT_EQ(set.RejectReason(), u"changed by another！"_s);
    EXPECT_TRUE(set.ServerHasRow());
    EXPECT_EQ(set.ServerValue(1), I(2));
    TClientDataSetEx errors;
    errors.CopyDelta(set, true);
    EXPECT_EQ(Joined(errors, u"ID"), u"D1"_s);
    EXPECT_EQ(Joined(errors, u"STATUS"), u"1"_s);
    EXPECT_EQ(Joined(errors, u"ERROR_MESSAGE"), u"changed by another！"_s);
    // Put back, the row has nothing more to say.
    set.SetFieldAndPost(u"STATUS", I(0));
    EXPECT_FALSE(set.WasRejected());
    EXPECT_EQ(set.ChangeCount(), 0);
}

TEST_F(ApplyUpdatesTest, TooManyRefusalsStoreNothing)
{
    table.refusals[u"D1"_s] = u"closed"_s;
    Put(u"D1", u"STATUS", I(1));
    Put(u"D2", u"SITE", T(u"广州"));
    EXPECT_EQ(Apply(0), wire::ErrorKind::Conflict);
    EXPECT_EQ(set.ChangeCount(), 2);
    EXPECT_EQ(OnServer(u"D2"_s, 2), T(u"北京"));
    EXPECT_EQ(Apply(1), wire::ErrorKind::Conflict);
    EXPECT_EQ(set.ChangeCount(), 1);
    EXPECT_EQ(OnServer(u"D2"_s, 2), T(u"广州"));
}

TEST_F(ApplyUpdatesTest, UnknownOutcomeIsAskedForUnderTheSameName)
{
    Put(u"D1", u"STATUS", I(1));
    Add(u"D4"_s);
    LoseReplies();
    EXPECT_EQ(Apply(), wire::ErrorKind::Connection);
    EXPECT_EQ(set.ChangeCount(), 2);
    EXPECT_EQ(table.applied, 2); // stored, but nobody here knows
    server.Faults = {Fault::LoginFails};
    EXPECT_EQ(Apply(), wire::ErrorKind::Login); // still unknown
    EXPECT_EQ(Apply(), std::nullopt);
    EXPECT_EQ(set.ChangeCount(), 0);
    EXPECT_EQ(table.applied, 2);
    EXPECT_EQ(server.Requests.front().name, server.Requests.back().name);
}

TEST_F(ApplyUpdatesTest, WhatNoServerWasFoundForMayBeCorrected)
{
    Put(u"D1", u"STATUS", I(7)); // a slip of the hand
    Put(u"D2", u"SITE", T(u"广州"));
    server.Down = true;
    EXPECT_EQ(Apply(), wire::ErrorKind::Connection);
    Go(u"D1");
    EXPECT_TRUE(set.UndoCurrentRow());
    server.Down = false;
    EXPECT_EQ(Apply(), std::nullopt);
    ASSERT_EQ(server.Requests.size(), 1U);
    EXPECT_EQ(server.Requests[0].changes.rows.size(), 1U);
    EXPECT_EQ(OnServer(u"D1"_s, 1), I(0));
}

TEST_F(ApplyUpdatesTest, RefusedInALostReplyAreNotTriedAgainAsTheyAre)
{
    table.refusals[u"D1"_s] = u"closed"_s;
    Put(u"D1", u"STATUS", I(1));
    Put(u"D2", u"STATUS", I(2));
    LoseReplies();
    EXPECT_EQ(Apply(), wire::ErrorKind::Connection);
    Add(u"D4"_s);
    EXPECT_EQ(Apply(), wire::ErrorKind::Conflict);
    EXPECT_EQ(set.ChangeCount(), 1);
    EXPECT_EQ(server.Requests.back().changes.rows.size(), 1U); // the new row alone
    EXPECT_TRUE(table.rows.contains(u"D4"_s));
    Go(u"D1");
    EXPECT_EQ(set.RejectReason(), u"closed"_s);
}

TEST_F(ApplyUpdatesTest, WholeRefusalFreesTheLog)
{
    Put(u"D1", u"STATUS", I(1));
    server.Faults = {Fault::RefuseWhole};
    EXPECT_EQ(Apply(), wire::ErrorKind::Data);
    EXPECT_EQ(set.ChangeCount(), 1);
    Put(u"D1", u"STATUS", I(2));
    EXPECT_EQ(Apply(), std::nullopt);
    ASSERT_EQ(server.Requests.size(), 1U);
    EXPECT_EQ(OnServer(u"D1"_s, 1), I(2));
}

TEST_F(ApplyUpdatesTest, OpenExecuteAndRefresh)
{
    EXPECT_EQ(set.Execute(), 7);
    EXPECT_EQ(RaisedBy([&] { set.SetCommandText(u"x"_s); }), wire::ErrorKind::Usage);
    Put(u"D1", u"STATUS", I(1));
    table.rows[u"D9"_s] = {T(u"D9"), Null, Null, Null, Null, Null};
    set.Refresh();
    EXPECT_EQ(set.ChangeCount(), 0);
    EXPECT_EQ(set.RecordCount(), 4);
    EXPECT_EQ(set.RecNo(), 1);
    // A query that fails, also in the middle of its rows, leaves rows, edits and text.
    Put(u"D1", u"STATUS", I(1));
    for (const bool halfway : {false, true}) {
        server.OnQuery = [halfway](const QString&) {
            if (!halfway)
                throw wire::Error(wire::ErrorKind::Syntax, u"no"_s);
            wire::RowSet broken = ThreeOrders();
            broken.columns.pop_back();
            return broken;
        };
        EXPECT_EQ(RaisedBy([&] { set.OpenQuery(u"select"_s); }),
            halfway ? wire::ErrorKind::Protocol : wire::ErrorKind::Syntax);
        EXPECT_EQ(set.CommandText(), u"select * from orders"_s);
        EXPECT_EQ(set.ChangeCount(), 1);
        EXPECT_EQ(set.RecordCount(), 4);
    }
}

// Random work and random faults: once a save gets through, the server holds what the user sees, and has
// stored no row change more than once.
TEST_F(ApplyUpdatesTest, RandomFaultsLoseAndDoubleNothing)
{
    std::srand(20240501);
    const auto random = [](int below) { return std::rand() % below; };
    int next = 10;
    for (int round = 0; round < 400; ++round) {
        for (int step = random(5); step >= 0; --step) {
            if (set.IsEmpty() || random(4) == 0) {
                Add(u"R%1"_s.arg(next++));
                continue;
            }
            set.SetRecNo(random(set.RecordCount()) + 1);
            const int what = random(8);
            if (what == 0)
                set.Delete();
            else if (what == 1)
                set.UndoCurrentRow();
            else
                set.SetFieldAndPost(what < 5 ? u"STATUS" : u"SITE", I(random(3)));
        }
        server.Faults.clear();
        for (int i = 0; i < 2; ++i)
            server.Faults.push_back(static_cast<Fault>(random(3)));
        const auto error = Apply();
        ASSERT_TRUE(!error || error == wire::ErrorKind::Connection) << round;
        if (random(6) == 0)
            set.CancelUpdates();
    }
    server.Faults.clear();
    ASSERT_EQ(Apply(), std::nullopt);
    ASSERT_EQ(set.ChangeCount(), 0);
    ASSERT_EQ(static_cast<size_t>(set.RecordCount()), table.rows.size());
    for (int row = 0; row < set.RecordCount(); ++row)
        for (int field = 0; field < 5; ++field)
            ASSERT_EQ(set.ViewValue(row, field), OnServer(set.ViewText(row, 0), static_cast<size_t>(field)));
}

} // namespace

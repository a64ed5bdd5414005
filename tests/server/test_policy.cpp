// What accounts may write besides orders, and what is closed to all of them.

#include "tests/server/PolicyFixture.h"

namespace server::testing {
namespace {

using wire::ErrorKind;

ZELMOR_FOR_EACH_STORAGE(PolicyTest);
INSTANTIATE_TEST_SUITE_P(Odbc, PolicyTest, ::testing::Values(StorageKind::OdbcToPostgres), NameOf);

TEST_P(PolicyTest, ServicesAreThoseOfTheSitesBelow)
{
    const std::string add = "COUNTY_NAME=新, CITY_NAME=合肥, ";
    const struct {
        QString account;
        int row; // -1: a new one; 0: the branch's, 1: its closed one, 2: its superior's
        std::string edits; // none: deleted
        bool accepted;
    } cases[]{
        {u"branch"_s, 0, "BL_REC=0", true},
        {u"branch"_s, 2, "BL_REC=0", false},
        {u"branch"_s, 0, "SITE_NAME=合肥中心", false},
        {u"branch"_s, 0, "BL_OPEN=0", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部分点, BL_OPEN=1", true},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部, BL_OPEN=0", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥二部, BL_OPEN=1", false},
        {u"centre"_s, 0, "BL_REC=0", true},
        {u"centre"_s, -1, add + "SITE_NAME=芜湖中心, BL_OPEN=1", false},
        {u"headquarters"_s, 2, "BL_REC=0", true},
        {u"headquarters"_s, 2, "BL_OPEN=0", false},
        {u"opener"_s, 1, "BL_OPEN=0", true},
        {u"opener"_s, -1, add + "SITE_NAME=上海一部, BL_OPEN=0", true},
        {u"opener"_s, -1, add + "SITE_NAME=火星, BL_OPEN=1", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部", false},
        {u"branch"_s, 0, "BL_REC=2", false},
        {u"branch"_s, 1, "BL_REC=0", true},
        {u"branch"_s, 1, "BL_OPEN=1", false},
        // Deleted or renamed, it could be entered anew, and open.
        {u"branch"_s, 1, "", false},
        {u"branch"_s, 1, "COUNTY_NAME=新", false},
        {u"branch"_s, 1, "SITE_NAME=合肥一部", false},
        {u"branch"_s, 0, "COUNTY_NAME=新", true},
        {u"branch"_s, 0, "", false},
        {u"opener"_s, 1, "COUNTY_NAME=新", true},
        {u"opener"_s, 1, "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.account.toStdString() + ": " + c.edits + ", case " + std::to_string(&c - cases));
        Raw("delete from tab_zelmor_site; insert into tab_zelmor_site(SITE_NAME, COUNTY_NAME, CITY_NAME, "
            "BL_OPEN) values('合肥一部', '区', '合肥', 1), ('合肥一部分点', '区', '合肥', 0), "
            "('合肥中心', '区', '合肥', 1)");
        Client client = At(c.account);
        Changes changes(kServices, client.Query(kServices));
        const QString edits = QString::fromStdString(c.edits);
        // The server's order of texts puts 一 before 中.
        c.row < 0             ? changes.Insert(edits)
            : edits.isEmpty() ? changes.Delete(c.row)
                              : changes.Update(c.row, edits);
        const wire::RowVerdict verdict = client.Apply(changes.log).rows.at(0);
        EXPECT_EQ(verdict.accepted, c.accepted) << verdict.reason.toStdString();
    }
}

TEST_P(PolicyTest, ForgedChangeLogsWriteNothing)
{
    Order("STATUS=1, PREPARE_SITE=;上海一部;, REC_SITE=上海一部");
    Client branch = At(u"branch"_s);
    const wire::RowSet rows = branch.Query(kOrders);
    const auto forged = [&](const QString& text, auto&& forge) {
        Changes changes(text, branch.Query(text));
        changes.Update(0, u"ADDRESS=x"_s);
        forge(changes.log);
        EXPECT_EQ(RawText("select coalesce(ADDRESS, '') || REC_SITE from tab_zelmor_bill"), u"上海一部"_s);
        return changes.log;
    };
    const auto position = static_cast<quint16>(rows.IndexOf(u"REC_SITE"));
    const auto cellOf = [](wire::ChangeLog& log, quint16 column) {
        return std::ranges::find(log.rows[0].cells, column, &wire::CellChange::column);
    };
    const wire::Value own = u"合肥一部"_s;
    // Says that the order was read as its own: the row does not have that value.
    wire::ChangeLog log = forged(kOrders, [&](wire::ChangeLog& it) {
        *cellOf(it, position) = {position, own, own};
    });
    EXPECT_FALSE(branch.Apply(log).rows.at(0).accepted);
    // Says both.
    for (const bool first : {true, false}) {
        log = forged(kOrders, [&](wire::ChangeLog& it) {
            auto& cells = it.rows[0].cells;
            cells.insert(first ? cells.begin() : cells.end(), {position, own, own});
        });
        EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Data);
    }
    // Leaves out what tells whose it is; does not call it a guard; reads another column under its name.
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.rows[0].cells.erase(cellOf(it, position)); });
    EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Data);
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.columns[position].guard = false; });
    EXPECT_FALSE(branch.Apply(log).rows.at(0).accepted);
    const QString key = u"select a.TX_LOGISTIC_ID, a.STATUS, a.PREPARE_SITE, a.ADDRESS"_s;
    for (const QString& more :
        {u""_s, u", a.MODIFY_SITE REC_SITE"_s, u", '合肥一部' REC_SITE"_s, u", a.REC_SITE MINE"_s}) {
        const QString text = key + more + u" from tab_zelmor_bill a"_s;
        log = forged(text, [](wire::ChangeLog&) {});
        EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Policy) << text.toStdString();
    }
    EXPECT_EQ(RawText("select coalesce(ADDRESS, '') || REC_SITE from tab_zelmor_bill"), u"上海一部"_s);
}

// However the table is named, and whoever asks: nothing of the server's own comes out or is written.
TEST_P(PolicyTest, OwnTablesAreClosedToEverybody)
{
    const QString queries[]{
        u"select * from zelmor_account"_s,
        u"select x.PASSWORD_HASH from ZELMOR_ACCOUNT x"_s,
        u"select a.*, (select max(b.PASSWORD_HASH) from zelmor_account b) h from tab_site a"_s,
        u"select a.SITE_NAME from tab_site a where exists(select 1 from zelmor_account b where b.ACCOUNT='x')"_s,
        u"select a.SITE_NAME from tab_site a where a.SITE_NAME in (select b.ACCOUNT from zelmor_account b)"_s,
        u"select a.SITE_NAME from tab_site a union all select b.PASSWORD_HASH from zelmor_account b"_s,
        u"select * from (select * from (select ACCOUNT from zelmor_account) c) d"_s,
        u"select a.SITE_NAME from tab_site a left join zelmor_account b on b.ACCOUNT=a.SITE_NAME"_s,
        u"select a.SITE_NAME from tab_site a, zelmor_account b"_s,
        u"select a.SITE_NAME from tab_site a order by (select max(b.ACCOUNT) from zelmor_account b)"_s,
        u"select count(*) from tab_site a group by a.TYPE having count(*) > (select 1 from zelmor_account b)"_s,
        u"select SITE_NAME from tab_site start with SITE_NAME=(select ACCOUNT from zelmor_account)"
        " connect by prior SITE_NAME=SUPERIOR_SITE"_s,
        u"select * from \"zelmor_account\""_s,
        u"select * from main.zelmor_account"_s,
        u"select * from public.zelmor_account"_s,
        u"select * from zelmor_account@dblink"_s,
        u"select * from/**/zelmor_account"_s,
        u"select * from sqlite_master"_s,
        u"select * from pragma_table_info('zelmor_account')"_s,
        u"select * from pg_catalog.pg_authid"_s,
        u"with x as (select * from zelmor_account) select * from x"_s,
        // What one database takes for a comment another runs.
        u"select SITE_NAME from tab_site /* /* */ --*/ union select PASSWORD_HASH from zelmor_account"_s,
        u"select SITE_NAME from tab_site --\r union select PASSWORD_HASH from zelmor_account"_s,
        u"select SITE_NAME from tab_site --\r'\nunion select PASSWORD_HASH from zelmor_account --'"_s,
        u"select * from zelmor_audit"_s,
        u"select * from zelmor_meta"_s,
        u"select * from zelmor_outcome"_s,
    };
    const QString updates[]{
        u"update zelmor_account set ROLE='headquarters'"_s,
        u"update tab_zelmor_bill set REMARK=(select max(PASSWORD_HASH) from zelmor_account)"_s,
        u"update tab_zelmor_bill set REMARK='x' where exists(select 1 from zelmor_account)"_s,
        u"update tab_zelmor_bill set STATUS=1; update zelmor_account set ROLE=null"_s,
        u"update main.zelmor_account set ROLE=null"_s,
        u"insert into zelmor_account(ACCOUNT) values('x')"_s,
        u"delete from zelmor_audit"_s,
        u"drop table tab_zelmor_bill"_s,
        u"delete from tab_zelmor_bill"_s,
        u"update tab_site set SITE_NAME='x'"_s,
        u"pragma user_version"_s,
        kOrders,
    };
    const auto refused = [](auto&& call) {
        const ErrorKind kind = ErrorOf(call).Kind();
        return kind == ErrorKind::Policy || kind == ErrorKind::Syntax;
    };
    for (const QString& account : {u"headquarters"_s, u"branch"_s}) {
        Client client = At(account);
        // That an administrator has asked before opens nothing.
        EXPECT_FALSE(server_->QueryAsAdministrator(queries[0]).infos.empty());
        for (const QString& text : queries)
            EXPECT_TRUE(refused([&] { client.Query(text); })) << text.toStdString();
        for (const QString& text : updates)
            EXPECT_TRUE(refused([&] { client.Execute(text); })) << text.toStdString();
        EXPECT_TRUE(refused([&] { client.Query(u"update tab_zelmor_bill set STATUS = 5"_s); }));
        for (const auto& [table, column] :
            {std::pair(u"zelmor_account"_s, u"ROLE"_s), std::pair(u"tab_site"_s, u"SITE_NAME"_s)}) {
            const QString text = u"select * from "_s + table;
            Changes changes(text, server_->QueryAsAdministrator(text));
            changes.Update(0, column + u"=headquarters"_s);
            EXPECT_TRUE(refused([&] { client.Apply(changes.log); })) << table.toStdString();
        }
    }
    EXPECT_EQ(RawText("select count(*) from zelmor_account where ROLE = 'headquarters'"), u"1"_s);
    EXPECT_EQ(RawText("select count(*) from tab_zelmor_bill where REMARK is not null"), u"0"_s);
    EXPECT_EQ(RawText("select STATUS from tab_zelmor_bill order by TX_LOGISTIC_ID"), u"0,(null),1"_s);
}

TEST_P(PolicyTest, StatementsAreForTheHeadquartersOnceTheyCanBeRead)
{
    const QString text = u"update tab_zelmor_bill set STATUS = 5 where TX_LOGISTIC_ID = 'A'"_s;
    for (const QString& account : {u"reader"_s, u"branch"_s, u"centre"_s}) {
        Client client = At(account);
        EXPECT_EQ(KindOf([&] { client.Execute(text); }), ErrorKind::Policy);
        // What is wrong with a text is told to everybody.
        EXPECT_EQ(KindOf([&] { client.Execute(text + u" a.remark=a."_s); }), ErrorKind::Syntax);
        EXPECT_EQ(client.Query(kOrders).RowCount(), 3);
    }
    EXPECT_EQ(At(u"headquarters"_s).Execute(text), 1);
}

TEST_P(PolicyTest, RefusedRowsAreReportedOnceAndLeaveTheOthersAlone)
{
    QStringList reports;
    Options options;
    options.onRefusedRows = [&](const RefusedRows& rows) {
        reports << u"%1 %2 %3 %4 %5"_s.arg(rows.who.account, rows.peer, rows.table)
                       .arg(rows.count)
                       .arg(rows.firstRow);
    };
    Serve(options);
    Raw("update tab_zelmor_bill set REC_SITE = '上海一部', STATUS = 3");
    Raw("update tab_zelmor_bill set REC_SITE = '合肥一部' where TX_LOGISTIC_ID = 'A'");
    Client branch = At(u"branch"_s);
    Changes changes(kOrders, branch.Query(kOrders));
    for (int row : {0, 1, 2})
        changes.Update(row, u"NAME=新"_s);
    EXPECT_EQ(branch.Apply(changes.log).Rejected(), 2);
    EXPECT_EQ(RawText("select TX_LOGISTIC_ID from tab_zelmor_bill where NAME = '新'"), u"A"_s);
    EXPECT_EQ(reports, QStringList{u"branch 10.0.0.1:5000 tab_zelmor_bill 2 B"_s});
}

TEST_P(PolicyTest, RolesMayBeGivenAndTakenWhileTheAccountIsAtWork)
{
    Options options;
    options.permissionSeconds = 0;
    Serve(options);
    Client branch = At(u"branch"_s);
    const auto distributes = [&] {
        Order("STATUS=0");
        Changes changes(kOrders, branch.Query(kOrders));
        changes.Update(0, u"PREPARE_SITE=;上海一部;"_s);
        return branch.Apply(changes.log).Rejected() == 0;
    };
    EXPECT_FALSE(distributes());
    server_->SetRole(u"branch"_s, Role::Centre);
    EXPECT_TRUE(distributes());
    server_->SetRole(u"branch"_s, std::nullopt);
    EXPECT_FALSE(distributes());
    Raw("update tab_site set TYPE = '中心' where SITE_NAME = '合肥一部'");
    EXPECT_TRUE(distributes());
    Raw("update zelmor_account set ROLE = '?' where ACCOUNT = 'branch'");
    EXPECT_EQ(KindOf([&] { distributes(); }), ErrorKind::Policy);
    server_->RemoveAccount(u"branch"_s);
    EXPECT_EQ(KindOf([&] { branch.Query(kOrders); }), ErrorKind::Login);
}

TEST_P(PolicyTest, WhatWasAppliedStaysAppliedWhenTheRoleIsTaken)
{
    Options options;
    options.permissionSeconds = 0;
    Serve(options);
    Client branch = At(u"branch"_s);
    Changes changes(kOrders, branch.Query(kOrders));
    changes.Update(0, u"NAME=新"_s);
    const wire::ApplyName name{.client = {4, 2}, .number = 1};
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    server_->SetRole(u"branch"_s, Role::Reader);
    // The answer was lost: the client sends the same again.
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    EXPECT_EQ(KindOf([&] { branch.Apply(changes.log); }), ErrorKind::Policy);
}

} // namespace
} // namespace server::testing

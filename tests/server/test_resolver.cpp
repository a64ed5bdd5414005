#include "server/provider/Outcomes.h"
#include "tests/server/AnyStorage.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <thread>

namespace server::testing {
namespace {

class ResolverTest : public AnyStorageTest {
protected:
    Changes Log() { return {Text(), client_.Query(Text())}; }
    static const QString& Text() { return kOrders; }
    QString Of(const char* column, const char* key)
    {
        return RawText(u"select %1 from tab_zelmor_bill where TX_LOGISTIC_ID = '%2'"_s.arg(
            QString::fromUtf8(column), QString::fromUtf8(key)));
    }
    int AuditRows() { return RawText("select count(*) from zelmor_audit").toInt(); }

    Client client_ = LoggedIn();
};

TEST_P(ResolverTest, UpdateStoresChangedColumnsAndWritesTheAudit)
{
    Changes changes = Log();
    changes.Update(0, u"STATUS=1, NAME=, ADDRESS=合肥\"一部\""_s);
    Raw("update tab_zelmor_bill set REMARK = '别人的' where TX_LOGISTIC_ID = 'A'"); // touches nothing of ours
    const wire::ApplyOutcome outcome = client_.Apply(changes.log);
    ASSERT_EQ(outcome.rows.size(), 1u);
    EXPECT_TRUE(outcome.rows[0].accepted);
    EXPECT_EQ(outcome.rows[0].rowId, changes.log.rows[0].rowId);
    EXPECT_EQ(Of("STATUS", "A"), u"1"_s);
    EXPECT_EQ(Of("NAME", "A"), u"(null)"_s);
    EXPECT_EQ(Of("REMARK", "A"), u"别人的"_s);
    EXPECT_EQ(
        RawText(
            "select ACCOUNT || '/' || EMPLOYEE_NAME || '/' || ACTION || '/' || TABLE_NAME || '/' || ROW_KEY "
            "from zelmor_audit"),
        u"clerk/张三/update/tab_zelmor_bill/A"_s);
    EXPECT_EQ(RawText("select FIELDS from zelmor_audit"),
        u"{\"STATUS\":[0,1],\"NAME\":[\"甲\",null],\"ADDRESS\":[null,\"合肥\\\"一部\\\"\"],"
        u"\"MODIFIER\":\"张三\",\"MODIFY_CODE\":\"E1\",\"MODIFY_SITE\":\"合肥一部\"}"_s);
}

TEST_P(ResolverTest, RowChangedByOtherIsRefusedWithPresentValues)
{
    struct Case {
        const char* meanwhile;
        bool accepted;
        QString reason;
    };
    // STATUS, REC_SITE and PREPARE_SITE guard every row; other columns only where the log changes them.
    const Case cases[] = {
        {"update tab_zelmor_bill set STATUS = 2", false, u"状态"_s},
        {"update tab_zelmor_bill set STATUS = null", false, u"状态"_s},
        {"update tab_zelmor_bill set REC_SITE = '合肥二部', MODIFIER = '李四', MODIFY_SITE = '合肥二部'",
            false, u"合肥二部 李四"_s},
        {"update tab_zelmor_bill set PREPARE_SITE = null", false, u"可接单网点"_s},
        {"update tab_zelmor_bill set NAME = '乙'", false, u"姓名"_s},
        {"update tab_zelmor_bill set PHONE = '1'", true, {}},
        {"delete from tab_zelmor_bill where TX_LOGISTIC_ID = 'A'", false, u"删除"_s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.meanwhile);
        Raw("delete from tab_zelmor_bill; insert into tab_zelmor_bill(TX_LOGISTIC_ID, STATUS, PREPARE_SITE, "
            "NAME) "
            "values('A', 0, ';合肥一部;', '甲')");
        Changes changes = Log();
        changes.Update(0, u"NAME=新"_s);
        Raw(c.meanwhile);
        const wire::RowVerdict verdict = client_.Apply(changes.log).rows.at(0);
        EXPECT_EQ(verdict.accepted, c.accepted) << verdict.reason.toStdString();
        EXPECT_TRUE(verdict.reason.contains(c.reason)) << verdict.reason.toStdString();
        EXPECT_EQ(Of("NAME", "A") == u"新"_s, c.accepted);
        const bool gone = Of("STATUS", "A") == u"(no row)"_s;
        EXPECT_EQ(verdict.present, !c.accepted && !gone);
        if (verdict.present) {
            ASSERT_EQ(verdict.presentValues.size(), changes.log.columns.size());
            const wire::RowSet now = client_.Query(Text());
            for (size_t i = 0; i < now.columns.size(); ++i)
                EXPECT_TRUE(wire::SameValue(verdict.presentValues[i], now.columns[i].ValueAt(0)));
        }
    }
}

TEST_P(ResolverTest, NullsNumbersAndEmptyTextCompareAsTheClientSeesThem)
{
    Changes changes = Log();
    // B was null throughout; C's weight is stored as a whole number and read as a fraction.
    changes.Update(1, u"STATUS=0, TOTAL_WEIGHT=0.25, NAME=乙"_s);
    changes.Update(2, u"TOTAL_WEIGHT=3, NAME="_s);
    const wire::ApplyOutcome outcome = client_.Apply(changes.log);
    EXPECT_EQ(outcome.Rejected(), 0) << outcome.rows[0].reason.toStdString()
                                     << outcome.rows[1].reason.toStdString();
    EXPECT_EQ(Of("TOTAL_WEIGHT", "B"), u"0.25"_s);
    EXPECT_EQ(Of("NAME", "C"), u"(null)"_s);
}

TEST_P(ResolverTest, ColumnsOfOtherTablesAreIgnored)
{
    const QString text = u"select a.TX_LOGISTIC_ID, a.STATUS, 'x' NOTE from tab_zelmor_bill a"_s;
    Changes changes(text, client_.Query(text));
    changes.Update(0, u"NOTE=changed, STATUS=10"_s);
    changes.Update(1, u"NOTE=changed"_s);
    EXPECT_EQ(client_.Apply(changes.log).Rejected(), 0);
    EXPECT_EQ(RawText("select count(*) from tab_zelmor_bill where STATUS = 10"), u"1"_s);
    EXPECT_EQ(AuditRows(), 1);
}

TEST_P(ResolverTest, InsertAndDelete)
{
    Changes changes = Log();
    changes.Insert(u"TX_LOGISTIC_ID=D, STATUS=0"_s);
    changes.Insert(u"TX_LOGISTIC_ID=A, STATUS=0"_s);
    changes.Insert(u"STATUS=0"_s);
    changes.Delete(1);
    Raw("update tab_zelmor_bill set STATUS = 10 where TX_LOGISTIC_ID = 'C'");
    changes.Delete(2);
    const auto rows = client_.Apply(changes.log).rows;
    EXPECT_TRUE(rows[0].accepted);
    EXPECT_TRUE(rows[1].reason.contains(u"“A”已存在"_s)) << rows[1].reason.toStdString();
    EXPECT_TRUE(rows[1].present);
    EXPECT_FALSE(rows[2].accepted);
    EXPECT_TRUE(rows[3].accepted);
    EXPECT_FALSE(rows[4].accepted);
    EXPECT_EQ(RawText("select TX_LOGISTIC_ID || STATUS from tab_zelmor_bill order by 1"), u"A0,C10,D0"_s);
    EXPECT_EQ(RawText("select ACTION || ROW_KEY from zelmor_audit order by AUDIT_ID"), u"insertD,deleteB"_s);
    EXPECT_TRUE(RawText("select FIELDS from zelmor_audit where ACTION = 'delete'")
                    .contains(u"\"CREATE_DATE\":[\"1970"_s));
}

TEST_P(ResolverTest, KeyOfARowMayChangeButNotToATakenOne)
{
    Changes changes = Log();
    changes.Update(0, u"TX_LOGISTIC_ID=A2"_s);
    changes.Update(1, u"TX_LOGISTIC_ID=C"_s);
    changes.Update(2, u"TX_LOGISTIC_ID="_s);
    const auto rows = client_.Apply(changes.log).rows;
    EXPECT_TRUE(rows[0].accepted);
    EXPECT_FALSE(rows[1].accepted);
    EXPECT_EQ(rows[2].reason, u"“物流号”不能为空！"_s);
    EXPECT_EQ(RawText("select TX_LOGISTIC_ID from tab_zelmor_bill order by 1"), u"A2,B,C"_s);
}

TEST_P(ResolverTest, ValuesThatDoNotFitAreRefused)
{
    Changes changes = Log();
    changes.Update(0, {{u"MESSAGE"_s, QString(101, u'字')}});
    changes.Update(1, {{u"STATUS"_s, u"many"_s}});
    changes.Update(2, {{u"MESSAGE"_s, QString(99, u'字') + QString::fromUcs4(U"\U00020000")}});
    const auto rows = client_.Apply(changes.log).rows;
    EXPECT_TRUE(rows[0].reason.contains(u"101"_s)) << rows[0].reason.toStdString();
    EXPECT_TRUE(rows[1].reason.startsWith(u"“状态”"_s)) << rows[1].reason.toStdString();
    EXPECT_TRUE(rows[2].accepted) << "a character outside the basic plane counts once";
}

// More than a writer keeps statements for.
TEST_P(ResolverTest, RowsOfManyShapesAreAllStored)
{
    const QString columns[]{u"NAME"_s, u"REMARK"_s, u"MESSAGE"_s, u"PHONE"_s, u"MOBILE"_s, u"ADDRESS"_s,
        u"SEND_NAME"_s, u"SEND_CITY"_s, u"CANCEL_DESC"_s};
    Changes changes = Log();
    for (size_t row = 0; row < storage::kMostRowStatements + 44; ++row) {
        QString values = u"TX_LOGISTIC_ID=X%1"_s.arg(row);
        for (size_t i = 0; i < std::size(columns); ++i) {
            if ((row >> i & 1) != 0)
                values += u", "_s + columns[i] + u"=值"_s;
        }
        changes.Insert(values);
    }
    EXPECT_EQ(client_.Apply(changes.log).Rejected(), 0);
    EXPECT_EQ(RawText("select count(*) from tab_zelmor_bill where TX_LOGISTIC_ID like 'X%'"), u"300"_s);
}

TEST_P(ResolverTest, MoreRefusalsThanAllowedUndoAll)
{
    for (const int maxErrors : {-1, 0, 1, 2}) {
        SCOPED_TRACE(maxErrors);
        Raw("update tab_zelmor_bill set STATUS = 0, NAME = null; delete from zelmor_audit");
        Changes changes = Log();
        for (int row = 0; row < 3; ++row)
            changes.Update(row, u"NAME=新"_s);
        Raw("update tab_zelmor_bill set STATUS = 1 where TX_LOGISTIC_ID in ('A', 'B')");
        const wire::ApplyOutcome outcome = client_.Apply(changes.log, maxErrors);
        const bool undone = maxErrors == 0 || maxErrors == 1;
        EXPECT_EQ(outcome.rolledBack, undone);
        EXPECT_EQ(outcome.Rejected(), undone ? 3 : 2);
        EXPECT_TRUE(outcome.rows[2].reason.isEmpty()) << "it was not the cause";
        EXPECT_EQ(Of("NAME", "C"), undone ? u"(null)"_s : u"新"_s);
        EXPECT_EQ(AuditRows(), undone ? 0 : 1);
    }
}

TEST_P(ResolverTest, RepeatedSendIsAnsweredAndNotApplied)
{
    Changes changes = Log();
    changes.Update(0, u"STATUS=1"_s);
    changes.Update(1, u"STATUS=1"_s);
    Raw("update tab_zelmor_bill set STATUS = 7 where TX_LOGISTIC_ID = 'B'");
    const wire::ApplyName name{.client = {1, 2, 3}, .number = 42};
    const wire::ApplyOutcome first = client_.Apply(changes.log, name, -1);
    ASSERT_EQ(first.Rejected(), 1);
    Raw("update tab_zelmor_bill set STATUS = 0"); // would be applied now

    const auto expectSame = [&](const wire::ApplyOutcome& again) {
        ASSERT_EQ(again.rows.size(), 2u);
        EXPECT_TRUE(again.rows[0].accepted);
        EXPECT_FALSE(again.rows[1].accepted);
        EXPECT_EQ(again.rows[1].rowId, first.rows[1].rowId);
        EXPECT_EQ(again.rows[1].reason, first.rows[1].reason);
        EXPECT_EQ(again.rows[1].presentValues, first.rows[1].presentValues);
        EXPECT_EQ(Of("STATUS", "A"), u"0"_s);
        EXPECT_EQ(AuditRows(), 1);
    };
    expectSame(client_.Apply(changes.log, name, -1));
    Restart();
    Client later = LoggedIn();
    expectSame(later.Apply(changes.log, name, -1));
    // The connection that has answered so, as its first, takes the next log.
    EXPECT_EQ(later.Apply(changes.log, {.client = {1, 2, 3}, .number = 43}, -1).Rejected(), 1);
    EXPECT_EQ(Of("STATUS", "A"), u"1"_s);

    // The name stands for this log and no other, nor for other terms.
    wire::ChangeLog other = changes.log;
    other.rows.pop_back();
    EXPECT_EQ(KindOf([&] { later.Apply(other, name, -1); }), wire::ErrorKind::Data);
    EXPECT_EQ(KindOf([&] { later.Apply(changes.log, name, 0); }), wire::ErrorKind::Data);
    other = changes.log;
    other.rows[0].cells.back().current = u"x"_s;
    EXPECT_EQ(KindOf([&] { later.Apply(other, name, -1); }), wire::ErrorKind::Data);

    // Nobody gets another account's answer.
    server_->AddAccount({u"other"_s, u"secret"_s, u"E1"_s, {}});
    Client stranger(*server_, u"other"_s, u"secret"_s);
    EXPECT_EQ(KindOf([&] { stranger.Apply(changes.log, name, -1); }), wire::ErrorKind::Policy);
}

TEST_P(ResolverTest, LogsThatCannotBeAppliedRaiseAndStoreNothing)
{
    Changes changes = Log();
    changes.Update(0, u"STATUS=1"_s);
    changes.Update(1, u"STATUS=1"_s);
    wire::ChangeLog noSuchColumn = changes.log;
    noSuchColumn.rows[1].cells[0].column = 999;
    EXPECT_EQ(KindOf([&] { client_.Apply(noSuchColumn); }), wire::ErrorKind::Data);
    wire::ChangeLog noKey = changes.log;
    std::erase_if(noKey.rows[1].cells, [&](const auto& cell) { return noKey.columns[cell.column].key; });
    EXPECT_EQ(KindOf([&] { client_.Apply(noKey); }), wire::ErrorKind::Data);
    wire::ChangeLog columnTwice = changes.log;
    columnTwice.rows[1].cells.push_back(columnTwice.rows[1].cells.back());
    EXPECT_EQ(KindOf([&] { client_.Apply(columnTwice); }), wire::ErrorKind::Data);
    wire::ChangeLog withoutKeyColumn = changes.log;
    withoutKeyColumn.commandText = u"select a.STATUS from tab_zelmor_bill a"_s;
    withoutKeyColumn.columns.erase(withoutKeyColumn.columns.begin());
    EXPECT_TRUE(ErrorOf([&] { client_.Apply(withoutKeyColumn); }).Message().contains(u"TX_LOGISTIC_ID"_s));
    EXPECT_EQ(RawText("select STATUS from tab_zelmor_bill order by TX_LOGISTIC_ID"), u"0,(null),1"_s);
    EXPECT_EQ(AuditRows(), 0);
    EXPECT_TRUE(client_.Apply(changes.log).rows[0].accepted);
}

TEST_P(ResolverTest, ValuesThatNoDatabaseKeepsRefuseTheirRowAlone)
{
    Changes changes = Log();
    changes.Update(0, {{u"NAME"_s, u"甲\0乙"_s}});
    changes.Update(1, {{u"TOTAL_WEIGHT"_s, std::numeric_limits<double>::quiet_NaN()}});
    changes.Update(2, u"NAME=丁"_s);
    const wire::ApplyOutcome outcome = client_.Apply(changes.log);
    EXPECT_TRUE(outcome.rows[0].reason.contains(u"姓名"_s));
    EXPECT_TRUE(outcome.rows[1].reason.contains(u"重量"_s));
    EXPECT_TRUE(outcome.rows[2].accepted);
    EXPECT_EQ(Of("NAME", "A"), u"甲"_s);
    EXPECT_EQ(AuditRows(), 1);
}

TEST(OutcomeTest, WhatNoReplyCanHoldIsKnownBeforeTheCommit)
{
    wire::ApplyOutcome outcome;
    outcome.rows.resize(70);
    EXPECT_NO_THROW(RequireSendable(outcome));
    for (wire::RowVerdict& row : outcome.rows)
        row.presentValues = {QString(1 << 20, u'x')};
    EXPECT_EQ(KindOf([&] { RequireSendable(outcome); }), wire::ErrorKind::Limit);
}

// A few hundred kilobytes on their way; each refused row comes back with a value for every column.
// The database answers each look at once: none of them is waited for.
TEST_P(ResolverTest, ALogOfRowsThatAreOnlyLookedUpIsStopped)
{
    Changes changes = Log();
    changes.Update(0, {{u"STATUS"_s, qint64(3)}}); // picked up, and nobody signed: refused after a look
    changes.log.rows.resize(20'000, changes.log.rows.front());
    std::atomic<bool> ended = false;
    std::jthread impatient([&] {
        while (!ended) {
            client_.Conversation().Interrupt();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    EXPECT_EQ(ErrorOf([&] { client_.Apply(changes.log); }).Kind(), wire::ErrorKind::Limit);
    ended = true;
}

TEST_P(ResolverTest, FalseRowsOfManyColumnsEndBeforeTheirVerdictsFillTheMemory)
{
    Changes changes = Log();
    changes.log.columns.resize(1'900, {u"Z"_s, wire::ColumnType::Text});
    changes.Update(0, u"STATUS=1"_s);
    Raw("update tab_zelmor_bill set STATUS = 3 where TX_LOGISTIC_ID = 'A'");
    changes.log.rows.resize(2'500, changes.log.rows.front());
    changes.log.rows.front() = {
        wire::ChangeKind::Insert, 1, {{changes.log.rows.back().cells.front().column, {}, u"NEW"_s}}};
    const wire::Error error = ErrorOf([&] { client_.Apply(changes.log); });
    EXPECT_EQ(error.Kind(), wire::ErrorKind::Limit);
    EXPECT_TRUE(error.Message().contains(u"全部没有保存"_s)) << error.what();
    EXPECT_EQ(Of("STATUS", "NEW"), u"(no row)"_s);
}

ZELMOR_FOR_EACH_STORAGE(ResolverTest);
ZELMOR_FOR_ODBC_TOO(ResolverTest);

} // namespace
} // namespace server::testing

#include "module/data/ServerLink.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class ServerLink : public ::testing::Test {
protected:
    ServerLink()
    {
        host.Server.OnQuery = [](const QString&) {
            return MakeRows(
                {{.name = u"ID"_s, .key = true, .stored = true}, {.name = u"NOTE"_s, .stored = true}},
                {{u"1"_s, u"a"_s}, {u"2"_s, u"b"_s}});
        };
        cds.SetRemoteServer(&host.Connection);
    }

    void Change(const QString& note)
    {
        cds.Edit();
        cds.FieldByName(u"NOTE").SetAsString(note);
    }

    TFakeHost host;
    TClientDataSetEx cds;
};

} // namespace

TEST_F(ServerLink, AQueryReplacesWhatWasThere)
{
    OpenQuery(cds, u"select 1"_s);
    Change(u"x"_s);
    cds.Post();
    OpenQuery(cds, u"select 2"_s);
    EXPECT_EQ(cds.ChangeCount(), 0);
    EXPECT_EQ(host.Server.Queries(), QStringList({u"select 1"_s, u"select 2"_s}));
}

TEST_F(ServerLink, AFailedQueryKeepsTheServersWords)
{
    host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Syntax, u"第一行\n第二行"_s);
    };
    try {
        OpenQuery(cds, u"select '"_s);
        FAIL();
    } catch (const wire::Error& error) {
        EXPECT_EQ(error.Message(), u"第一行\n第二行"_s);
    }
}

TEST_F(ServerLink, StatementsGiveTheRowsChanged)
{
    host.Server.OnExecute = [](const QString& sql) { return sql.size(); };
    EXPECT_EQ(ExecuteStatement(cds, u"update"_s), 6);
    EXPECT_FALSE(cds.Active());
}

TEST_F(ServerLink, NothingChangedSendsNothing)
{
    OpenQuery(cds, u"select"_s);
    const size_t before = host.Server.Requests.size();
    EXPECT_EQ(SaveChanges(cds, u"标题"_s), TSaveOutcome::NothingToSave);
    EXPECT_EQ(host.Server.Requests.size(), before);
    const TShownMessage& shown = host.App.ShownMessages().at(0);
    EXPECT_EQ(shown.text, u"详细：没有改变任何数据，因此不需要保存！"_s);
    EXPECT_EQ(shown.caption, u"标题"_s);
    EXPECT_EQ(shown.icon, TMessageIcon::Warning);
}

TEST_F(ServerLink, SavePostsThePendingEditFirst)
{
    OpenQuery(cds, u"select"_s);
    Change(u"x"_s);
    EXPECT_EQ(SaveChanges(cds, u"标题"_s), TSaveOutcome::Saved);
    EXPECT_EQ(cds.ChangeCount(), 0);
    EXPECT_EQ(host.TakeMessages(), QStringList(u"详细：数据保存成功！"_s));

    Change(u"y"_s);
    cds.BeforePost = [] { Abort(); };
    EXPECT_THROW(SaveChanges(cds, u"标题"_s), EAbort);
    EXPECT_EQ(cds.State(), TDataSetState::Edit);
    EXPECT_TRUE(host.TakeMessages().isEmpty());
}

TEST_F(ServerLink, RejectedRowsAndLostConnectionsAreToldApart)
{
    OpenQuery(cds, u"select"_s);
    Change(u"x"_s);
    host.Server.OnApply = [](const wire::ChangeLog& log) { return RejectAll(log, u"已被他人修改"_s); };
    int rejections = 0;
    EXPECT_EQ(SaveChanges(cds, u"标题"_s, [&] { ++rejections; }), TSaveOutcome::Rejected);
    EXPECT_EQ(rejections, 1);
    EXPECT_EQ(cds.ChangeCount(), 1);
    EXPECT_TRUE(host.TakeMessages().isEmpty());

    host.Server.OnApply = [](const wire::ChangeLog&) -> wire::ApplyOutcome {
        throw wire::Error(wire::ErrorKind::Storage, u"磁盘已满"_s);
    };
    EXPECT_EQ(SaveChanges(cds, u"标题"_s, [&] { ++rejections; }), TSaveOutcome::Failed);
    EXPECT_EQ(rejections, 1);
    EXPECT_EQ(cds.ChangeCount(), 1);
    EXPECT_EQ(host.TakeMessages(), QStringList(u"详细：磁盘已满"_s));
    EXPECT_EQ(Screen->Cursor(), crDefault);

    host.Server.OnApply = nullptr;
    EXPECT_EQ(SaveChanges(cds, u"标题"_s), TSaveOutcome::Saved);
}

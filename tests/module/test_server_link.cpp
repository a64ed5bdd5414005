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

#include "framework/SaveChanges.h"
#include "module/data/ServerLink.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class Saves : public ::testing::Test {
protected:
    Saves()
    {
        host.Server.OnQuery = [this](const QString&) {
            std::vector<std::vector<wire::Value>> rows;
            for (const QString& id : ids)
                rows.push_back({id, u"a"_s});
            return MakeRows(
                {{.name = u"ID"_s, .key = true, .stored = true}, {.name = u"NOTE"_s, .stored = true}}, rows);
        };
        cds.SetRemoteServer(&host.Connection);
        OpenQuery(cds, u"select"_s);
    }

    void Change(const QString& note)
    {
        cds.Edit();
        cds.FieldByName(u"NOTE").SetAsString(note);
    }
    TShownMessage OnlyMessage()
    {
        const std::vector<TShownMessage> shown = host.App.ShownMessages();
        host.App.ClearShownMessages();
        EXPECT_EQ(shown.size(), 1U);
        return shown.empty() ? TShownMessage{} : shown[0];
    }

    QStringList ids{u"1"_s, u"2"_s, u"3"_s};
    TFakeHost host;
    TClientDataSetEx cds;
};

} // namespace

TEST_F(Saves, NothingChangedSendsNothing)
{
    const size_t before = host.Server.Requests.size();
    EXPECT_EQ(SaveChanges(cds, {.caption = u"标题"_s}), TSaveOutcome::NothingToSave);
    EXPECT_EQ(host.Server.Requests.size(), before);
    const TShownMessage shown = OnlyMessage();
    EXPECT_EQ(shown.text, u"详细：没有改变任何数据，因此不需要保存！"_s);
    EXPECT_EQ(shown.caption, u"标题"_s);
    EXPECT_EQ(shown.icon, TMessageIcon::Warning);
    SaveChanges(cds, {.caption = u"标题"_s, .nothingCaption = u"数据保存"_s});
    EXPECT_EQ(OnlyMessage().caption, u"数据保存"_s);
}

// What each kind of save says, and what it leaves, when it succeeds, when the server refuses a row, and when
// there is no way to it.
TEST_F(Saves, EachKindTellsAndLeavesItsOwn)
{
    struct Case {
        TSave save;
        QString refused; // texts; empty: listed
        QString lost;
        bool reloadsSaved;
        bool reloadsRefused;
    };
    const QString words = u"详细：有1条数据未能保存：已被他人修改！"_s;
    int listed = 0;
    const Case cases[] = {
        {{.after = TAfterSave::ReloadTold, .tellRejected = [&] { ++listed; }}, {}, u"详细：磁盘已满"_s, true,
            true},
        {{.maxErrors = 0}, words, u"详细：磁盘已满"_s, true, false},
        {{.maxErrors = 0, .after = TAfterSave::Merge}, words, u"详细：磁盘已满"_s, false, false},
        {{.maxErrors = 0, .failure = u"详细：保存失败"_s, .failureIcon = TMessageIcon::Information},
            u"详细：保存失败"_s, u"详细：保存失败"_s, true, false},
        {{.after = TAfterSave::Leave, .success = u"详细：保存数据成功"_s, .failure = u"详细：保存数据失败"_s},
            u"详细：保存数据失败"_s, u"详细：保存数据失败"_s, false, false},
    };
    for (TSave save; const Case& tried : cases) {
        SCOPED_TRACE(&tried - cases);
        save = tried.save;
        save.caption = u"标题"_s;
        save.keyField = u"ID"_s;
        const auto queries = [this] { return host.Server.Queries().size(); };

        Change(u"refused %1"_s.arg(&tried - cases));
        host.Server.OnApply = [](const wire::ChangeLog& log) { return RejectAll(log, u"已被他人修改"_s); };
        qsizetype before = queries();
        EXPECT_EQ(SaveChanges(cds, save), TSaveOutcome::Rejected);
        EXPECT_EQ(queries() - before, tried.reloadsRefused);
        EXPECT_EQ(cds.ChangeCount(), tried.reloadsRefused ? 0 : 1);
        if (tried.refused.isEmpty()) {
            EXPECT_EQ(listed, 1);
            EXPECT_TRUE(host.TakeMessages().isEmpty());
        } else {
            const TShownMessage shown = OnlyMessage();
            EXPECT_EQ(shown.text, tried.refused);
            EXPECT_EQ(shown.icon, save.failureIcon);
        }

        Change(u"lost %1"_s.arg(&tried - cases));
        host.Server.OnApply = [](const wire::ChangeLog&) -> wire::ApplyOutcome {
            throw wire::Error(wire::ErrorKind::Storage, u"磁盘已满"_s);
        };
        EXPECT_EQ(SaveChanges(cds, save), TSaveOutcome::Failed);
        EXPECT_EQ(OnlyMessage().text, tried.lost);
        EXPECT_EQ(cds.ChangeCount(), 1);
        EXPECT_EQ(Screen->Cursor(), crDefault);

        host.Server.OnApply = nullptr;
        before = queries();
        EXPECT_EQ(SaveChanges(cds, save), TSaveOutcome::Saved);
        EXPECT_EQ(queries() - before, tried.reloadsSaved);
        const TShownMessage shown = OnlyMessage();
        EXPECT_EQ(shown.text, save.success);
        EXPECT_EQ(shown.caption, u"标题"_s);
        EXPECT_EQ(shown.icon, TMessageIcon::Information);
        EXPECT_EQ(cds.ChangeCount(), 0);
    }
}

TEST_F(Saves, TheListStandsWhereItStoodOrAtTheNextRowThatIsLeft)
{
    const auto saveAt = [this](int recNo, const QStringList& left) {
        cds.SetRecNo(recNo);
        Change(cds.FieldByName(u"NOTE").AsString() + u"!"_s);
        ids = left;
        SaveChanges(cds, {.keyField = u"ID"_s});
        return cds.FieldByName(u"ID").AsString();
    };
    EXPECT_EQ(saveAt(2, {u"1"_s, u"2"_s, u"3"_s, u"4"_s}), u"2"_s);
    EXPECT_EQ(saveAt(2, {u"1"_s, u"4"_s}), u"4"_s) << "2 and 3 are gone";
    EXPECT_EQ(saveAt(2, {u"7"_s, u"8"_s}), u"7"_s);
}

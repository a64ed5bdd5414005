#include "module/data/HostBridge.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

#include <QTime>

using namespace Qt::Literals::StringLiterals;

namespace {

QString MessageOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const wire::Error& error) {
        return error.Message();
    }
    return u"(nothing raised)"_s;
}

} // namespace

TEST(HostBridge, NamesReachTheSameItemInAnySpelling)
{
    TFakeHost host;
    EXPECT_EQ(GlobalValue(u"SITE"_s), u"浦东一部"_s);
    EXPECT_EQ(GlobalValue(u"site"_s), u"浦东一部"_s);
    EXPECT_EQ(GlobalValue(u"EMPLOYEENAME"_s), GlobalValue(u"employeeName"_s));
    EXPECT_EQ(&GlobalCds(u"loginsite"_s), &host.DataSet(u"loginSite"_s));
    EXPECT_TRUE(GlobalValue(u"MainBill"_s).isEmpty());
}

TEST(HostBridge, WhatIsMissingIsNamedAsAsked)
{
    TFakeHost host;
    EXPECT_EQ(MessageOf([] { GlobalCds(u"NoSuch"_s); }), u"全局数据集\"NoSuch\"不存在！"_s);
    EXPECT_EQ(MessageOf([] { GlobalTree(u"noTree"_s); }), u"全局Tree\"noTree\"不存在！"_s);
    host.App.SetMainForm(nullptr);
    EXPECT_EQ(MessageOf([] { GlobalCds(u"AllSite"_s); }), u"全局数据集\"AllSite\"不存在！"_s);
    EXPECT_TRUE(GlobalValue(u"site"_s).isEmpty());
}

TEST(HostBridge, FollowsListsThatChangeBetweenLookups)
{
    TFakeHost host;
    ASSERT_EQ(GlobalValue(u"EmployeeCode"_s), u"E001"_s);
    // The remembered place now holds another item, then lies beyond the end.
    std::reverse(host.MainForm.Values.begin(), host.MainForm.Values.end());
    EXPECT_EQ(GlobalValue(u"EmployeeCode"_s), u"E001"_s);
    EXPECT_EQ(GlobalValue(u"site"_s), u"浦东一部"_s);
    host.MainForm.Values.clear();
    EXPECT_TRUE(GlobalValue(u"site"_s).isEmpty());
}

TEST(HostBridge, AsksTheHostForTheTreeFirst)
{
    TFakeHost host;
    auto* tree = new TTreeView(&host.MainForm, u"AllSiteTree"_s);
    host.MainForm.Trees.push_back(tree);
    EXPECT_EQ(&GlobalTree(u"allsitetree"_s), tree);
    EXPECT_EQ(host.MainForm.WantedTree, u"allsitetree"_s);
}

TEST(HostBridge, NowIsTheServersMinuteWithTheLocalSecond)
{
    const double server = wire::DateTime::FromParts(2024, 1, 31, 10, 59, 12).ToSerial();
    EXPECT_EQ(WithLocalSecond(server, 37).ToText(), u"2024-01-31 10:59:37"_s);
    EXPECT_EQ(WithLocalSecond(server, 5).ToText(), u"2024-01-31 10:59:05"_s);

    TFakeHost host;
    const int before = QTime::currentTime().second();
    const QString now = ServerDateTime().ToText();
    const int after = QTime::currentTime().second();
    EXPECT_TRUE(now.startsWith(u"2024-01-31 10:59:"_s));
    const int second = now.right(2).toInt();
    EXPECT_TRUE(second == before || second == after) << now.toStdString();
}

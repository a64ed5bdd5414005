#include "module/data/DateRange.h"
#include "module/data/DelimitedText.h"
#include "module/data/PastedNumbers.h"
#include "module/data/SqlText.h"
#include "tests/support/FakeHost.h"

#include <QPlainTextEdit>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void OpenSites(TClientDataSetEx& dataSet, int count)
{
    std::vector<QStringList> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({u"S%1"_s.arg(i)});
    dataSet.OpenRows(MakeTextRows({u"SITE_NAME"_s}, rows));
}

QString Lines(int count)
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines += QString::number(i);
    return lines.join(u'\n');
}

} // namespace

TEST(QuotedStr, DoublesQuotes)
{
    EXPECT_EQ(QuotedStr(u"a'b"_s), u"'a''b'"_s);
    EXPECT_EQ(QuotedStr({}), u"''"_s);
}

TEST(BuildInList, ChunksKeepUnderTheServersLimit)
{
    TClientDataSetEx sites;
    EXPECT_EQ(BuildInList(sites, u"site_name"_s, u"a.duty_site"_s), u"()"_s);
    sites.OpenRows(MakeTextRows({u"SITE_NAME"_s}, {{u"A"_s}, {u"B"_s}, {u"C"_s}}));
    EXPECT_EQ(BuildInList(sites, u"site_name"_s, u"a.duty_site"_s, 2),
        u"((a.duty_site in ('A','B'))or(a.duty_site in ('C')))"_s);
    EXPECT_EQ(BuildInList(sites, u"site_name"_s, u"x"_s, 3), u"((x in ('A','B','C')))"_s);

    OpenSites(sites, 999);
    EXPECT_EQ(BuildInList(sites, u"site_name"_s, u"x"_s).count(u" in ("_s), 1);
    OpenSites(sites, 1000);
    const QString two = BuildInList(sites, u"site_name"_s, u"x"_s);
    EXPECT_TRUE(two.endsWith(u"'S998'))or(x in ('S999')))"_s));
}

TEST(BuildInList, LeavesThePositionAndSpeaksOfAMissingField)
{
    TClientDataSetEx sites;
    OpenSites(sites, 5);
    sites.SetRecNo(4);
    int scrolls = 0;
    sites.AfterScroll = [&] { ++scrolls; };
    BuildInList(sites, u"site_name"_s, u"x"_s);
    EXPECT_EQ(sites.RecNo(), 4);
    EXPECT_EQ(scrolls, 0);
    EXPECT_THROW(BuildInList(sites, u"no_field"_s, u"x"_s), wire::Error);
}

TEST(PastedNumbers, AreOneALineByTheRulesOfTheScreen)
{
    EXPECT_EQ(ParsePastedNumbers(u" a \r\nb\r\rc\n"_s).list, u"('a','b','','c')"_s);
    EXPECT_EQ(ParsePastedNumbers(u"one"_s).list, u"('one')"_s);
    EXPECT_EQ(ParsePastedNumbers(u"\na"_s).list, u"('','a')"_s);
    EXPECT_EQ(ParsePastedNumbers(u"a \n b"_s, {.maxLines = 999, .trimmed = false, .lastFirst = true}).list,
        u"(' b','a ')"_s);
    EXPECT_TRUE(ParsePastedNumbers(Lines(999), {.maxLines = 999}).complaint.isEmpty());
    EXPECT_EQ(ParsePastedNumbers(Lines(1000), {.maxLines = 999}).complaint,
        u"详细：您输入了\"1000\"个单号，最多只能输入\"999\"个单号！"_s);
}

TEST(DelimitedText, CommasAndBlanksSeparateQuotesGroup)
{
    const std::pair<QString, QStringList> cases[] = {
        {u""_s, {}}, {u"  "_s, {}}, {u"号"_s, {u"号"_s}},
        {u"号,栋 室\t楼"_s, {u"号"_s, u"栋"_s, u"室"_s, u"楼"_s}}, {u" a , b "_s, {u"a"_s, u"b"_s}},
        {u"a,,b,"_s, {u"a"_s, u""_s, u"b"_s, u""_s}}, {u",a"_s, {u""_s, u"a"_s}},
        {u"\"a, b\",\"say \"\"c\"\"\""_s, {u"a, b"_s, u"say \"c\""_s}}, {u"\"open, end"_s, {u"open, end"_s}},
        {u"a\"b"_s, {u"a\"b"_s}}, {u"路　街"_s, {u"路　街"_s}}, // a wide blank is a character
    };
    for (const auto& [text, items] : cases)
        EXPECT_EQ(SplitDelimited(text), items) << text.toStdString();
}

TEST(SiteAndBelow, IsSpelledAsEachQueryHasIt)
{
    EXPECT_EQ(SiteAndBelow(u"A"_s),
        u" start with SITE_NAME='A' connect by prior SITE_NAME=(case SITE_NAME when 'A' then '' else SUPERIOR_SITE end)"_s);
    EXPECT_TRUE(
        SiteAndBelow(u"A"_s, u" connect by  prior ").contains(u"'A' connect by  prior SITE_NAME=("_s));
}

TEST(PastedNumbers, ComplaintsAreTold)
{
    TFakeHost host;
    QPlainTextEdit memo;
    memo.setPlainText(u" \n "_s);
    EXPECT_TRUE(PastedNumberList(memo).isEmpty());
    memo.setPlainText(Lines(801));
    EXPECT_TRUE(PastedNumberList(memo).isEmpty());
    const auto shown = host.App.ShownMessages();
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[0].text, u"详细：没有输入任何运单编号！"_s);
    EXPECT_EQ(shown[1].text, u"详细：您输入了\"801\"个单号，最多只能输入\"800\"个单号！"_s);
    for (const TShownMessage& message : shown) {
        EXPECT_EQ(message.caption, u"详细："_s);
        EXPECT_EQ(message.icon, TMessageIcon::Warning);
    }
    memo.setPlainText(Lines(800));
    EXPECT_TRUE(PastedNumberList(memo).endsWith(u"'798','799')"_s));
    EXPECT_EQ(host.App.ShownMessages().size(), 2U);
}

TEST(CheckDateRange, RejectsWithTheRightWords)
{
    TFakeHost host;
    const QString start = u"2024-01-01 00:00:00"_s;
    EXPECT_TRUE(CheckDateRange(start, u"2024-01-31 00:00:01"_s, 30, false));
    EXPECT_TRUE(host.App.ShownMessages().empty());
    const QString noTime = u"日期时间格式 详细：您所输入的日期时间错误！"_s;
    const struct {
        QString from, to, told;
        int days = 30;
    } cases[] = {
        {start, u"2024-01-31 00:00:00"_s, {}},
        {start, start, {}, 0},
        {start, u"2024-01-31 00:00:01"_s, u"日期时间错误 详细：结束日期不能超过开始日期\"30\"天！"_s},
        {u"2024-01-02"_s, start, u"日期时间错误 详细：结束日期不能比开始日期还早！"_s},
        {u"2024-02-30"_s, u"2024-03-01"_s, noTime},
        {{}, start, noTime},
    };
    for (const auto& [from, to, told, days] : cases) {
        EXPECT_EQ(CheckDateRange(from, to, days, true), !told.isEmpty());
        QString shown;
        for (const TShownMessage& message : host.App.ShownMessages()) {
            shown += message.caption + u' ' + message.text;
            EXPECT_EQ(message.icon, TMessageIcon::Warning);
        }
        EXPECT_EQ(shown, told);
        host.TakeMessages();
    }
}

TEST(Today, IsTheServersDay)
{
    const TFakeHost host;
    EXPECT_EQ(StartOfToday(), u"2024-01-31 00:00:00"_s);
    EXPECT_EQ(EndOfToday(), u"2024-01-31 23:59:59"_s);
}

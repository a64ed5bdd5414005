#include "module/data/PerlRegEx.h"
#include "module/data/dm_BasicData.h"
#include "orders/waybill/WaybillChecks.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// Worked out by hand: the weights of the first seven positions are 7 4 2 5 3 6 8, of twelve characters those
// of the third to the eleventh.
TEST(CheckANBillCode, TakesTheCheckDigitWhereTheLengthHasOne)
{
    const std::pair<QString, bool> cases[] = {
        {u"00000013"_s, true}, // 8: 11 - 8
        {u"00000014"_s, false},
        {u"00000005"_s, true}, // remainder 0
        {u"00001015"_s, true}, // 3 + 8, remainder 0
        {u"00001010"_s, false},
        {u"01000010"_s, true}, // 4 + 8, remainder 1
        {u"01000015"_s, false},
        {u"00100011"_s, true}, // 2 + 8, remainder 10
        {u"990000000012"_s, true}, // last of the nine weighs 9: 11 - 9 = 2
        {u"990000000013"_s, false},
        {u"AB0000000012"_s, true}, // the first two take no part
        {u"1234567890"_s, true}, // other lengths pass
        {u"ABCDEFGHIJKLM"_s, true},
        {{}, true},
        {u"00000005  "_s, true},
    };
    for (const auto& [number, good] : cases)
        EXPECT_EQ(CheckANBillCode(number), good) << qUtf8Printable(number);
    // Blanks in front count for digits, and letters are none.
    EXPECT_THROW(CheckANBillCode(u" 00000005"_s), wire::Error);
    EXPECT_THROW(CheckANBillCode(u"00000A05"_s), wire::Error);
}

TEST(WaybillIssued, TextOfTheQuery)
{
    EXPECT_EQ(WaybillIssuedQuery(u"123456789012"_s, u"'A','B'"_s),
        u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where (((a.start_no <= "
        "'123456789012' and a.end_no >= '123456789012') and  length(a.START_NO) = length('123456789012')) or "
        " "
        "((a.start_no <= substr('123456789012', 1, 11) and  a.end_no >= substr('123456789012', 1, 11)) and  "
        "length(a.START_NO) = length(substr('123456789012', 1, 11))))  and a.use_site in ('A','B' )"_s);
    const QString shorter = WaybillIssuedQuery(u"1234567'"_s, u"'A'"_s);
    EXPECT_TRUE(shorter.contains(u"substr('1234567''', 1, 7)"_s));
    EXPECT_FALSE(shorter.contains(u"11"_s));
}

TEST(WaybillIssued, TrueWhenARowComesBack)
{
    TFakeHost host;
    Tdm_BasicData basic;
    dm_BasicData = &basic;
    basic.comm->SetRemoteServer(&host.Connection);
    int rows = 1;
    host.Server.OnQuery = [&](const QString&) {
        return MakeTextRows({u"1"_s}, std::vector<QStringList>(size_t(rows), QStringList{u"1"_s}));
    };
    EXPECT_TRUE(WaybillIssued(u"12345678"_s, u"'A'"_s));
    rows = 0;
    EXPECT_FALSE(WaybillIssued(u"12345678"_s, u"'A'"_s));
    host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Storage, u"ORA-1"_s);
    };
    EXPECT_THROW(WaybillIssued(u"12345678"_s, u"'A'"_s), wire::Error);
    dm_BasicData = nullptr;
}

TEST(WaybillFormat, TellsOfAForeignNumberAndSwallowsAFaultyPattern)
{
    TFakeHost host;
    EXPECT_TRUE(CheckWaybillFormat(u"2112345678"_s, u"^21\\d{8}$"_s));
    EXPECT_FALSE(CheckWaybillFormat(u"99"_s, u"^21\\d{8}$"_s));
    ASSERT_EQ(host.App.ShownMessages().size(), 1U);
    EXPECT_EQ(host.App.ShownMessages()[0].text, u"详细：运单编号\"99\"不是本公司的单号！"_s);
    EXPECT_EQ(host.App.ShownMessages()[0].caption, u"单号错误"_s);
    EXPECT_FALSE(CheckWaybillFormat(u"99"_s, u"(("_s));
    EXPECT_FALSE(CheckWaybillFormat(u"99"_s, {}));
    EXPECT_EQ(host.App.ShownMessages().size(), 1U);
    ReleaseSharedRegEx();
}

#include "module/data/PerlRegEx.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(GlobalData, CopiesAreSnapshotsAndSharedListsFollowTheHost)
{
    TFakeHost host;
    Tdm_GlobalData data;
    data.DataModuleCreate();
    ASSERT_TRUE(data.Ready());
    EXPECT_EQ(data.site, &host.DataSet(u"loginSiteOwner"_s));
    EXPECT_EQ(data.site, data.loginSiteOwner);
    EXPECT_EQ(data.ds_employee->DataSet(), &host.DataSet(u"loginSiteEmployeeOwner"_s));
    EXPECT_EQ(data.ds_loginSiteEmployeeOwnerAll->DataSet(), &host.DataSet(u"loginSiteEmployeeOwnerAll"_s));
    EXPECT_EQ(data.ds_AllSite->DataSet(), &host.DataSet(u"AllSite"_s));

    host.DataSet(u"Province_N"_s).OpenRows(MakeTextRows({u"PROVINCE"_s}, {{u"西藏"_s}}));
    EXPECT_EQ(data.cds_province_new->RecordCount(), 2);
    EXPECT_EQ(data.cds_province_n1->RecordCount(), 2);
    EXPECT_NE(data.ds_province_new->DataSet(), data.ds_province_n1->DataSet());
    data.cds_province_new->Next();
    EXPECT_EQ(data.cds_province_n1->RecNo(), 1);
    EXPECT_EQ(data.cdsownerCustomer->FieldByName(u"customer_name").AsString(), u"晨光文具店"_s);
}

TEST(GlobalData, AHostThatLacksAListCanSupplyItLater)
{
    TFakeHost host;
    TObjectList complete = host.MainForm.DataSets;
    std::erase_if(
        host.MainForm.DataSets, [](QObject* item) { return item->objectName() == u"ownerCustomer"; });
    Tdm_GlobalData data;
    EXPECT_THROW(data.DataModuleCreate(), wire::Error);
    EXPECT_FALSE(data.Ready());
    host.MainForm.DataSets = complete;
    data.DataModuleCreate();
    EXPECT_TRUE(data.Ready());
}

// Worked out by hand: the weights of the first seven positions are 7 4 2 5 3 6 8.
TEST(CheckANBillCode, EightCharacters)
{
    EXPECT_TRUE(CheckANBillCode(u"00000013"_s)); // 8: 11 - 8
    EXPECT_FALSE(CheckANBillCode(u"00000014"_s));
    EXPECT_TRUE(CheckANBillCode(u"00000005"_s)); // remainder 0
    EXPECT_TRUE(CheckANBillCode(u"00001015"_s)); // 3 + 8, remainder 0
    EXPECT_FALSE(CheckANBillCode(u"00001010"_s));
    EXPECT_TRUE(CheckANBillCode(u"01000010"_s)); // 4 + 8, remainder 1
    EXPECT_FALSE(CheckANBillCode(u"01000015"_s));
    EXPECT_TRUE(CheckANBillCode(u"00100011"_s)); // 2 + 8, remainder 10
}

TEST(CheckANBillCode, TwelveCharactersUseTheThirdToTheEleventh)
{
    EXPECT_TRUE(CheckANBillCode(u"990000000012"_s)); // last of the nine weighs 9: 11 - 9 = 2
    EXPECT_FALSE(CheckANBillCode(u"990000000013"_s));
    EXPECT_TRUE(CheckANBillCode(u"AB0000000012"_s)); // the first two take no part
}

TEST(CheckANBillCode, OtherLengthsPassAndBlanksCountForDigits)
{
    EXPECT_TRUE(CheckANBillCode(u"1234567890"_s));
    EXPECT_TRUE(CheckANBillCode({}));
    EXPECT_TRUE(CheckANBillCode(u"ABCDEFGHIJKLM"_s));
    EXPECT_TRUE(CheckANBillCode(u"00000005  "_s));
    EXPECT_THROW(CheckANBillCode(u" 00000005"_s), wire::Error);
    EXPECT_THROW(CheckANBillCode(u"00000A05"_s), wire::Error);
}

TEST(BillIssued, TextOfTheQuery)
{
    EXPECT_EQ(BillIssuedQuery(u"123456789012"_s, u"'A','B'"_s),
        u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where (((a.start_no <= "
        "'123456789012' and a.end_no >= '123456789012') and  length(a.START_NO) = length('123456789012')) or "
        " "
        "((a.start_no <= substr('123456789012', 1, 11) and  a.end_no >= substr('123456789012', 1, 11)) and  "
        "length(a.START_NO) = length(substr('123456789012', 1, 11))))  and a.use_site in ('A','B' )"_s);
    const QString shorter = BillIssuedQuery(u"1234567'"_s, u"'A'"_s);
    EXPECT_TRUE(shorter.contains(u"substr('1234567''', 1, 7)"_s));
    EXPECT_FALSE(shorter.contains(u"11"_s));
}

TEST(BillIssued, TrueWhenARowComesBack)
{
    TFakeHost host;
    Tdm_BasicData basic;
    dm_BasicData = &basic;
    basic.comm->SetRemoteServer(&host.Connection);
    int rows = 1;
    host.Server.OnQuery = [&](const QString&) {
        return MakeTextRows({u"1"_s}, std::vector<QStringList>(size_t(rows), QStringList{u"1"_s}));
    };
    EXPECT_TRUE(CheckBillIssued(u"12345678"_s, u"'A'"_s));
    rows = 0;
    EXPECT_FALSE(CheckBillIssued(u"12345678"_s, u"'A'"_s));
    host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Storage, u"ORA-1"_s);
    };
    EXPECT_THROW(CheckBillIssued(u"12345678"_s, u"'A'"_s), wire::Error);
    dm_BasicData = nullptr;
}

TEST(BillFormat, TellsOfAForeignNumberAndSwallowsAFaultyPattern)
{
    TFakeHost host;
    EXPECT_TRUE(CheckBillFormat(u"2112345678"_s, u"^21\\d{8}$"_s));
    EXPECT_FALSE(CheckBillFormat(u"99"_s, u"^21\\d{8}$"_s));
    ASSERT_EQ(host.App.ShownMessages().size(), 1U);
    EXPECT_EQ(host.App.ShownMessages()[0].text, u"详细：运单编号\"99\"不是本公司的单号！"_s);
    EXPECT_EQ(host.App.ShownMessages()[0].caption, u"单号错误"_s);
    EXPECT_FALSE(CheckBillFormat(u"99"_s, u"(("_s));
    EXPECT_FALSE(CheckBillFormat(u"99"_s, {}));
    EXPECT_EQ(host.App.ShownMessages().size(), 1U);
    ReleaseSharedRegEx();
}

TEST(PerlRegEx, ErrorsNameTheCause)
{
    TPerlRegEx regEx;
    const auto messageOf = [&] {
        try {
            regEx.Compile();
        } catch (const wire::Error& error) {
            return error.Message();
        }
        return QString();
    };
    EXPECT_EQ(messageOf(), u"TPerlRegEx.Compile() - Please specify a regular expression in RegEx first"_s);
    regEx.SetRegEx(u"ab(c"_s);
    EXPECT_EQ(messageOf(), u"TPerlRegEx.Compile() - Error in regex at offset 4: missing )"_s);
    EXPECT_FALSE(regEx.Compiled());
}

TEST(PerlRegEx, MatchesCharactersAndFollowsANewPattern)
{
    TPerlRegEx regEx;
    regEx.SetRegEx(u"^.{2}单$"_s);
    regEx.SetSubject(u"运号单"_s);
    EXPECT_TRUE(regEx.Match());
    regEx.SetSubject(u"运单"_s);
    EXPECT_FALSE(regEx.Match());
    regEx.SetRegEx(u"运"_s);
    EXPECT_TRUE(regEx.Match());
    // A search that explodes is given up, not waited for.
    regEx.SetRegEx(u"^(a+)+$"_s);
    regEx.SetSubject(QString(64, u'a') + u'b');
    EXPECT_THROW(regEx.Match(), wire::Error);
    regEx.SetRegEx(u"^(a|b)*$"_s);
    regEx.SetSubject(QString(1'000'000, u'a'));
    EXPECT_THROW(regEx.Match(), wire::Error);
    regEx.SetSubject(QString(200, u'b'));
    EXPECT_TRUE(regEx.Match());
}

#include "module/data/PerlRegEx.h"
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

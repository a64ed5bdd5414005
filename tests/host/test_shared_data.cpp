#include "tests/host/HostFixture.h"

using namespace Qt::Literals::StringLiterals;

class SharedDataTest : public HostTest { };

TEST_F(SharedDataTest, BranchSeesItsOwnSubtreeAndPeople)
{
    ASSERT_TRUE(LogIn(u"hefei"_s));
    TSharedData& shared = host->SharedData();
    const QString site = shared.Value(u"site");
    EXPECT_EQ(shared.DataSet(u"loginSite").RecordCount(), 1);
    EXPECT_EQ(shared.DataSet(u"loginSite").FieldByName(u"SITE_NAME").AsString(), site);

    const TClientDataSetEx& subtree = shared.DataSet(u"loginSiteOwner");
    EXPECT_EQ(subtree.ViewText(0, subtree.FieldIndex(u"SITE_NAME")), site);
    EXPECT_GT(subtree.RecordCount(), 1);
    EXPECT_LT(subtree.RecordCount(), shared.DataSet(u"AllSite").RecordCount());
    EXPECT_GT(shared.DataSet(u"loginSiteEmployeeOwnerAll").RecordCount(),
        shared.DataSet(u"loginSiteEmployeeOwner").RecordCount());
    EXPECT_EQ(shared.DataSet(u"Province_N").RecordCount(), 31);
    for (const auto& [set, field] :
        {std::pair(u"Province_N", u"PROVINCE"), std::pair(u"City_N", u"CITY_NAME"),
            std::pair(u"County_N", u"COUNTY_NAME"), std::pair(u"County_N", u"CITY"),
            std::pair(u"City_N", u"PROVINCE"), std::pair(u"area", u"AREA_NAME")})
        EXPECT_GE(shared.DataSet(set).FieldIndex(field), 0);
}

TEST(SharedQueries, SiteNamesAreQuoted)
{
    for (const TSharedQuery& query : SharedQueries(u"O'Hara"_s))
        EXPECT_FALSE(query.text.contains(u"'O'Hara'"_s)) << qPrintable(query.text);
}

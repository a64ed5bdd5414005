#include "tests/host/HostFixture.h"

using namespace Qt::Literals::StringLiterals;

class PublishedDataTest : public HostTest { };

TEST_F(PublishedDataTest, BranchSeesItsOwnSubtreeAndPeople)
{
    ASSERT_TRUE(LogIn(u"hefei"_s));
    TPublishedData& published = host->PublishedData();
    const QString site = published.Value(u"site");
    EXPECT_EQ(published.DataSet(u"loginSite").RecordCount(), 1);
    EXPECT_EQ(published.DataSet(u"loginSite").FieldByName(u"SITE_NAME").AsString(), site);

    const TClientDataSetEx& subtree = published.DataSet(u"loginSiteOwner");
    EXPECT_EQ(subtree.ViewText(0, subtree.FieldIndex(u"SITE_NAME")), site);
    EXPECT_GT(subtree.RecordCount(), 1);
    EXPECT_LT(subtree.RecordCount(), published.DataSet(u"AllSite").RecordCount());
    EXPECT_GT(published.DataSet(u"loginSiteEmployeeOwnerAll").RecordCount(),
        published.DataSet(u"loginSiteEmployeeOwner").RecordCount());
    EXPECT_EQ(published.DataSet(u"Province_N").RecordCount(), 31);
    for (const auto& [set, field] :
        {std::pair(u"Province_N", u"PROVINCE"), std::pair(u"City_N", u"CITY_NAME"),
            std::pair(u"County_N", u"COUNTY_NAME"), std::pair(u"County_N", u"CITY"),
            std::pair(u"City_N", u"PROVINCE"), std::pair(u"area", u"AREA_NAME")})
        EXPECT_GE(published.DataSet(set).FieldIndex(field), 0);
}

TEST(PublishedQueries, SiteNamesAreQuoted)
{
    for (const TPublishedQuery& query : PublishedQueries(u"O'Hara"_s))
        EXPECT_FALSE(query.text.contains(u"'O'Hara'"_s)) << qPrintable(query.text);
}

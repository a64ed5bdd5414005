#include "framework/Lookups.h"
#include "tests/framework/ProbeScreen.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(NarrowList, LeavesTheCitiesOfTheProvince)
{
    const TProbeHost host;
    TClientDataSetEx cities;
    cities.OpenRows(MakeTextRows({u"CITY_NAME"_s, u"PROVINCE"_s},
        {{u"杭州"_s, u"浙江"_s}, {u"合肥"_s, u"安徽"_s}, {u"杭锦"_s, u"内蒙古"_s}}));
    TDataSource source;
    source.SetDataSet(&cities);
    TDBLookupComboboxEh box;
    box.SetLookup({.listSource = &source, .keyField = u"CITY_NAME"_s, .listField = u"CITY_NAME"_s});
    box.SetText(u"杭"_s);
    NarrowList(cities, u"province", u"内蒙古"_s, {&box});
    EXPECT_EQ(cities.RecordCount(), 1);
    EXPECT_EQ(box.Text(), u"杭锦"_s) << "completed from what is left";
    NarrowList(cities, u"province", {}, {&box});
    EXPECT_EQ(cities.RecordCount(), 1) << "an empty text narrows nothing";
    NarrowList(cities, u"province", u"安徽"_s, {&box});
    EXPECT_EQ(cities.RecordCount(), 1);
    EXPECT_EQ(box.Text(), u"杭锦"_s) << "what no row begins with stays as it is";
}

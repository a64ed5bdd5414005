#include "server/provider/SiteScope.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

TEST(SiteTreeTest, SitesUnderASite)
{
    const SiteTree tree({{u"本"_s, {}, {}, {}}, {u"甲"_s, u"本"_s, {}, {}}, {u"乙"_s, u"甲"_s, {}, {}},
        {u"丙"_s, u"丁"_s, {}, {}}, {u"丁"_s, u"丙"_s, {}, {}}, {u"己"_s, u"己"_s, {}, {}}});
    const auto under = [&](const QString& site) {
        QStringList names;
        for (const QString& name : tree.Under(site))
            names << name;
        names.sort();
        return names.join(u',');
    };
    EXPECT_EQ(under(u"本"_s), u"乙,本,甲"_s);
    EXPECT_EQ(under(u"乙"_s), u"乙"_s);
    EXPECT_EQ(under(u"丙"_s), u"丁,丙"_s) << "in a circle";
    EXPECT_EQ(under(u"己"_s), u"己"_s);
    EXPECT_EQ(under(u"无"_s), u"无"_s);
    EXPECT_EQ(under({}), QString());
    EXPECT_FALSE(SiteScope(tree, {}).Has({}));
    EXPECT_FALSE(SiteScope(tree, u"甲"_s).Dispatches(u""));
    EXPECT_EQ(tree.RoleAt({}), Role::Clerk);
}

} // namespace
} // namespace server

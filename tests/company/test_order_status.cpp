#include "company/OrderStatus.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace company;

TEST(OrderStatus, EveryUseHasItsOwnNames)
{
    struct Case {
        int status;
        QString site, query, dispatch, centre;
    };
    const Case cases[] = {
        {-1, u"泽摩取消"_s, u"泽摩取消"_s, u"订单取消"_s, u"订单取消"_s},
        {0, u"等待接单"_s, u"等待接单"_s, u"等待接单"_s, u"等待接单"_s},
        {6, u"派件成功"_s, u"派件成功"_s, u"已签收"_s, u"派件成功"_s},
        {10, u"已分派"_s, u"已分派"_s, u"已分派"_s, u"已分派"_s},
        {11, u"已拒收"_s, u"已拒收"_s, u"已拒收"_s, u"已拒收"_s},
        {12, u"已下发"_s, u"已下发"_s, u"已下发"_s, u"已下发"_s},
        {13, u"13"_s, u"13"_s, u"13"_s, u"13"_s},
        {8, u"8"_s, u"8"_s, u"8"_s, u"8"_s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        EXPECT_EQ(StatusName(c.status, StatusUse::SiteScreens), c.site);
        EXPECT_EQ(StatusName(c.status, StatusUse::OrderQuery), c.query);
        EXPECT_EQ(StatusName(c.status, StatusUse::Dispatch), c.dispatch);
        EXPECT_EQ(StatusName(c.status, StatusUse::Centre), c.centre);
        EXPECT_EQ(IsStatus(c.status), c.status != 8);
    }
    EXPECT_FALSE(IsStatus(99'999));
    EXPECT_TRUE(NullIsWaiting(StatusUse::SiteScreens));
    EXPECT_FALSE(NullIsWaiting(StatusUse::Dispatch));
}

#include "orders/AcceptQuery.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

TAcceptCriteria Today(const QString& site)
{
    TAcceptCriteria criteria;
    criteria.loginSite = site;
    criteria.from = u"2024-01-31 00:00:00"_s;
    criteria.to = u"2024-01-31 23:59:59"_s;
    return criteria;
}

const QString kRange =
    u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
    "to_date('2024-01-31 00:00:00','yyyy-mm-dd hh24:mi:ss') and "
    "to_date('2024-01-31 23:59:59','yyyy-mm-dd hh24:mi:ss')  "_s;

} // namespace

TEST(AcceptQuery, ABranchSeesWhatWaitsAndIsOfferedToIt)
{
    TAcceptCriteria criteria = Today(u"合肥一部"_s);
    // Headquarters' own filters say nothing for a branch.
    criteria.orderNumber = u"T1"_s;
    criteria.receivingSite = u"合肥二部"_s;
    EXPECT_EQ(AcceptQuery(criteria),
        kRange
            + u" and a.bl_dispart=1  and nvl(a.status, 0)=0 and a.PREPARE_SITE like '%;合肥一部;%'"
              " order by a.CREATE_DATE desc"_s);
    criteria.warehouse = u"W'1 "_s;
    EXPECT_EQ(AcceptQuery(criteria),
        kRange
            + u" and a.bl_dispart=1  and a.WMS_CODE= 'W''1 ' and nvl(a.status, 0)=0 and a.PREPARE_SITE like "
              "'%;合肥一部;%' order by a.CREATE_DATE desc"_s);
    criteria.warehouse = u"  "_s;
    EXPECT_FALSE(AcceptQuery(criteria).contains(u"WMS_CODE"_s));
}

TEST(AcceptQuery, HeadquartersSeesAllThatWaitOrAreAccepted)
{
    TAcceptCriteria criteria = Today(u"快运本部"_s);
    EXPECT_EQ(AcceptQuery(criteria),
        kRange
            + u" and a.bl_dispart=1  and (nvl(a.status, 0)=0 or nvl(a.status, 0)=1)"
              " order by a.CREATE_DATE desc"_s);
    criteria.orderNumber = u"T1"_s;
    criteria.receivingSite = u" 合肥二部 "_s;
    EXPECT_EQ(AcceptQuery(criteria),
        kRange
            + u" and a.bl_dispart=1  and (nvl(a.status, 0)=0 or nvl(a.status, 0)=1) and a.TX_LOGISTIC_ID='T1'"
              " and a.rec_site='合肥二部' order by a.CREATE_DATE desc"_s);
}

TEST(AcceptQuery, TheFirstLoadAsksForTheWaitingOrdersOfTheDay)
{
    EXPECT_EQ(FirstAcceptQuery(Today(u"合肥一部"_s)),
        kRange
            + u" and a.bl_dispart=1 and a.status=0 and a.PREPARE_SITE like '%;合肥一部;%'"
              " order by a.CREATE_DATE desc"_s);
}

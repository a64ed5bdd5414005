#include "orders/OrderSearch.h"

#include <gtest/gtest.h>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

QString OfSource(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return OfSourceOrOthers(u"泽摩"_s, criteria.Text(criterion.column));
}

struct Case {
    TCriterion criterion;
    QString text;
    QString fragment;
};

} // namespace

TEST(OrderSearch, EachConditionAloneAndAllInTheOrderOfTheTable)
{
    const std::array cases{
        Case{{u"REC_SITE", EqualTo}, u"浦东 "_s, u" and a.REC_SITE='浦东 '"_s},
        Case{{u"REC_MAN", EqualTo}, {}, {}},
        Case{{u"PREPARE_SITE", OfferedToSite}, u"A"_s, u" and a.PREPARE_SITE like '%;A;%'"_s},
        Case{{u"WMS_CODE", EqualToUnlessBlank}, u"  "_s, {}},
        Case{{u"BL_CANCEL", WhenChecked}, u"1"_s, u" and a.BL_CANCEL=1"_s},
        Case{{u"STATUS", WithCode}, u"-1"_s, u" and a.STATUS=-1"_s},
        Case{{u"ADDRESS", Containing}, u"O'Hara"_s, u" and a.ADDRESS like '%O'Hara%'"_s},
        Case{{u"CANCEL_SITE"}, u"A"_s, {}},
        Case{{u"SOURCE", OfSource}, u"泽摩"_s, u" and a.LOGISTICPROVIDERID like '%泽摩%'"_s},
        Case{{u"SOURCE_2", OfSource}, u"运泊通"_s, u" and a.LOGISTICPROVIDERID  <> '泽摩' "_s},
    };
    TOrderCriteria criteria{.from = u"F"_s, .to = u"T"_s, .byPickupTime = true};
    std::vector<TCriterion> table;
    QString fragments;
    for (const Case& one : cases) {
        criteria.Set(one.criterion.column, one.text);
        table.push_back(one.criterion);
        fragments += one.fragment;
        if (one.criterion.condition) {
            EXPECT_EQ(one.criterion.condition(one.criterion, criteria), one.fragment);
        }
    }
    EXPECT_EQ(OrderSearchQuery(table, criteria, u" a.*,  1 as X"_s),
        u"select /*+index(a,TAB_ZELMOR_BILL_I5)*/ a.*,  1 as X from tab_zelmor_bill a where a.REC_DATE "
        u"between "
        "to_date('F','yyyy-mm-dd hh24:mi:ss') and to_date('T','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s
            + fragments + u" order by a.REC_DATE desc"_s);
}

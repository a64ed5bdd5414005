#include "orders/search/TrailQuery.h"
#include "reports/OrderQueryCriteria.h"
#include "tests/server/conformance/Suite.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using conformance::TextOf;

namespace {

const QString kHead =
    u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/ a.* from tab_zelmor_bill a where a.CREATE_DATE "
    "between to_date('2024-01-30 12:00:00','yyyy-mm-dd hh24:mi:ss') and "
    "to_date('2024-01-31 11:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
const QString kTail = u" and a.LOGISTICPROVIDERID like '%洛维卡特%' order by a.CREATE_DATE desc"_s;

using TTexts = std::vector<std::pair<QStringView, QString>>;

QString Query(const TTexts& texts)
{
    TOrderCriteria criteria{.from = u"2024-01-30 12:00:00"_s, .to = u"2024-01-31 11:59:59"_s};
    criteria.Set(u"LOGISTICPROVIDERID", u"洛维卡特"_s);
    for (const auto& [column, text] : texts)
        criteria.Set(column, text);
    return OrderSearchQuery(OrderQueryCriteria(), criteria);
}

} // namespace

TEST(OrderQuery, EachCriterionAlone)
{
    const std::pair<TTexts, QString> cases[] = {
        {{}, {}},
        {{{u"REC_SITE", u" "_s}}, u" and a.REC_SITE=' '"_s},
        {{{u"PREPARE_SITE", u"浦东二部"_s}}, u" and a.PREPARE_SITE like '%;浦东二部;%'"_s},
        {{{u"SEND_SITE", u"杭州一部"_s}}, u" and a.SEND_SITE='杭州一部' and a.SEND_SITE='杭州一部'"_s},
        {{{u"CANCEL_SITE", u"浦东二部"_s}}, {}},
        {{{u"WMS_CODE", u" W 1 "_s}}, u" and a.WMS_CODE=' W 1 '"_s},
        {{{u"WMS_CODE", u"  "_s}}, {}},
        {{{u"Duty_Site", u"浦东三部"_s}}, u" and a.Duty_Site='浦东三部'"_s},
        {{{u"REC_BILL_MAN", u"甲"_s}}, u" and a.REC_BILL_MAN='甲'"_s},
        {{{u"REC_MAN", u"乙"_s}}, u" and a.REC_MAN='乙'"_s},
        {{{u"SEND_MAN", u"丙"_s}}, u" and a.SEND_MAN='丙'"_s},
        {{{u"CANCEL_MAN", u"丁"_s}}, u" and a.CANCEL_MAN='丁'"_s},
        {{{u"BL_CANCEL", u"1"_s}}, u" and a.BL_CANCEL=1"_s},
        {{{u"prov", u"上海"_s}}, u" and a.prov='上海'"_s},
        {{{u"CANCEL_DESC", u"禁运品"_s}}, u" and a.CANCEL_DESC='禁运品'"_s},
        {{{u"STATUS", u"-1"_s}}, u" and a.STATUS=-1"_s},
        {{{u"NAME", u"O'Hara "_s}}, u" and a.NAME='O'Hara '"_s},
        {{{u"ADDRESS", u"南京路"_s}}, u" and a.ADDRESS like '%南京路%'"_s},
        {{{u"SEND_NAME", u"戊"_s}}, u" and a.SEND_NAME='戊'"_s},
        {{{u"SEND_ADDRESS", u"解放路"_s}}, u" and a.SEND_ADDRESS like '%解放路%'"_s},
        // The site's whole subtree, and its area; nothing without a site, or for a site without subtree.
        {{{kWithSubtree, u"1"_s}, {kSubtreePatterns, SubtreePatterns({u"A"_s})}}, {}},
        {{{kWithSubtree, u"1"_s}, {u"PREPARE_SITE", u"A"_s}, {kSubtreePatterns, SubtreePatterns({})}}, {}},
        {{{kWithSubtree, u"1"_s}, {u"PREPARE_SITE", u"A"_s}, {kSubtreePatterns, SubtreePatterns({u"A"_s})},
             {kAreaName, u"华东'区"_s}},
            u" and ((a.PREPARE_SITE like '%;A;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like A;%') "
            "or a.prov in (select distinct b.province from tab_province b where b.area_name = "
            "'华东''区'))"_s},
    };
    for (const auto& [texts, fragment] : cases)
        EXPECT_EQ(Query(texts), kHead + fragment + kTail);
    for (const QString& source : {u"泽摩"_s, u"运泊通"_s, u""_s, u" 洛维卡特"_s}) {
        EXPECT_EQ(Query({{u"LOGISTICPROVIDERID", source}}),
            kHead + u" and a.LOGISTICPROVIDERID  <> '洛维卡特'  order by a.CREATE_DATE desc"_s);
    }
}

TEST(OrderQuery, TheSubtreeOfASite)
{
    EXPECT_EQ(SubtreeQuery(u"上海中心"_s),
        u"select /*+index(a,TAB_SITE_I3)*/ a.SITE_NAME   from tab_site a start with SITE_NAME='上海中心' "
        "connect by  prior SITE_NAME=(case SITE_NAME when '上海中心' then '' else SUPERIOR_SITE end) "_s);
    EXPECT_EQ(SubtreePatterns({u"A"_s, u"B"_s}),
        u"'%;A;%' or a.PREPARE_SITE like '%;B;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like B;%'"_s);
}

TEST(OrderQuery, NumbersAskNothingElse)
{
    EXPECT_EQ(
        OrdersByNumber(u"('L003','L001','','L008')"_s, u"CREATE_DATE"_s), TextOf(u"by order numbers"_s));
    EXPECT_EQ(OrdersByWaybill(u"('20000252')"_s, u"CREATE_DATE"_s), TextOf(u"by waybill numbers"_s));
    EXPECT_TRUE(OrdersByWaybill(u"('b')"_s, u"REC_DATE"_s).endsWith(u" order by a.REC_DATE desc"_s));
}

TEST(TrailQuery, TheSourceChoosesTheWords)
{
    EXPECT_EQ(TrailQuery(u"运泊通"_s, u"L005"_s, u"20000263"_s),
        TextOf(u"trail of a warehouse platform's order, oldest first"_s));
    EXPECT_TRUE(TrailQuery(u"运泊通"_s, u"T'1"_s, {}).contains(u"= 'T''1' and a.bill_code = '' order"_s));
    for (const QString& marketplace : {u"泽摩"_s, u"洛维卡特"_s})
        EXPECT_EQ(TrailQuery(marketplace, u"L003"_s, u"300000000125"_s),
            TextOf(u"trail of a marketplace order, an unknown code as it is"_s));
    EXPECT_EQ(TrailQuery(u"芮讯下单"_s, u"T1"_s, u"B1"_s), QString());
}

#include "reports/BillQuery.h"
#include "reports/TrailQuery.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

TBillCriteria Window()
{
    return {
        .from = u"2024-01-30 12:00:00"_s,
        .to = u"2024-01-31 11:59:59"_s,
        .source = u"洛维卡特"_s,
    };
}

const QString kHead =
    u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/ a.* from tab_zelmor_bill a where a.CREATE_DATE "
    "between to_date('2024-01-30 12:00:00','yyyy-mm-dd hh24:mi:ss') and "
    "to_date('2024-01-31 11:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
const QString kTail = u" and a.LOGISTICPROVIDERID like '%洛维卡特%' order by a.CREATE_DATE desc"_s;

struct Criterion {
    QString fragment;
    std::function<void(TBillCriteria& criteria)> ask;
};

// In the order in which their fragments stand.
std::vector<Criterion> EveryCriterion()
{
    return {
        {u" and a.REC_SITE='浦东一部'"_s, [](auto& c) { c.receivingSite = u"浦东一部"_s; }},
        {u" and a.PREPARE_SITE like '%;浦东二部;%'"_s, [](auto& c) { c.candidateSite = u"浦东二部"_s; }},
        {u" and a.SEND_SITE='杭州一部' and a.SEND_SITE='杭州一部'"_s,
            [](auto& c) { c.deliverySite = u"杭州一部"_s; }},
        {u" and a.WMS_CODE=' W 1 '"_s, [](auto& c) { c.warehouse = u" W 1 "_s; }},
        {u" and a.Duty_Site='浦东三部'"_s, [](auto& c) { c.dutySite = u"浦东三部"_s; }},
        {u" and a.REC_BILL_MAN='甲'"_s, [](auto& c) { c.acceptedBy = u"甲"_s; }},
        {u" and a.REC_MAN='乙'"_s, [](auto& c) { c.pickedUpBy = u"乙"_s; }},
        {u" and a.SEND_MAN='丙'"_s, [](auto& c) { c.deliveredBy = u"丙"_s; }},
        {u" and a.CANCEL_MAN='丁'"_s, [](auto& c) { c.cancelledBy = u"丁"_s; }},
        {u" and a.BL_CANCEL=1"_s, [](auto& c) { c.cancelled = true; }},
        {u" and a.prov='上海'"_s, [](auto& c) { c.province = u"上海"_s; }},
        {u" and a.CANCEL_DESC='禁运品'"_s, [](auto& c) { c.cancelReason = u"禁运品"_s; }},
        {u" and a.STATUS=-1"_s, [](auto& c) { c.status = u"-1"_s; }},
        {u" and a.NAME='O'Hara '"_s, [](auto& c) { c.sender = u"O'Hara "_s; }},
        {u" and a.ADDRESS like '%南京路%'"_s, [](auto& c) { c.senderAddress = u"南京路"_s; }},
        {u" and a.SEND_NAME='戊'"_s, [](auto& c) { c.receiver = u"戊"_s; }},
        {u" and a.SEND_ADDRESS like '%解放路%'"_s, [](auto& c) { c.receiverAddress = u"解放路"_s; }},
    };
}

} // namespace

TEST(BillQuery, EachCriterionAloneAndAllTogetherInTheirOrder)
{
    EXPECT_EQ(BillQuery(Window()), kHead + kTail);
    TBillCriteria all = Window();
    QString fragments;
    for (const Criterion& criterion : EveryCriterion()) {
        TBillCriteria alone = Window();
        criterion.ask(alone);
        EXPECT_EQ(BillQuery(alone), kHead + criterion.fragment + kTail);
        criterion.ask(all);
        fragments += criterion.fragment;
    }
    EXPECT_EQ(BillQuery(all), kHead + fragments + kTail);
}

TEST(BillQuery, ByPickupTimeBothTheColumnAndTheIndexChange)
{
    TBillCriteria criteria = Window();
    criteria.byPickupTime = true;
    EXPECT_EQ(BillQuery(criteria),
        u"select /*+index(a,TAB_ZELMOR_BILL_I5)*/ a.* from tab_zelmor_bill a where a.REC_DATE between "
        "to_date('2024-01-30 12:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-01-31 "
        "11:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1 and a.LOGISTICPROVIDERID like "
        "'%洛维卡特%' order by a.REC_DATE desc"_s);
}

TEST(BillQuery, AnySourceButTheFirstMeansNotTheFirst)
{
    for (const QString& source : {u"泽摩"_s, u"运泊通"_s, u""_s, u" 洛维卡特"_s}) {
        TBillCriteria criteria = Window();
        criteria.source = source;
        EXPECT_EQ(BillQuery(criteria),
            kHead + u" and a.LOGISTICPROVIDERID  <> '洛维卡特'  order by a.CREATE_DATE desc"_s);
    }
}

TEST(BillQuery, BlanksAloneAreAWarehouseNobodyAsksForButASiteThatNobodyHas)
{
    TBillCriteria criteria = Window();
    criteria.warehouse = u"  "_s;
    EXPECT_EQ(BillQuery(criteria), kHead + kTail);
    criteria.receivingSite = u" "_s;
    EXPECT_EQ(BillQuery(criteria), kHead + u" and a.REC_SITE=' '"_s + kTail);
}

TEST(BillQuery, ASubtreeWidensTheCandidateSite)
{
    EXPECT_EQ(SubtreeQuery(u"上海中心"_s),
        u"select /*+index(a,TAB_SITE_I3)*/ a.SITE_NAME   from tab_site a start with SITE_NAME='上海中心' "
        "connect by  prior SITE_NAME=(case SITE_NAME when '上海中心' then '' else SUPERIOR_SITE end) "_s);
    EXPECT_EQ(SubtreeLikeList({u"A"_s, u"B"_s}),
        u"'%;A;%' or a.PREPARE_SITE like '%;B;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like B;%'"_s);
    EXPECT_EQ(SubtreeLikeList({u"A"_s}), u"'%;A;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like A;%'"_s);

    TBillCriteria criteria = Window();
    criteria.withSubtree = true;
    criteria.areaName = u"华东'区"_s;
    criteria.subtree = SubtreeLikeList({u"A"_s});
    EXPECT_EQ(BillQuery(criteria), kHead + kTail) << "no candidate site, no subtree";
    criteria.candidateSite = u"A"_s;
    EXPECT_EQ(BillQuery(criteria),
        kHead
            + u" and ((a.PREPARE_SITE like '%;A;%' or a.PREPARE_SITE like '%; or a.PREPARE_SITE like A;%') "
              "or a.prov in (select distinct b.province from tab_province b where b.area_name = "
              "'华东''区'))"_s
            + kTail);
    criteria.subtree = SubtreeLikeList({});
    EXPECT_EQ(BillQuery(criteria), kHead + kTail) << "an unknown site has no subtree";
}

TEST(BillQuery, NumbersAskNothingElse)
{
    EXPECT_EQ(BillsByOrderNumber(u"('b','a')"_s),
        u"select /*+index(a,TAB_ZELMOR_BILL_P)*/a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in "
        "('b','a') and a.bl_dispart=1 order by a.CREATE_DATE desc"_s);
    EXPECT_EQ(BillsByWaybill(u"('b','a')"_s),
        u"select /*+index(a,TAB_ZELMOR_BILL_I)*/a.* from tab_zelmor_bill a where a.BILL_CODE in ('b','a') "
        "and a.bl_dispart=1 order by a.CREATE_DATE desc"_s);
}

TEST(TrailQuery, TheSourceChoosesTheWords)
{
    EXPECT_EQ(TrailQuery(u"运泊通"_s, u"T'1"_s, u"B1"_s),
        u"select /*+index(a,TAB_ZELMOR_INSTRUCTION_I2)*/  (case  when a.info_content = 'TMS_ACCEPT' then  "
        "'已揽收'  when a.info_content = 'TMS_DELIVERING' then  '派送中'  when a.info_content = 'TMS_PAY' "
        "then  '支付成功'  when a.info_content = 'TMS_SIGN' then  '签收成功'  when a.info_content = "
        "'TMS_FAILED' then  '拒签'  when a.info_content = 'TMS_ERROR' then  '异常'  when a.info_content = "
        "'TMS_STATION_IN' then  '到件'  when a.info_content = 'TMS_STATION_OUT' then  '发件'  else "
        "a.info_content end) as infos,a.create_date,a.POST_FLAG,a.post_time from TAB_ZELMOR_INSTRUCTION a  "
        "where a.tx_logistic_id = 'T''1' and a.bill_code = 'B1' order by a.create_date "_s);
    const QString marketplace =
        u"select /*+index(a,TAB_ZELMOR_INSTRUCTION_I2)*/  (case  when a.info_content = 'ACCEPT' then  "
        "'接单成功'  when a.info_content = 'UNACCEPT' then  '接单失败'  when a.info_content = 'GOT' then  "
        "'揽收成功'  when a.info_content = 'NOT_SEND' then  '揽收失败'  when a.info_content = 'SIGNED' then  "
        "'签收成功（派件成功）'  when a.info_content = 'FAILED' then  '签收失败'  else a.info_content end) "
        "as infos,a.create_date,a.POST_FLAG,a.post_time from TAB_ZELMOR_INSTRUCTION a  where "
        "a.tx_logistic_id = 'T1' and a.bill_code = '' order by a.create_date "_s;
    EXPECT_EQ(TrailQuery(u"泽摩"_s, u"T1"_s, {}), marketplace);
    EXPECT_EQ(TrailQuery(u"洛维卡特"_s, u"T1"_s, {}), marketplace);
    EXPECT_EQ(TrailQuery(u"芮讯下单"_s, u"T1"_s, u"B1"_s), QString());
}

#include "dispatch/Couriers.h"
#include "dispatch/DispatchQuery.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char16_t* kFrom = u"2024-01-01 00:00:00";
constexpr const char16_t* kTo = u"2024-01-31 23:59:59";

TDispatchCriteria InJanuary(TDispatchCriteria criteria = {})
{
    criteria.from = QString::fromUtf16(kFrom);
    criteria.to = QString::fromUtf16(kTo);
    return criteria;
}

} // namespace

TEST(DispatchQuery, AsksWhatTheFilterSays)
{
    const QString head =
        u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
        "to_date('2024-01-01 00:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-01-31 "
        "23:59:59','yyyy-mm-dd hh24:mi:ss') "_s;
    const QString tail = u" order by create_date"_s;
    TClientDataSetEx sites;
    sites.OpenRows(MakeTextRows({u"SITE_CODE"_s, u"SITE_NAME"_s}, {{u"1"_s, u"甲"_s}, {u"2"_s, u"乙"_s}}));
    const QString made = MadeAtOrOfferedTo(sites, u"甲"_s);
    const QString offered = OfferedToOneOf(sites);

    struct Case {
        TDispatchCriteria criteria;
        QString sql;
    };
    std::vector<Case> cases = {
        {InJanuary(), head + tail},
        {InJanuary({.courier = u"o'李"_s, .payment = u"现付"_s, .createrSite = u"甲"_s, .driver = u"王"_s}),
            head
                + u" and rec_goods_man='o''李' and PAY_TYPE='现付' and creater_site='甲' and "
                  "REC_BILL_MAN='王'"_s
                + tail},
        {InJanuary({.entrusted = TEntrusted::Yes}), head + u" and nvl(a.bl_depute, 0) = 1"_s + tail},
        {InJanuary({.entrusted = TEntrusted::No}), head + u" and nvl(a.bl_depute, 0) = 0"_s + tail},
        {InJanuary({.withoutSite = true}), head + u" and nvl(a.REC_SITE, '*') = '*'"_s + tail},
        {InJanuary({.driver = u"王"_s,
             .statusItem = 2,
             .entrusted = TEntrusted::No,
             .withoutSite = true,
             .withoutDriver = true,
             .sites = made}),
            head
                + u" and REC_BILL_MAN='王' and nvl(a.status, -2)=0 and nvl(a.bl_depute, 0) = 0 and "
                  "nvl(a.REC_SITE, '*') = '*' and nvl(a.REC_BILL_MAN, '*') = '*' and (((CREATER_SITE in "
                  "('甲','乙'))) or (substr(a.PREPARE_SITE, 2, length(a.PREPARE_SITE) -2)='甲'))"_s
                + tail},
        {InJanuary({.sites = offered}),
            head + u" and ((substr(prepare_site,2,length(prepare_site)-2) in ('甲','乙')))"_s + tail},
        // Of pasted numbers nothing else is asked but the sites.
        {InJanuary({.numbers = u"('D1','D2')"_s, .courier = u"李"_s, .statusItem = 3, .withoutSite = true}),
            u"select * from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('D1','D2')"_s + tail},
        {{.numbers = u"('D1')"_s, .sites = offered},
            u"select * from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('D1') and "
            "((substr(prepare_site,2,length(prepare_site)-2) in ('甲','乙')))"_s
                + tail},
    };
    const int statuses[] = {-1, 0, 1, 2, 3, 4, 10, 11, 12, 13};
    for (int item = 1; item <= 10; ++item)
        cases.push_back({InJanuary({.statusItem = item}),
            head + u" and nvl(a.status, -2)=%1"_s.arg(statuses[item - 1]) + tail});
    for (const Case& each : cases)
        EXPECT_EQ(DispatchQuery(each.criteria), each.sql);

    sites.Close();
    std::vector<QStringList> many(1000, {u"丙"_s});
    sites.OpenRows(MakeTextRows({u"SITE_NAME"_s}, many));
    EXPECT_EQ(
        OfferedToOneOf(sites).count(u"))or(substr(prepare_site,2,length(prepare_site)-2) in ('丙'))"_s), 1)
        << "at most 999 in a list";
}

TEST(DispatchQuery, AsksForSitesAndCouriersBelowTheRoot)
{
    TFakeHost host;
    host.SetValue(u"FinanceCenter"_s, u"上海财务中心"_s);
    EXPECT_EQ(DispatchRoot(), u"浦东一部"_s);
    TClientDataSetEx& login = host.DataSet(u"loginSite"_s);
    login.SetFieldAndPost(u"TYPE", wire::TextValue(u"中心"_s));
    EXPECT_EQ(DispatchRoot(), u"上海财务中心"_s);

    const QString below = u" start with SITE_NAME='甲' connect by prior  SITE_NAME=(case SITE_NAME when '甲' "
                          "then '' else SUPERIOR_SITE end)"_s;
    EXPECT_EQ(SitesBelowQuery(u"甲"_s),
        u"select /*+index(a,TAB_SITE_I3)*/ site_code,SITE_NAME,SUPERIOR_SITE from tab_site a "_s + below);
    EXPECT_EQ(CouriersQuery(u"甲"_s),
        u" select * from (select employee_name,employee_code,owner_site from tab_employee a  where "
        "a.owner_site in (select /*+index(a,TAB_SITE_I3)*/ SITE_NAME from tab_site a "_s
            + below
            + u") union all  select employee_name,employee_code,owner_site from tab_employee a where "
              "a.BL_GOODS_MARKET=1) a "_s);
    EXPECT_EQ(PaymentsAskedQuery(), u"select /*+index(a,)*/ a.* from TAB_PAY_MODE a  order by MODE_CODE"_s);
}

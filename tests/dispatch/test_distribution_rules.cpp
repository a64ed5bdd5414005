#include "dispatch/DistributionQuery.h"
#include "dispatch/DistributionRules.h"
#include "tests/orders/OrderDesk.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const TClerk kClerk{u"上海中心"_s, u"李雷"_s};

} // namespace

TEST(DistributionQuery, FiltersByWhatWasTyped)
{
    const QString from = u"2024-01-31 00:00:00"_s;
    const QString to = u"2024-01-31 23:59:59"_s;
    const QString head =
        u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
        "to_date('2024-01-31 00:00:00','yyyy-mm-dd hh24:mi:ss') and to_date('2024-01-31 "
        "23:59:59','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1 and a.status=0 and a.prepare_site is null"_s;
    const struct {
        TDistributionCriteria criteria;
        QString conditions;
    } cases[] = {
        {{from, to, {}, {}, {}}, {}},
        {{from, to, u"天河区"_s, {}, {}}, u" and COUNTY='天河区'"_s},
        {{from, to, {}, u" "_s, u"o'市"_s}, u" and PROV=' ' and CITY='o'市'"_s},
        {{from, to, u"天河区"_s, u"广东省"_s, u"广州市"_s},
            u" and COUNTY='天河区' and PROV='广东省' and CITY='广州市'"_s},
    };
    for (const auto& each : cases)
        EXPECT_EQ(
            DistributionQuery(each.criteria), head + each.conditions + u" order by a.create_date desc"_s);
}

// Each order is refused or passes; then what a field holds.
TEST(DistributionRules, ARefusalIsStampedItsUndoingClearsTheStampAndEveryPostNamesTheClerk)
{
    const OrderDesk desk;
    const QString missing = u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s;
    const QString cancelled =
        u"CANCEL_DESC=禁运品, BL_CANCEL=1, CANCEL_SITE=别处, CANCEL_MAN=别人, CANCEL_DATE=2024-01-01, "_s;
    const struct {
        QString order, violation, fields, after;
    } cases[] = {
        {u"STATUS=2"_s, missing, u"MODIFIER BL_CANCEL"_s, u"|"_s},
        {u"STATUS=2, CANCEL_DESC=禁运品, BL_CANCEL=0"_s, {}, u"BL_CANCEL CANCEL_SITE CANCEL_MAN"_s,
            u"1|上海中心|李雷"_s},
        {cancelled + u"STATUS=2"_s, {}, u"CANCEL_SITE CANCEL_DATE"_s, u"别处|2024-01-01 00:00:00"_s},
        {cancelled + u"STATUS=0"_s, {}, u"BL_CANCEL CANCEL_DESC CANCEL_SITE CANCEL_MAN CANCEL_DATE"_s,
            u"0||||"_s},
        // The site is the one that the screen took, not what the host says by now (浦东一部).
        {u"STATUS=0"_s, {}, u"MODIFIER MODIFY_CODE MODIFY_SITE"_s, u"李雷|E001|上海中心"_s},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        TClientDataSetEx cds;
        cds.OpenRows(OrderRows({Order(cases[i].order)}));
        cds.Edit();
        QString violation;
        try {
            CheckDistribution(cds, kClerk);
        } catch (const TRuleViolation& told) {
            violation = told.message;
        }
        EXPECT_EQ(violation, cases[i].violation) << i;
        EXPECT_EQ(FieldsOf(cds, cases[i].fields), cases[i].after) << i;
    }
}

TEST(DistributionRules, AListOfSitesHasAtMost200Characters)
{
    EXPECT_EQ(ChosenSitesMessage(200), QString());
    EXPECT_EQ(
        ChosenSitesMessage(201), u"详细：您选择的网点列表长度为\"201\"，超过\"200\"个字符的最大长度！"_s);
}

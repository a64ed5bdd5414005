#include "framework/RowFields.h"
#include "framework/RowRules.h"
#include "orders/CorrectionQuery.h"
#include "orders/CorrectionRules.h"
#include "orders/waybill/NumberRules.h"
#include "tests/orders/PickupDesk.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kNumber = u"168000000025"_s;

class CorrectionRules : public ::testing::Test {
protected:
    CorrectionRules()
    {
        desk.host.SetValue(u"MainBill"_s, u"^([0-9]{8}|[0-9]{12}|[0-9]{14})$"_s);
        desk.host.SetValue(u"SITE"_s, u"浦东一部"_s);
    }
    // An order of another of the sites below, picked up, with the number typed over its own.
    TRuleViolation Violation(const QString& typed)
    {
        cds.Close();
        cds.OpenRows(
            OrderRows({Order(u"TX_LOGISTIC_ID=T1, STATUS=3, BILL_CODE=168000000017, REC_SITE=浦东'二部"_s),
                Order(u"TX_LOGISTIC_ID=T2, BILL_CODE=168000000033"_s)}));
        TEnteredNumbers numbers;
        numbers.Refill(cds);
        cds.Edit();
        cds.FieldByName(u"BILL_CODE").SetAsString(typed);
        desk.host.Server.Requests.clear();
        try {
            CheckCorrection(cds, numbers);
        } catch (const TRuleViolation& violation) {
            EXPECT_TRUE(TextOf(cds, u"MODIFIER").isEmpty()) << "stamped before it was checked";
            return violation;
        }
        return {};
    }

    PickupDesk desk;
    TClientDataSetEx cds;
};

} // namespace

TEST_F(CorrectionRules, TheRulesSpeakInTheirOrder)
{
    const QString wrongRule = u"详细：单号规则错误！"_s;
    const QString used = u"详细：该运单号已使用，请使用新的运单号！"_s;
    const QString disabled = u"详细：该单号已经禁用，请使用其他单号！"_s;
    const QString known = u"此单号在洛维卡特揽件中已经存在，请修改为其他运单号！"_s;
    const QString notIssued = u"详细：新的运单编号没有发放，修改失败！"_s;
    const QString suffixed = u"26812345678901"_s;
    const QString base = u"268123456789"_s;
    struct Case {
        QString typed;
        QStringList used; // on the server
        QStringList disabled;
        bool issued;
        QString message;
    };
    // Each speaks although all that come after it would, and is silent once it alone is put right.
    const std::vector<Case> cases = {
        {u"16800000002"_s, {u"16800000002"_s}, {u"16800000002"_s}, false, wrongRule},
        {kNumber, {kNumber}, {kNumber}, false, used},
        {u"168000000033"_s, {}, {}, true, used}, // another order of the list has it
        {u"168000000017"_s, {u"168000000017"_s}, {}, true, used}, // the row's own, typed again
        {kNumber, {}, {kNumber}, false, disabled},
        {suffixed, {base}, {base}, false, disabled},
        {suffixed, {base}, {suffixed}, false, known},
        {suffixed, {suffixed}, {}, true, used},
        {kNumber, {}, {}, false, notIssued},
        {u"   "_s, {}, {}, false, notIssued},
        {kNumber, {}, {}, true, {}},
        {u" "_s + kNumber + u" "_s, {}, {}, true, {}},
        {suffixed, {}, {suffixed}, true, {}},
    };
    for (const Case& tried : cases) {
        SCOPED_TRACE(tried.typed.toStdString() + " " + tried.message.toStdString());
        desk.usedNumbers = tried.used;
        desk.disabledNumbers = tried.disabled;
        desk.issued = tried.issued;
        const TRuleViolation violation = Violation(tried.typed);
        EXPECT_EQ(violation.message, tried.message);
        EXPECT_EQ(violation.field, tried.message.isEmpty() ? QString() : u"BILL_CODE"_s);
        EXPECT_EQ(TextOf(cds, u"BILL_CODE"), tried.typed) << "as typed";
        if (tried.message.isEmpty()) {
            EXPECT_EQ(TextOf(cds, u"MODIFY_SITE"), u"浦东一部"_s);
        }
    }
}

TEST_F(CorrectionRules, ANumberOfFourteenIsCheckedByItsTwelve)
{
    const std::vector<std::pair<QString, QString>> numbers = {{u"16812345678901"_s, u"168123456789"_s},
        {u"16912345678901"_s, u"169123456789"_s}, {u"36812345678901"_s, u"368123456789"_s},
        {u"26712345678901"_s, u"26712345678901"_s}, {u"1681234567890"_s, u"1681234567890"_s},
        {u"1681234567890A"_s, u"1681234567890A"_s}};
    for (const auto& [typed, meant] : numbers)
        EXPECT_EQ(CorrectionNumber(typed), meant);

    ASSERT_EQ(Violation(u"26812345678901"_s).message, QString());
    EXPECT_EQ(desk.host.Server.Queries(),
        QStringList({u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ a.* from TAB_ZELMOR_BILL a where "
                     "a.bill_code='26812345678901'"_s,
            u"select /*+index(a,TAB_BILL_DEL)*/ * from tab_bill_del a where a.bill_code='268123456789'"_s,
            u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ a.* from TAB_ZELMOR_BILL a where "
            "a.bill_code='268123456789'"_s,
            u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where  a.start_no <= "
            "'26812345678' and a.end_no >= '26812345678' and length(a.START_NO) = length('268123456789') -1 "
            "and a.use_site in ('浦东''二部' )"_s}));
}

TEST(CorrectionQuery, AsksForPickupsByTimeOrByNumber)
{
    const QString time =
        u"select /*+index(a,TAB_ZELMOR_BILL_I1)*/ * from tab_zelmor_bill a where nvl(a.status, 0)=3 "
        " and a.REC_DATE between to_date('2024-01-01 00:00:00', 'yyyy-mm-dd hh24:mi:ss')"
        " and to_date('2024-01-31 23:59:59', 'yyyy-mm-dd hh24:mi:ss')"_s;
    const QString byNumber =
        u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ * from tab_zelmor_bill a where nvl(a.status, 0)=3 "
        " and a.bill_code in('1','2')"_s;
    TCorrectionCriteria criteria{
        .from = u"2024-01-01 00:00:00"_s, .to = u"2024-01-31 23:59:59"_s, .site = u" "_s};
    EXPECT_EQ(CorrectionQuery(criteria), time);
    criteria.site = u" O'B "_s;
    EXPECT_EQ(CorrectionQuery(criteria), time + u" and a.REC_SITE='O''B'"_s);
    criteria.ownSites = u"((A.REC_SITE in ('A')))"_s;
    EXPECT_EQ(CorrectionQuery(criteria), time + u" and a.REC_SITE='O''B' and ((A.REC_SITE in ('A')))"_s);
    criteria.numbers = u"('1','2')"_s;
    EXPECT_EQ(CorrectionQuery(criteria), byNumber + u" and ((A.REC_SITE in ('A')))"_s);
}

#include "orders/PickupQuery.h"
#include "orders/PickupRules.h"
#include "tests/orders/PickupDesk.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const TClerk kClerk{u"浦东一部"_s, u"李雷"_s};
const QString kNumber = u"168000000017"_s;
const QString kCoupon = u"ZM110000045"_s; // the seven digits 1000004 have the check digit 5
const wire::DateTime kNow = wire::DateTime::FromParts(2024, 1, 31, 10, 59); // and this machine's seconds

class PickupRules : public ::testing::Test {
protected:
    PickupRules()
    {
        desk.coupons[kCoupon] = {kNow.AddDays(-1), kNow.AddDays(1), 0, u"10元"_s};
        destinations.OpenRows(MakeTextRows({u"SITE_NAME"_s}, {{u"浦东二部"_s}}));
    }

    // An accepted order in edit, the clerk's entries in it.
    void Edit(const OrderFields& entries)
    {
        cds.Close();
        cds.OpenRows(OrderRows({Order(u"TX_LOGISTIC_ID=T1, STATUS=1, BL_CANCEL=0"_s)}));
        cds.Edit();
        for (const auto& [field, value] : entries)
            cds.FieldByName(field).SetValue(value);
    }
    static OrderFields PickedUp() { return {{u"BILL_CODE"_s, kNumber}, {u"STATUS"_s, 3}}; }
    static OrderFields WithCoupon()
    {
        OrderFields entries = PickedUp();
        entries[u"FAVOURABLE_BILL"_s] = kCoupon;
        entries[u"TOTAL_WEIGHT"_s] = 30.0;
        return entries;
    }

    // Message and column of the rule that refuses the row; empty where it may be posted.
    TRuleViolation Violation()
    {
        try {
            CheckPickup(cds, destinations, entered, numberBefore, kClerk);
        } catch (const TRuleViolation& violation) {
            return violation;
        }
        return {};
    }
    QString Fields(const QString& names) { return FieldsOf(cds, names); }

    PickupDesk desk;
    TClientDataSetEx cds;
    TClientDataSetEx destinations;
    TEnteredNumbers entered;
    QString numberBefore; // when the edit began
};

} // namespace

TEST_F(PickupRules, EveryRuleRefusesItsRowAloneAndLetsItsNeighbourPass)
{
    struct Case {
        OrderFields refused; // what differs from the row that passes
        std::function<void()> world; // what differs on the server or at the host
        QString message;
        QString field;
        bool coupon = false; // the row that passes has a coupon
    };
    const QString bill = u"BILL_CODE"_s;
    const QString coupon = u"FAVOURABLE_BILL"_s;
    const auto change = [this](const std::function<void(PickupDesk::Coupon&)>& how) {
        return [this, how] { how(desk.coupons[kCoupon]); };
    };
    const std::vector<Case> cases = {
        {{{bill, {}}}, {}, u"详细：网点揽件一定要输入运单号！"_s, bill},
        {{{bill, u"  "_s}}, {}, u"详细：网点揽件一定要输入运单号！"_s, bill},
        {{{bill, {}}, {u"STATUS"_s, 4}, {u"CANCEL_DESC"_s, u"禁运品"_s}}, {},
            u"详细：网点揽件一定要输入运单号！"_s, bill},
        {{{bill, u"16800000001"_s}}, {}, u"详细：单号规则错误！"_s, bill},
        {{{u"PAY_TYPE"_s, u"1"_s}}, {}, u"详细：优惠券不能用于到付的支付方式！"_s, coupon, true},
        {{{coupon, kCoupon.chopped(1)}}, {}, u"详细：校验码错误，请核实!"_s, coupon, true},
        {{{coupon, kCoupon + u"0"_s}}, {}, u"详细：校验码错误，请核实!"_s, coupon, true},
        {{{coupon, u"ZM110000044"_s}}, {}, u"详细：校验码错误，请核实!"_s, coupon, true},
        {{{coupon, u"ZM11000A045"_s}}, {}, u"详细：'A' 不是有效的整数"_s, coupon, true},
        {{{coupon, u"ZM11000004X"_s}}, {}, u"详细：'X' 不是有效的整数"_s, coupon, true},
        {{{coupon, u"ZM210000045"_s}}, {}, u"详细：不存在此优惠券，请核实!"_s, coupon, true},
        {{}, change([](auto& row) { row.from = kNow.AddDays(1); }), u"详细：此优惠券已过期，不能使用!"_s,
            coupon, true},
        {{}, change([](auto& row) { row.until = kNow.AddDays(-0.1); }), u"详细：此优惠券已过期，不能使用!"_s,
            coupon, true},
        {{}, change([](auto& row) { row.used = 1; }), u"详细：此优惠券已使用，不能使用!"_s, coupon, true},
        {{{u"TOTAL_WEIGHT"_s, 29.9}}, {}, u"详细：此票不能使用优惠券!"_s, coupon, true},
        {{}, [this] { entered.Enter(u"T2"_s, kNumber); }, u"详细：该运单号已使用，请使用新的运单号！"_s,
            bill},
        {{}, [this] { desk.usedNumbers = {kNumber}; }, u"详细：该运单号已使用，请使用新的运单号！"_s, bill},
        {{}, [this] { desk.disabledNumbers = {kNumber}; }, u"详细：该单号已经禁用，请使用其他单号！"_s, bill},
        {{}, [this] { desk.issued = false; }, u"详细：此面单没有发放，不能进行收件扫描！"_s, bill},
        {{{u"STATUS"_s, 1}}, {}, u"详细：请修改订单状态！"_s, u"STATUS"_s},
        {{{u"STATUS"_s, 4}, {u"CANCEL_DESC"_s, u"禁运品"_s}}, {}, u"详细：请修改订单状态！"_s, u"STATUS"_s},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const Case& tried = cases[i];
        const OrderFields passing = tried.coupon ? WithCoupon() : PickedUp();
        entered = {};
        Edit(passing);
        EXPECT_EQ(Violation().message, QString()) << "the neighbour";

        const auto couponsBefore = desk.coupons;
        OrderFields refused = passing;
        for (const auto& [field, value] : tried.refused)
            refused[field] = value;
        entered = {};
        if (tried.world)
            tried.world();
        Edit(refused);
        const TRuleViolation violation = Violation();
        EXPECT_EQ(violation.message, tried.message);
        EXPECT_EQ(violation.field, tried.field);
        EXPECT_EQ(cds.State(), TDataSetState::Edit);
        EXPECT_TRUE(Fields(u"REC_MAN"_s).isEmpty()) << "stamped before it was checked";

        desk.coupons = couponsBefore;
        desk.usedNumbers.clear();
        desk.disabledNumbers.clear();
        desk.issued = true;
    }
}

// A row that breaks every rule: put right one by one, the rules speak in their order.
TEST_F(PickupRules, TheRulesSpeakInTheirOrder)
{
    desk.usedNumbers = {kNumber};
    desk.disabledNumbers = {kNumber};
    desk.issued = false;
    desk.coupons[kCoupon] = {kNow.AddDays(-9), kNow.AddDays(-8), 1, u"20元"_s};
    Edit({{u"PAY_TYPE"_s, u"1"_s}, {u"FAVOURABLE_BILL"_s, u"ZM210000044"_s}, {u"TOTAL_WEIGHT"_s, 1.0},
        {u"DESTINATION"_s, u"无此网点"_s}});
    const auto set = [this](const char16_t* field, const wire::Value& value) {
        return [this, field, value] { cds.FieldByName(QStringView(field)).SetValue(value); };
    };
    const std::vector<std::pair<QString, std::function<void()>>> steps = {
        {u"详细：网点揽件一定要输入运单号！"_s, set(u"BILL_CODE", u"X"_s)},
        {u"详细：单号规则错误！"_s, set(u"BILL_CODE", kNumber)},
        {u"详细：优惠券不能用于到付的支付方式！"_s, set(u"PAY_TYPE", u"0"_s)},
        {u"详细：校验码错误，请核实!"_s, set(u"FAVOURABLE_BILL", u"ZM210000045"_s)},
        {u"详细：不存在此优惠券，请核实!"_s, set(u"FAVOURABLE_BILL", kCoupon)},
        {u"详细：此优惠券已过期，不能使用!"_s, [this] { desk.coupons[kCoupon].until = kNow.AddDays(1); }},
        {u"详细：此优惠券已使用，不能使用!"_s, [this] { desk.coupons[kCoupon].used = 0; }},
        {u"详细：此票不能使用优惠券!"_s, set(u"TOTAL_WEIGHT", 31.0)},
        {u"详细：此票只能使用不大于10元面值的优惠券，此优惠券不能使用!"_s, set(u"TOTAL_WEIGHT", 81.0)},
        {u"详细：该运单号已使用，请使用新的运单号！"_s, [this] { desk.usedNumbers.clear(); }},
        {u"详细：该单号已经禁用，请使用其他单号！"_s, [this] { desk.disabledNumbers.clear(); }},
        {u"详细：此面单没有发放，不能进行收件扫描！"_s, [this] { desk.issued = true; }},
        {u"详细：请修改订单状态！"_s, set(u"STATUS", 3)},
    };
    for (const auto& [message, correct] : steps) {
        EXPECT_EQ(Violation().message, message);
        EXPECT_EQ(Fields(u"DESTINATION"_s), u"无此网点"_s) << "that is a later step's to clear";
        correct();
    }
    EXPECT_EQ(Violation().message, QString());
    EXPECT_TRUE(Fields(u"DESTINATION"_s).isEmpty());
}

TEST_F(PickupRules, APickupIsStampedOnceAndItsUndoingTakesTheStampAway)
{
    Edit(PickedUp());
    cds.FieldByName(u"DESTINATION").SetAsString(u"浦东二部"_s);
    ASSERT_EQ(Violation().message, QString());
    EXPECT_EQ(Fields(u"REC_MAN DESTINATION MODIFIER MODIFY_SITE"_s), u"李雷|浦东二部|李雷|浦东一部"_s);
    EXPECT_TRUE(Fields(u"REC_DATE"_s).startsWith(u"2024-01-31 10:59"_s));

    // The same row again: its own number is not in its way, the first stamp stays.
    SetText(cds, u"REC_MAN", u"别人"_s);
    ASSERT_EQ(Violation().message, QString());
    EXPECT_EQ(Fields(u"REC_MAN"_s), u"别人"_s);

    // It failed after all.
    cds.Post();
    cds.Edit();
    numberBefore = kNumber;
    cds.FieldByName(u"STATUS").SetAsInteger(4);
    TRuleViolation violation = Violation();
    EXPECT_EQ(violation.message, u"详细：选择\"揽件失败\"必须填写\"撤消原因\"！"_s);
    EXPECT_EQ(violation.field, u"CANCEL_DESC"_s);
    SetText(cds, u"CANCEL_DESC", u"禁运品"_s);
    ASSERT_EQ(Violation().message, QString());
    EXPECT_EQ(Fields(u"BL_CANCEL CANCEL_SITE CANCEL_MAN"_s), u"1|浦东一部|李雷"_s);
    EXPECT_TRUE(Fields(u"CANCEL_DATE"_s).startsWith(u"2024-01-31 10:59"_s));

    // Undone: stamp and reason go, the number stays.
    cds.FieldByName(u"STATUS").SetAsInteger(1);
    ASSERT_EQ(Violation().message, QString());
    EXPECT_EQ(
        Fields(u"REC_MAN REC_DATE CANCEL_DESC CANCEL_SITE CANCEL_MAN CANCEL_DATE BL_CANCEL BILL_CODE"_s),
        u"||||||0|"_s + kNumber);
}

TEST_F(PickupRules, AnEnteredNumberIsTakenWhileItsRowShowsIt)
{
    const QString other = u"168000000025"_s;
    cds.OpenRows(
        OrderRows({Order(u"TX_LOGISTIC_ID=T1, BILL_CODE="_s + kNumber), Order(u"TX_LOGISTIC_ID=T2"_s)}));
    entered.Refill(cds);
    EXPECT_TRUE(entered.OtherOrderHas(cds, u"T2"_s, kNumber));
    EXPECT_FALSE(entered.OtherOrderHas(cds, u"T1"_s, kNumber)) << "its own";
    EXPECT_FALSE(entered.OtherOrderHas(cds, u"T2"_s, other));
    cds.SetFieldAndPost(u"BILL_CODE"_s, other);
    EXPECT_FALSE(entered.OtherOrderHas(cds, u"T2"_s, kNumber)) << "given up";
    cds.UndoCurrentRow();
    EXPECT_TRUE(entered.OtherOrderHas(cds, u"T2"_s, kNumber));
    entered.Clear();
    EXPECT_FALSE(entered.OtherOrderHas(cds, u"T2"_s, kNumber));
}

TEST_F(PickupRules, TheFinanceCentresStockIsAskedForASiteWithoutItsOwn)
{
    desk.SetLoginSite(u"网点"_s, 0, {}, u"上海财务中心"_s);
    TClientDataSetEx& sites = desk.host.DataSet(u"AllSite"_s);
    sites.Close();
    sites.OpenRows(MakeTextRows(
        {u"SITE_NAME"_s, u"TYPE"_s, u"BL_MATERIAL"_s, u"SITEMATERIAL"_s, u"SUPERIOR_FINANCE_CENTER"_s},
        {{u"上海财务中心"_s, u"财务中心"_s, u"1"_s, u"浦东仓,浦西仓"_s, {}}}));
    desk.issued = false;
    Edit(PickedUp());
    EXPECT_EQ(Violation().message, u"详细：此面单没有发放，不能进行扫描！"_s);
    const QString asked = desk.host.Server.Queries().last();
    EXPECT_TRUE(asked.contains(u"'16800000001'"_s)) << "without the check digit";
    EXPECT_TRUE(asked.endsWith(u"a.use_site in ('上海财务中心','浦东仓','浦西仓' )"_s))
        << qUtf8Printable(asked);
}

// Beyond the first rule's reach, and still a rule.
TEST_F(PickupRules, APickupWithoutANumberIsRefusedByItsOwnRuleToo)
{
    Edit({{u"STATUS"_s, 3}});
    EXPECT_THROW(RequireNumberOfPickup(cds), TRuleViolation);
    Edit({{u"STATUS"_s, 4}});
    EXPECT_NO_THROW(RequireNumberOfPickup(cds));
}

TEST(PickupQuery, AsksForWhatTheSiteAcceptedAndHasToCollect)
{
    TPickupCriteria criteria{u"浦东一部"_s, u"2024-01-31 00:00:00"_s, u"2024-01-31 23:59:59"_s, u" "_s};
    const QString start =
        u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
        "to_date('2024-01-31 00:00:00','yyyy-mm-dd hh24:mi:ss') and "
        "to_date('2024-01-31 23:59:59','yyyy-mm-dd hh24:mi:ss')   and a.bl_dispart=1 and a.status=1 "
        "and a.REC_SITE='浦东一部'"_s;
    EXPECT_EQ(PickupQuery(criteria), start + u" order by a.CREATE_DATE desc"_s);
    criteria.warehouse = u"W'1"_s;
    EXPECT_EQ(PickupQuery(criteria), start + u" and a.WMS_CODE= 'W''1' order by a.CREATE_DATE desc"_s);
}

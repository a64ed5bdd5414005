#include "dispatch/Couriers.h"
#include "dispatch/EntryCustomer.h"
#include "dispatch/EntryQueries.h"
#include "dispatch/EntryRules.h"
#include "tests/orders/OrderDesk.h"
#include "tests/support/Raised.h"

using namespace Qt::Literals::StringLiterals;

TEST(EntryQueries, AsTheServerKnowsThem)
{
    const struct {
        QString text;
        QString expected;
    } cases[] = {
        {NoOrdersQuery(), u"select * from tab_zelmor_bill a where 1=2"_s},
        {PayModesQuery(), u"select /*+index(a,)*/ a.* from TAB_PAY_MODE a order by MODE_CODE"_s},
        {AllCouriersQuery(), u" select employee_name,employee_code from tab_employee a "_s},
        {LastNumberQuery(),
            u"select /*+index(a,TAB_ZELMOR_BILL_P)*/ max(TX_LOGISTIC_ID) as TX_LOGISTIC_ID from "
            "tab_zelmor_bill a where  TX_LOGISTIC_ID like 'D'||to_char(sysdate,'yyyymmdd')||'%'"_s},
        {NumbersInUseQuery({u"D1"_s, u"D2"_s}),
            u"select /*+index(a,TAB_ZELMOR_BILL_P)*/ 1 from tab_zelmor_bill a where TX_LOGISTIC_ID in "
            "('D1','D2')"_s},
    };
    for (const auto& each : cases)
        EXPECT_EQ(each.text, each.expected);
}

TEST(EntryNumber, CountsOnWithinTheDayWithoutAnEnd)
{
    const auto today = wire::DateTime::FromParts(2024, 1, 31, 23, 59);
    EXPECT_EQ(NextNumber({}, today), u"D20240131000001"_s);
    EXPECT_EQ(NextNumber(u"D20240131000041"_s, today), u"D20240131000042"_s);
    EXPECT_EQ(NextNumber(u"D20240201000041"_s, today), u"D20240131000042"_s)
        << "the database's day is another";
    EXPECT_EQ(NextNumber(u"D20240131999999"_s, today), u"D202401311000000"_s);
    EXPECT_EQ(NumberAfter(u"D20240131000009"_s), u"D20240131000010"_s);
    EXPECT_EQ(KindOf([&] { NextNumber(u"D20240131ABC"_s, today); }), wire::ErrorKind::Data);
}

TEST(EntryCustomer, OffersThePaymentsOfTheCustomer)
{
    EXPECT_EQ(PayChoices({u"现付"_s, u"月结"_s, u"到付"_s}), QStringList({u"现付"_s, u"到付"_s}));
    const QStringList three = {{}, u"现付"_s, u"到付"_s};
    EXPECT_EQ(PayChoicesWithoutCustomer(), three);
    for (const QString& modes : {u";现付;预付到付;到付;"_s, u"现付;到付"_s, u";现付;到付"_s})
        EXPECT_EQ(PayChoicesOfCustomer(modes), three) << qUtf8Printable(modes);
    EXPECT_EQ(PayChoicesOfCustomer(u"月结"_s), QStringList({{}, u"月结"_s}));
    EXPECT_EQ(PayChoicesOfCustomer({}), QStringList(QString()));
}

TEST(EntryRules, EachRuleRefusesItsRowAloneAndInItsTurn)
{
    const OrderDesk desk;
    const auto now = wire::DateTime::FromParts(2024, 1, 31, 10, 59, 30);
    const OrderFields good =
        Order(u"REC_GOODS_MAN=李雷, PHONE=13800000001, NAME=王芳, PROV=上海, CITY=上海市, COUNTY=浦东新区, "
              "ADDRESS=世纪大道1号, SEND_PROV=安徽省, SEND_CITY=合肥市, SEND_COUNTY=庐阳区"_s);
    const QString thirty(30, u'备');
    // In the order of the checks: each row also offends against all that come after it.
    const struct {
        QString field;
        wire::Value wrong;
        QString message;
        wire::Value neighbour = {}; // that passes; none: the good row's own
    } rules[] = {
        {u"REC_GOODS_MAN"_s, {}, u"详细：业务员不能为空！"_s},
        {u"TOTAL_WEIGHT"_s, -0.5, u"详细：货物重量不能小于0！"_s, 0.0},
        {u"SEND_START_TIME"_s, wire::DateTime::FromParts(2024, 1, 31, 10, 58, 30),
            u"详细：预约时间不能小于当前系统时间！"_s, now},
        {u"PHONE"_s, {}, u"详细：发货人电话不能为空！"_s},
        {u"PHONE"_s, u"1380000000x"_s, u"详细：发货人电话输入有错，请检查！"_s},
        {u"NAME"_s, {}, u"详细：发货人姓名不能为空！"_s},
        {u"PROV"_s, {}, u"详细：发货省份必须填写请输入！"_s},
        {u"TOTAL_VOLUME"_s, -1.0, u"详细：体积不能小于0！"_s, 0.5},
        {u"PIECE"_s, -1, u"详细：件数不能小于0！"_s, 0},
        {u"CITY"_s, {}, u"详细：发货城市必须填写请输入！"_s},
        {u"COUNTY"_s, {}, u"详细：发货区（县）必须填写请输入！"_s},
        {u"ADDRESS"_s, {}, u"详细：发货详细地址必须填写请输入！"_s},
        {u"SEND_PROV"_s, {}, u"详细：收货省份必须填写请输入！"_s},
        {u"SEND_CITY"_s, {}, u"详细：收货城市必须填写请输入！"_s},
        {u"SEND_COUNTY"_s, {}, u"详细：收货区（县）必须填写请输入！"_s},
        {u"REMARK"_s, QString(thirty + u'x'), u"详细：备注信息不能大于30个汉字！"_s, thirty},
        {u"REMARK"_s, QString(61, u'x'), u"详细：备注信息不能大于30个汉字！"_s, QString(60, u'x')},
    };
    const auto check = [&](OrderFields fields, TClientDataSetEx& cds,
                           std::optional<wire::DateTime> given = {}) {
        cds.OpenRows(OrderRows({std::move(fields)}));
        cds.Edit();
        try {
            CheckNewOrder(cds, {u"^[0-9]{11}$"_s, now, given});
        } catch (const TRuleViolation& told) {
            EXPECT_EQ(told.icon, TMessageIcon::Warning);
            return told.field + u' ' + told.message;
        }
        return QString();
    };
    TClientDataSetEx cds;
    OrderFields wrong = good;
    for (size_t i = std::size(rules); i-- > 0;) {
        wrong[rules[i].field] = rules[i].wrong;
        EXPECT_EQ(check(wrong, cds), rules[i].field + u' ' + rules[i].message) << i;
        OrderFields right = good;
        if (!wire::IsNull(rules[i].neighbour))
            right[rules[i].field] = rules[i].neighbour;
        EXPECT_EQ(check(right, cds), QString()) << i;
    }

    check(good, cds);
    EXPECT_EQ(FieldsOf(cds, u"SEND_START_TIME SEND_ADDRESS SEND_NAME"_s), u"2024-01-31 10:59:30|空|空"_s)
        << "none asked for: now";
    OrderFields earlier = good;
    earlier[u"SEND_START_TIME"_s] = wire::DateTime::FromParts(2024, 1, 31, 10, 0);
    EXPECT_EQ(check(earlier, cds, wire::DateTime::FromParts(2024, 1, 31, 10, 0)), QString())
        << "given at an earlier post, not asked for";
    EXPECT_EQ(TextOf(cds, u"SEND_START_TIME"), u"2024-01-31 10:59:30"_s);
}

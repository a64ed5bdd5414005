#include "orders/AcceptRules.h"
#include "tests/orders/OrderDesk.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const TClerk kClerk{u"浦东一部"_s, u"李雷"_s};

class AcceptRules : public ::testing::Test {
protected:
    // One order in edit.
    void Edit(const OrderFields& fields)
    {
        cds.Close();
        cds.OpenRows(OrderRows({fields}));
        cds.Edit();
    }
    QString Text(const char16_t* field) { return TextOf(cds, field); }
    void Set(const char16_t* field, const wire::Value& value)
    {
        cds.FieldByName(QStringView(field)).SetValue(value);
    }

    template <typename Rule> QString Violation(Rule&& rule)
    {
        try {
            rule();
        } catch (const TRuleViolation& violation) {
            return violation.message;
        }
        return {};
    }

    OrderDesk desk;
    TClientDataSetEx cds;
    const QString now_ = u"2024-01-31 10:59"_s; // the seconds are this machine's
};

} // namespace

TEST_F(AcceptRules, ARefusalNeedsAReasonAndIsStampedOnce)
{
    Edit({{u"STATUS"_s, 2}, {u"REC_GOODS_MAN"_s, u"韩梅梅"_s}});
    EXPECT_EQ(Violation([&] { RequireReasonForRefusal(cds, kClerk); }),
        u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s);
    EXPECT_EQ(Text(u"REC_GOODS_MAN"), u"韩梅梅"_s);

    Set(u"CANCEL_DESC", u"禁运品"_s);
    RequireReasonForRefusal(cds, kClerk);
    EXPECT_EQ(Text(u"BL_CANCEL"), u"1"_s);
    EXPECT_EQ(Text(u"CANCEL_SITE"), u"浦东一部"_s);
    EXPECT_EQ(Text(u"CANCEL_MAN"), u"李雷"_s);
    EXPECT_TRUE(Text(u"CANCEL_DATE").startsWith(now_)) << qUtf8Printable(Text(u"CANCEL_DATE"));
    EXPECT_TRUE(Text(u"REC_GOODS_MAN").isEmpty());

    // Who cancelled first stays named.
    Set(u"CANCEL_MAN", u"别人"_s);
    RequireReasonForRefusal(cds, kClerk);
    EXPECT_EQ(Text(u"CANCEL_MAN"), u"别人"_s);

    // Back to waiting or accepted: the whole group goes.
    Set(u"STATUS", 0);
    RequireReasonForRefusal(cds, kClerk);
    for (const char16_t* field : {u"CANCEL_DESC", u"CANCEL_SITE", u"CANCEL_MAN", u"CANCEL_DATE"})
        EXPECT_TRUE(Text(field).isEmpty()) << qUtf8Printable(QString::fromUtf16(field));
    EXPECT_EQ(Text(u"BL_CANCEL"), u"0"_s);
}

TEST_F(AcceptRules, OnlyACandidateAcceptsOrRefuses)
{
    for (const int status : {1, 2}) {
        Edit({{u"STATUS"_s, status}, {u"PREPARE_SITE"_s, u";浦东一部分拨;浦东二部;"_s}});
        EXPECT_EQ(Violation([&] { StampAcceptance(cds, kClerk); }),
            u"详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！"_s);
        EXPECT_TRUE(Text(u"REC_SITE").isEmpty());

        Edit({{u"STATUS"_s, status}, {u"PREPARE_SITE"_s, u";浦东二部;浦东一部;"_s}});
        StampAcceptance(cds, kClerk);
        EXPECT_EQ(Text(u"DUTY_SITE"), u"浦东一部"_s);
        EXPECT_EQ(Text(u"REC_SITE"), u"浦东一部"_s);
        EXPECT_EQ(Text(u"REC_BILL_MAN"), u"李雷"_s);
        EXPECT_TRUE(Text(u"ACCEPT_DATE").startsWith(now_));
    }
    // A stamp that stands is not overwritten.
    Edit({{u"STATUS"_s, 1}, {u"PREPARE_SITE"_s, u";浦东一部;"_s}, {u"REC_SITE"_s, u"浦东二部"_s}});
    StampAcceptance(cds, kClerk);
    EXPECT_EQ(Text(u"REC_SITE"), u"浦东二部"_s);
    EXPECT_TRUE(Text(u"REC_BILL_MAN").isEmpty());
}

TEST_F(AcceptRules, TakingAnAcceptanceBackLeavesNoTrace)
{
    const OrderFields accepted = {{u"STATUS"_s, 1}, {u"PREPARE_SITE"_s, u";浦东一部;"_s},
        {u"REC_SITE"_s, u"浦东一部"_s}, {u"DUTY_SITE"_s, u"浦东一部"_s}, {u"REC_BILL_MAN"_s, u"李雷"_s},
        {u"ACCEPT_DATE"_s, wire::DateTime::FromParts(2024, 1, 31)}, {u"MESSAGE"_s, u"m"_s},
        {u"REC_GOODS_MAN"_s, u"韩梅梅"_s}};
    Edit(accepted);
    Set(u"STATUS", 0);
    StampAcceptance(cds, kClerk);
    EXPECT_EQ(Text(u"DUTY_SITE"), u"浦东一部"_s) << "that is the later step's to clear";
    ClearUndoneAcceptance(cds, 1);
    for (const char16_t* field :
        {u"DUTY_SITE", u"REC_SITE", u"REC_BILL_MAN", u"ACCEPT_DATE", u"MESSAGE", u"REC_GOODS_MAN"}) {
        EXPECT_TRUE(Text(field).isEmpty()) << qUtf8Printable(QString::fromUtf16(field));
    }

    // An order that was waiting before keeps its responsible site.
    OrderFields waiting = accepted;
    waiting[u"STATUS"_s] = 0;
    Edit(waiting);
    ClearUndoneAcceptance(cds, 0);
    EXPECT_EQ(Text(u"DUTY_SITE"), u"浦东一部"_s);
}

TEST_F(AcceptRules, TheCourierIsKnownByCodeOrNameAndNamedInTheMessage)
{
    TClientDataSetEx& employees = desk.host.DataSet(u"loginSiteEmployeeOwner"_s);
    for (const QString& typed : {u"E002"_s, u"韩梅梅"_s}) {
        Edit({{u"STATUS"_s, 1}, {u"REC_GOODS_MAN"_s, typed}});
        ResolveCourier(cds, employees, u"021-5000、5002"_s);
        EXPECT_EQ(Text(u"REC_GOODS_MAN"), u"韩梅梅"_s);
        EXPECT_EQ(Text(u"MESSAGE"), u"韩梅梅,13800000002,021-5001,021-5000,5002"_s);
    }
    Edit({{u"STATUS"_s, 1}, {u"MESSAGE"_s, u"以前"_s}});
    ResolveCourier(cds, employees, u"021-5000"_s);
    EXPECT_EQ(Text(u"MESSAGE"), u"以前"_s);
    EXPECT_EQ(CourierMessage(QString(60, u'甲'), QString(60, u'1'), u"2"_s),
        QString(60, u'甲') + u',' + QString(39, u'1'));
}

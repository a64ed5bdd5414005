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
    QString Fields(const QString& names) { return FieldsOf(cds, names); }
    void Set(QStringView field, const wire::Value& value) { cds.FieldByName(field).SetValue(value); }

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
    Edit(Order(u"STATUS=2, REC_GOODS_MAN=韩梅梅"_s));
    EXPECT_EQ(Violation([&] { RequireReasonForRefusal(cds, kClerk); }),
        u"详细：选择\"接单失败\"必须填写\"撤消原因\"！"_s);
    EXPECT_EQ(Fields(u"REC_GOODS_MAN"_s), u"韩梅梅"_s);

    Set(u"CANCEL_DESC", u"禁运品"_s);
    RequireReasonForRefusal(cds, kClerk);
    EXPECT_EQ(Fields(u"BL_CANCEL CANCEL_SITE CANCEL_MAN REC_GOODS_MAN"_s), u"1|浦东一部|李雷|"_s);
    EXPECT_TRUE(Fields(u"CANCEL_DATE"_s).startsWith(now_));

    // Who cancelled first stays named.
    Set(u"CANCEL_MAN", u"别人"_s);
    RequireReasonForRefusal(cds, kClerk);
    EXPECT_EQ(Fields(u"CANCEL_MAN"_s), u"别人"_s);

    // Back to waiting or accepted: the whole group goes.
    Set(u"STATUS", 0);
    RequireReasonForRefusal(cds, kClerk);
    EXPECT_EQ(Fields(u"CANCEL_DESC CANCEL_SITE CANCEL_MAN CANCEL_DATE BL_CANCEL"_s), u"||||0"_s);
}

TEST_F(AcceptRules, OnlyACandidateAcceptsOrRefuses)
{
    const QString stamps = u"DUTY_SITE REC_SITE REC_BILL_MAN"_s;
    for (const QString& status : {u"STATUS=1, "_s, u"STATUS=2, "_s}) {
        Edit(Order(status + u"PREPARE_SITE=;浦东一部分拨;浦东二部;"_s));
        EXPECT_EQ(Violation([&] { StampAcceptance(cds, kClerk); }),
            u"详细：已转单订单不能进行\"接件成功\"、\"接件失败\"操作！"_s);
        EXPECT_EQ(Fields(stamps), u"||"_s);

        Edit(Order(status + u"PREPARE_SITE=;浦东二部;浦东一部;"_s));
        StampAcceptance(cds, kClerk);
        EXPECT_EQ(Fields(stamps), u"浦东一部|浦东一部|李雷"_s);
        EXPECT_TRUE(Fields(u"ACCEPT_DATE"_s).startsWith(now_));
    }
    // A stamp that stands is not overwritten.
    Edit(Order(u"STATUS=1, PREPARE_SITE=;浦东一部;, REC_SITE=浦东二部"_s));
    StampAcceptance(cds, kClerk);
    EXPECT_EQ(Fields(u"REC_SITE REC_BILL_MAN"_s), u"浦东二部|"_s);
}

TEST_F(AcceptRules, TakingAnAcceptanceBackLeavesNoTrace)
{
    const QString accepted =
        u"PREPARE_SITE=;浦东一部;, REC_SITE=浦东一部, DUTY_SITE=浦东一部, REC_BILL_MAN=李雷, "
        "ACCEPT_DATE=2024-01-31, MESSAGE=m, REC_GOODS_MAN=韩梅梅"_s;
    Edit(Order(u"STATUS=1, "_s + accepted));
    Set(u"STATUS", 0);
    StampAcceptance(cds, kClerk);
    EXPECT_EQ(Fields(u"DUTY_SITE"_s), u"浦东一部"_s) << "that is the later step's to clear";
    ClearUndoneAcceptance(cds, 1);
    EXPECT_EQ(Fields(u"DUTY_SITE REC_SITE REC_BILL_MAN ACCEPT_DATE MESSAGE REC_GOODS_MAN"_s), u"|||||"_s);

    // An order that was waiting before keeps its responsible site.
    Edit(Order(u"STATUS=0, "_s + accepted));
    ClearUndoneAcceptance(cds, 0);
    EXPECT_EQ(Fields(u"DUTY_SITE"_s), u"浦东一部"_s);
}

TEST_F(AcceptRules, TheCourierIsKnownByCodeOrNameAndNamedInTheMessage)
{
    TClientDataSetEx& employees = desk.host.DataSet(u"loginSiteEmployeeOwner"_s);
    for (const QString& typed : {u"E002"_s, u"韩梅梅"_s}) {
        Edit(Order(u"STATUS=1, REC_GOODS_MAN="_s + typed));
        ResolveCourier(cds, employees, u"021-5000、5002"_s);
        EXPECT_EQ(Fields(u"REC_GOODS_MAN MESSAGE"_s), u"韩梅梅|韩梅梅,13800000002,021-5001,021-5000,5002"_s);
    }
    Edit(Order(u"STATUS=1, MESSAGE=以前"_s));
    ResolveCourier(cds, employees, u"021-5000"_s);
    EXPECT_EQ(Fields(u"MESSAGE"_s), u"以前"_s);
    EXPECT_EQ(CourierMessage(QString(60, u'甲'), QString(60, u'1'), u"2"_s),
        QString(60, u'甲') + u',' + QString(39, u'1'));
}

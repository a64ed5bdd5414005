#include "orders/waybill/Coupon.h"
#include "wire/Error.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(CouponNumber, HasElevenCharactersAndTheCheckDigitOfTheSeven)
{
    // Weighted sums with the remainders 0, 1, 10 (the odd three), 2 and 9.
    for (const QString& seven : {u"10000065"_s, u"10000020"_s, u"10000111"_s, u"10000099"_s, u"10000032"_s}) {
        EXPECT_TRUE(CouponNumberFits(u"ZM1"_s + seven)) << qUtf8Printable(seven);
        EXPECT_TRUE(CouponNumberFits(u"'甲 "_s + seven)) << "the first three take no part";
        EXPECT_FALSE(CouponNumberFits(u"ZM"_s + seven));
        EXPECT_FALSE(CouponNumberFits(u"ZM12"_s + seven));
    }
    EXPECT_FALSE(CouponNumberFits(u"ZM110000060"_s));
    EXPECT_FALSE(CouponNumberFits({}));
    EXPECT_THROW(CouponNumberFits(u"ZM1100X0065"_s), wire::Error);
    EXPECT_THROW(CouponNumberFits(u"ZM11000006x"_s), wire::Error);
}

TEST(CouponQuery, TakesTheNumberWithoutBlanksAround)
{
    EXPECT_EQ(CouponQuery(u" ZM110000065 "_s),
        u"select /*+index(t,TAB_FAVOURABLE_BILL_U)*/ t.USE_START_DATE,t.USE_END_DATE,t.BL_USE,t.BILL_VALUE "
        "from tab_favourable_bill t where t.FAVOURABLE_BILL='ZM110000065'"_s);
}

TEST(CouponComplaint, IsOfTimeBeforeUseBeforeSize)
{
    const auto now = wire::DateTime::FromParts(2024, 1, 31, 12);
    const auto second = [&now](int seconds) { return wire::DateTime{now.seconds + seconds}; };
    const QString expired = u"详细：此优惠券已过期，不能使用!"_s;
    const TParcel large{300, 1.5};
    EXPECT_EQ(CouponComplaint({now, second(9), false, u"5元"_s}, large, now), expired);
    EXPECT_EQ(CouponComplaint({second(-9), now, false, u"5元"_s}, large, now), expired);
    EXPECT_EQ(CouponComplaint({second(-1), second(1), false, u"5元"_s}, large, now), QString());
    EXPECT_EQ(CouponComplaint({now, second(9), true, u"5元"_s}, large, now), expired);
    EXPECT_EQ(CouponComplaint({second(-1), second(1), true, u"5元"_s}, {1, 0.1}, now),
        u"详细：此优惠券已使用，不能使用!"_s);
}

TEST(CouponComplaint, LimitsTheValueByWeightOrVolume)
{
    const auto now = wire::DateTime::FromParts(2024, 1, 31, 12);
    struct Case {
        TParcel parcel;
        int largest; // face value that may be used; 0: none, -1: any
    };
    const Case cases[] = {
        {{29.99, 0.19}, 0},
        {{0, 0}, 0},
        {{30, 0.1}, -1},
        {{10, 0.2}, -1}, // the bounds belong to no tier
        {{30.01, 0.1}, 10},
        {{10, 0.21}, 10},
        {{79.99, 0.2}, 10},
        {{80, 0.1}, -1},
        {{10, 0.4}, -1},
        {{80.01, 0.1}, 20},
        {{10, 0.41}, 20},
        {{80.01, 0.3}, 10}, // the smaller tier by either measure
        {{150, 0.75}, -1},
        {{150.01, 0.1}, 50},
        {{10, 0.76}, 50},
        {{299.99, 1.49}, 50},
        {{31, 1.0}, 10},
        {{300, 0.1}, -1},
        {{10, 1.5}, -1},
        {{1000, 9}, -1},
    };
    for (const Case& tried : cases) {
        for (const int value : {5, 10, 11, 20, 21, 50, 51, 100}) {
            const TCoupon coupon{
                now.AddDays(-1), now.AddDays(1), false, u" "_s + QString::number(value) + u" 元"_s};
            QString expected;
            if (tried.largest == 0)
                expected = u"详细：此票不能使用优惠券!"_s;
            else if (tried.largest > 0 && value > tried.largest)
                expected =
                    u"详细：此票只能使用不大于%1元面值的优惠券，此优惠券不能使用!"_s.arg(tried.largest);
            EXPECT_EQ(CouponComplaint(coupon, tried.parcel, now), expected)
                << tried.parcel.weight << " kg, " << tried.parcel.volume << " m3, " << value;
        }
    }
    EXPECT_THROW(
        CouponComplaint({now.AddDays(-1), now.AddDays(1), false, u"十元"_s}, {31, 0.1}, now), wire::Error);
}

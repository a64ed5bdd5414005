#include "runtime/data/ExactSum.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString SumOf(std::initializer_list<double> numbers)
{
    ExactSum sum;
    for (const double number : numbers)
        sum.AddNumber(number);
    return sum.ToText();
}

TEST(ExactSum, NumbersCountAsTheirDecimals)
{
    EXPECT_EQ(SumOf({}), u"0"_s);
    EXPECT_EQ(SumOf({0.1, 0.2}), u"0.3"_s);
    EXPECT_EQ(SumOf({1e16, 1, -1e16}), u"1"_s);
    EXPECT_EQ(SumOf({-0.05, 0.01}), u"-0.04"_s);
    EXPECT_EQ(SumOf({-1000000000, 0.000001}), u"-999999999.999999"_s);
    EXPECT_EQ(SumOf({1e22, 1e-7}), u"10000000000000000000000.0000001"_s);
    EXPECT_EQ(SumOf({0.1234567, 100}), u"100.1234567"_s);
    EXPECT_EQ(SumOf({1e308, -1e308, std::numeric_limits<double>::infinity(), 5e-324, -5e-324}), u"0"_s);
    ExactSum cents;
    for (int i = 0; i < 1'000'000; ++i)
        cents.AddNumber(0.01);
    EXPECT_EQ(cents.ToText(), u"10000"_s);
}

TEST(ExactSum, IntegersBeyond64Bits)
{
    ExactSum sum;
    for (int i = 0; i < 3; ++i)
        sum.AddInteger(std::numeric_limits<qint64>::max());
    EXPECT_EQ(sum.ToText(), u"27670116110564327421"_s);
    for (int i = 0; i < 6; ++i)
        sum.AddInteger(std::numeric_limits<qint64>::min());
    EXPECT_EQ(sum.ToText(), u"-27670116110564327427"_s);
}

TEST(ExactSum, TextsThatAreNumbers)
{
    ExactSum sum;
    for (const char* text :
        {"1.50", " -2 ", "1e2", "+.5", "2.5E-1", "abc", "", "1.2.3", "1e", "e5", "0x10", "-"})
        sum.AddText(text);
    EXPECT_EQ(sum.ToText(), u"100.25"_s);
}

} // namespace

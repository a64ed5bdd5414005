#include "wire/Error.h"
#include "wire/Value.h"

#include <QDate>

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::Literals::StringLiterals;
using namespace wire;

TEST(DateTimeTest, AgreesWithTheCalendarOverFourCenturies)
{
    for (QDate date(1898, 12, 1); date < QDate(2301, 1, 1); date = date.addDays(13)) {
        const DateTime time = DateTime::FromParts(date.year(), date.month(), date.day(), 23, 59, 58);
        ASSERT_EQ(time.seconds, date.toJulianDay() * 86400 - 2440588LL * 86400 + 86398);
        ASSERT_EQ(time.ToText(), date.toString(u"yyyy-MM-dd") + u" 23:59:58"_s);
        ASSERT_EQ(DateTime::Parse(time.ToText()), time);
    }
}

TEST(DateTimeTest, ParsesWhatIsADateAndNothingElse)
{
    EXPECT_EQ(DateTime::Parse(u"2026-3-4"), DateTime::FromParts(2026, 3, 4));
    EXPECT_EQ(DateTime::Parse(u"2026-03-04 7:05"), DateTime::FromParts(2026, 3, 4, 7, 5));
    EXPECT_EQ(DateTime::Parse(u"2024-02-29 23:59:59"), DateTime::FromParts(2024, 2, 29, 23, 59, 59));
    for (const QString& text : {u""_s, u"2026"_s, u"2026-02-29"_s, u"1900-02-29"_s, u"2026-13-01"_s,
             u"2026-00-01"_s, u"2026-01-00"_s, u"2026-01-32"_s, u"2026-1-1 24:00"_s, u"2026-1-1 12:60"_s,
             u"2026-1-1 12:00:60"_s, u"2026-1-1 12"_s, u"2026-1-1 "_s, u"2026-1-1 12:00:00x"_s,
             u" 2026-1-1"_s, u"26-1-1"_s, u"2026/1/1"_s, u"2026-1-1T12:00"_s, u"0000-01-01"_s,
             u"2026-1-1 12:00:"_s, u"2026-001-01"_s})
        EXPECT_EQ(DateTime::Parse(text), std::nullopt) << text.toStdString();
}

TEST(DateTimeTest, FormatsByPatternAndCountsInDays)
{
    const DateTime time = DateTime::FromParts(2026, 3, 4, 5, 6, 7);
    EXPECT_EQ(time.Format(u"yyyymmdd"), u"20260304"_s);
    EXPECT_EQ(time.Format(u"yy/mm/dd hh:nn:ss 时"), u"26/03/04 05:06:07 时"_s);
    EXPECT_EQ(DateTime::FromParts(1899, 12, 30).ToSerial(), 0.0);
    EXPECT_EQ(DateTime::FromParts(1899, 12, 31, 12).ToSerial(), 1.5);
    EXPECT_EQ(DateTime::FromSerial(time.ToSerial()), time);
    EXPECT_EQ(time.AddDays(-30.5), DateTime::FromParts(2026, 2, 1, 17, 6, 7));
}

TEST(ValueTest, NumbersReadBackEqualFromTheirShortestText)
{
    EXPECT_EQ(ToText(12.5), u"12.5"_s);
    EXPECT_EQ(ToText(0.1), u"0.1"_s);
    EXPECT_EQ(ToText(1000000.0), u"1000000"_s);
    EXPECT_EQ(ToText(-0.0), u"0"_s);
    for (const double number :
        {0.1 + 0.2, 1.0 / 3, 123456789.01, 5e-324, 1.7976931348623157e308, -2e-7, 1e21})
        EXPECT_EQ(std::get<double>(FromText(ColumnType::Number, ToText(number))), number);
}

TEST(ValueTest, ConvertsBetweenTypesOrSaysWhatCannotBe)
{
    EXPECT_TRUE(IsNull(FromText(ColumnType::Integer, {})));
    EXPECT_TRUE(IsNull(TextValue({})));
    EXPECT_EQ(FromText(ColumnType::Integer, u" 12 "_s), Value(qint64(12)));
    EXPECT_EQ(FromText(ColumnType::Integer, u"12.0"_s), Value(qint64(12)));
    EXPECT_EQ(Convert(Value(3.0), ColumnType::Integer), Value(qint64(3)));
    EXPECT_EQ(Convert(Value(qint64(3)), ColumnType::Number), Value(3.0));
    EXPECT_EQ(
        Convert(Value(DateTime::FromParts(2026, 1, 2)), ColumnType::Text), Value(u"2026-01-02 00:00:00"_s));
    EXPECT_EQ(Convert(Value(u"2026-01-02"_s), ColumnType::DateTime), Value(DateTime::FromParts(2026, 1, 2)));
    const std::pair<Value, ColumnType> impossible[] = {
        {Value(u"12a"_s), ColumnType::Integer},
        {Value(u"1.5"_s), ColumnType::Integer},
        {Value(1e300), ColumnType::Integer},
        {Value(u"inf"_s), ColumnType::Number},
        {Value(u"nan"_s), ColumnType::Number},
        {Value(std::numeric_limits<double>::quiet_NaN()), ColumnType::Number},
        {Value(-std::numeric_limits<double>::infinity()), ColumnType::Number},
        {Value(u"tomorrow"_s), ColumnType::DateTime},
        {Value(qint64(1)), ColumnType::DateTime},
        {Value(DateTime{}), ColumnType::Number},
    };
    for (const auto& [value, type] : impossible) {
        try {
            Convert(value, type);
            ADD_FAILURE() << ToText(value).toStdString();
        } catch (const Error& error) {
            EXPECT_EQ(error.Kind(), ErrorKind::Data);
            EXPECT_TRUE(error.Message().contains(ToText(value)));
        }
    }
}

TEST(ValueTest, SameValueComparesAcrossIntegerAndNumberExactly)
{
    EXPECT_TRUE(SameValue({}, {}));
    EXPECT_FALSE(SameValue({}, Value(qint64(0))));
    EXPECT_TRUE(SameValue(Value(qint64(7)), Value(7.0)));
    EXPECT_FALSE(SameValue(Value(qint64(7)), Value(7.5)));
    EXPECT_FALSE(SameValue(Value(qint64(7)), Value(u"7"_s)));
    // 2^53 + 1 rounds to 2^53 as a number.
    EXPECT_FALSE(SameValue(Value(qint64(9007199254740993)), Value(9007199254740992.0)));
    EXPECT_FALSE(SameValue(Value(std::numeric_limits<qint64>::max()), Value(9223372036854775808.0)));
    EXPECT_TRUE(SameValue(Value(std::numeric_limits<qint64>::min()), Value(-9223372036854775808.0)));
}

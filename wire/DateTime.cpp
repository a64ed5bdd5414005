#include "wire/DateTime.h"

#include <QDateTime>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

constexpr qint64 kDay = 86400;
constexpr qint64 kSerialEpoch = -25569 * kDay; // 1899-12-30

struct Parts {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

// Days since 1970-01-01 in the Gregorian calendar, the year taken to begin in March so that the leap day is
// its last.
constexpr qint64 DaysFromCivil(int year, int month, int day)
{
    const qint64 y = month <= 2 ? year - 1 : year;
    const qint64 era = (y >= 0 ? y : y - 399) / 400;
    const qint64 yearOfEra = y - era * 400;
    const qint64 dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const qint64 dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

Parts Split(qint64 seconds)
{
    qint64 days = seconds / kDay;
    qint64 rest = seconds % kDay;
    if (rest < 0) {
        rest += kDay;
        --days;
    }
    days += 719468;
    const qint64 era = (days >= 0 ? days : days - 146096) / 146097;
    const qint64 dayOfEra = days - era * 146097;
    const qint64 yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 shifted = (5 * dayOfYear + 2) / 153;
    const int month = static_cast<int>(shifted < 10 ? shifted + 3 : shifted - 9);
    return {static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0)), month,
        static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1), static_cast<int>(rest / 3600),
        static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60)};
}

int DaysInMonth(int year, int month)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month == 2 && leap ? 29 : days[month - 1];
}

// Takes between `least` and `most` digits from the front of the text; -1 when there are fewer.
int TakeNumber(QStringView& text, int least, int most)
{
    int value = 0;
    int count = 0;
    while (count < most && count < text.size() && text[count] >= u'0' && text[count] <= u'9')
        value = value * 10 + (text[count++].unicode() - u'0');
    text = text.sliced(count);
    return count < least ? -1 : value;
}

bool TakeMark(QStringView& text, QChar mark)
{
    if (text.isEmpty() || text.front() != mark)
        return false;
    text = text.sliced(1);
    return true;
}

void PutNumber(QString& out, int value, int width)
{
    for (int divisor = width == 4 ? 1000 : 10; divisor > 0; divisor /= 10)
        out += QChar(u'0' + value / divisor % 10);
}

} // namespace

DateTime DateTime::FromParts(int year, int month, int day, int hour, int minute, int second)
{
    return {DaysFromCivil(year, month, day) * kDay + hour * 3600 + minute * 60 + second};
}

std::optional<DateTime> DateTime::Parse(QStringView text)
{
    const int year = TakeNumber(text, 4, 4);
    const bool first = TakeMark(text, u'-');
    const int month = TakeNumber(text, 1, 2);
    const bool second = TakeMark(text, u'-');
    const int day = TakeNumber(text, 1, 2);
    if (!first || !second || year < 1 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month))
        return std::nullopt;
    if (text.isEmpty())
        return FromParts(year, month, day);

    const bool blank = TakeMark(text, u' ');
    const int hour = TakeNumber(text, 1, 2);
    const bool colon = TakeMark(text, u':');
    const int minute = TakeNumber(text, 1, 2);
    int seconds = 0;
    if (TakeMark(text, u':'))
        seconds = TakeNumber(text, 1, 2);
    if (!blank || !colon || hour < 0 || hour > 23 || minute < 0 || minute > 59 || seconds < 0 || seconds > 59
        || !text.isEmpty())
        return std::nullopt;
    return FromParts(year, month, day, hour, minute, seconds);
}

DateTime DateTime::Now()
{
    const QDateTime now = QDateTime::currentDateTime();
    return {now.toSecsSinceEpoch() + now.offsetFromUtc()};
}

DateTime DateTime::FromSerial(double days)
{
    return {kSerialEpoch + std::llround(days * kDay)};
}

double DateTime::ToSerial() const
{
    return static_cast<double>(seconds - kSerialEpoch) / kDay;
}

QString DateTime::ToText() const
{
    const Parts parts = Split(seconds);
    QString text;
    text.reserve(19);
    PutNumber(text, parts.year, 4);
    text += u'-';
    PutNumber(text, parts.month, 2);
    text += u'-';
    PutNumber(text, parts.day, 2);
    text += u' ';
    PutNumber(text, parts.hour, 2);
    text += u':';
    PutNumber(text, parts.minute, 2);
    text += u':';
    PutNumber(text, parts.second, 2);
    return text;
}

QString DateTime::Format(QStringView pattern) const
{
    const Parts parts = Split(seconds);
    QString text;
    while (!pattern.isEmpty()) {
        const auto put = [&](QStringView mark, int value) {
            if (!pattern.startsWith(mark))
                return false;
            PutNumber(text, value, static_cast<int>(mark.size()));
            pattern = pattern.sliced(mark.size());
            return true;
        };
        if (put(u"yyyy", parts.year) || put(u"yy", parts.year % 100) || put(u"mm", parts.month)
            || put(u"dd", parts.day) || put(u"hh", parts.hour) || put(u"nn", parts.minute)
            || put(u"ss", parts.second))
            continue;
        text += pattern.front();
        pattern = pattern.sliced(1);
    }
    return text;
}

DateTime DateTime::AddDays(double days) const
{
    return {seconds + std::llround(days * kDay)};
}

} // namespace wire

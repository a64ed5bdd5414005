#include "server/dialect/DateFormats.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"
#include "wire/Error.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

constexpr qint64 kDay = 86400;
constexpr QChar kEnglishMark = u'\uE010'; // before a mask

constexpr std::array<QStringView, 12> kMonths{u"january", u"february", u"march", u"april", u"may", u"june",
    u"july", u"august", u"september", u"october", u"november", u"december"};
constexpr std::array<QStringView, 7> kWeekdays{
    u"sunday", u"monday", u"tuesday", u"wednesday", u"thursday", u"friday", u"saturday"};

// Which of the names stands at `at`, in full or by its first letters; -1: none.
int TakeName(std::span<const QStringView> names, QStringView text, qsizetype& at)
{
    const QStringView rest = text.sliced(at);
    for (size_t i = 0; i < names.size(); ++i) {
        for (const QStringView name : {names[i], names[i].first(DateMask::kShortName)}) {
            if (rest.startsWith(name, Qt::CaseInsensitive)) {
                at += name.size();
                return static_cast<int>(i);
            }
        }
    }
    return -1;
}

// MARCH, March or march, as the mask writes its own letters.
QString InCaseOf(QStringView written, QStringView name)
{
    if (written[0].isLower())
        return name.toString();
    return written[1].isUpper() ? name.toString().toUpper() : name[0].toUpper() + name.sliced(1).toString();
}

struct Calendar {
    int year, month, day;
    qint64 seconds; // of the day
};

qint64 FloorDivide(qint64 value, qint64 by)
{
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

// Gregorian, days since 1970-01-01.
Calendar Split(wire::DateTime date)
{
    const qint64 days = FloorDivide(date.seconds, kDay);
    const qint64 shifted = days + 719468;
    const qint64 era = FloorDivide(shifted, 146097);
    const auto dayOfEra = static_cast<int>(shifted - era * 146097);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int shiftedMonth = (5 * dayOfYear + 2) / 153;
    const int month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    const auto year = static_cast<int>(yearOfEra + era * 400) + (month <= 2 ? 1 : 0);
    return {year, month, dayOfYear - (153 * shiftedMonth + 2) / 5 + 1, date.seconds - days * kDay};
}

bool IsLeap(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysIn(int year, int month)
{
    constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : kDays[static_cast<size_t>(month) - 1];
}

void SkipBlanks(QStringView text, qsizetype& at)
{
    while (at < text.size() && text[at].isSpace())
        ++at;
}

bool IsPunctuation(QChar character)
{
    return !character.isLetterOrNumber() && character != u'"';
}

wire::DateTime At(int year, int month, int day, qint64 seconds = 0)
{
    return {wire::DateTime::FromParts(year, month, day).seconds + seconds};
}

QString Digits(qint64 value, int width)
{
    return u"%1"_s.arg(value, width, 10, QChar(u'0'));
}

// Sunday is 0; 1970 began on a Thursday.
int WeekdayOf(wire::DateTime date)
{
    return static_cast<int>((FloorDivide(date.seconds, kDay) % 7 + 11) % 7);
}

constexpr int kLongestName = 9; // september, wednesday

} // namespace

bool IsName(DateMask::Element element)
{
    using Element = DateMask::Element;
    return element == Element::MonthShort || element == Element::MonthName || element == Element::WeekdayShort
        || element == Element::WeekdayName;
}

struct DateMask::Fields {
    int year = -1, month = -1, day = 1, hour = 0, minute = 0, second = 0;
    int weekday = -1;
    bool afternoon = false, halves = false;
};

DateMask::DateMask(const QString& mask)
    : mask_(mask.startsWith(kEnglishMark) ? mask.sliced(1) : mask)
    , language_(mask.startsWith(kEnglishMark) ? Language::English : Language::Chinese)
{
    if (mask_.size() > kLongestMask)
        throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(texts::Shortened(mask_)));
    struct Name {
        QStringView text;
        Element element;
    };
    // Longer names first where one begins another.
    constexpr std::array kNames{Name{u"yyyy", Element::Year4}, Name{u"yyy", Element::Year3},
        Name{u"yy", Element::Year2}, Name{u"rrrr", Element::Year4}, Name{u"rr", Element::Round2},
        Name{u"month", Element::MonthName}, Name{u"mon", Element::MonthShort}, Name{u"mm", Element::Month},
        Name{u"mi", Element::Minute}, Name{u"ddd", Element::DayOfYear}, Name{u"dd", Element::Day},
        Name{u"day", Element::WeekdayName}, Name{u"dy", Element::WeekdayShort},
        Name{u"d", Element::DayOfWeek}, Name{u"hh24", Element::Hour24}, Name{u"hh12", Element::Hour12},
        Name{u"hh", Element::Hour12}, Name{u"sssss", Element::SecondOfDay}, Name{u"ss", Element::Second},
        Name{u"am", Element::HalfDay}, Name{u"pm", Element::HalfDay}, Name{u"q", Element::Quarter},
        Name{u"ww", Element::WeekOfYear}};
    for (qsizetype at = 0; at < mask_.size();) {
        const QStringView rest = QStringView(mask_).sliced(at);
        if (rest[0] == u'"') {
            const qsizetype end = mask_.indexOf(u'"', at + 1);
            if (end < 0)
                throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(rest.toString()));
            parts_.push_back({Element::Quoted, mask_.sliced(at + 1, end - at - 1)});
            at = end + 1;
        } else if (IsPunctuation(rest[0])) {
            parts_.push_back({Element::Punctuation, mask_.sliced(at, 1)});
            ++at;
        } else if (rest.startsWith(u"fm", Qt::CaseInsensitive)) {
            fill_ = false;
            at += 2;
        } else {
            const auto name = std::ranges::find_if(
                kNames, [rest](const Name& each) { return rest.startsWith(each.text, Qt::CaseInsensitive); });
            if (name == kNames.end())
                throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(rest.toString()));
            parts_.push_back({name->element, mask_.sliced(at, name->text.size())});
            at += name->text.size();
        }
    }
}

void DateMask::CheckReadable() const
{
    bool year = false;
    for (const Part& part : parts_) {
        year = year || part.element <= Element::Round2;
        if (part.element >= Element::Quarter && part.element <= Element::SecondOfDay)
            throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(mask_));
    }
    if (!year)
        throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(mask_));
}

bool DateMask::ReadPart(const Part& part, QStringView text, qsizetype& at, Fields& fields)
{
    switch (part.element) {
    case Element::Punctuation:
        if (part.text == u" ")
            SkipBlanks(text, at);
        else if (IsPunctuation(text[at]))
            ++at;
        return true;
    case Element::Quoted:
        if (!text.sliced(at).startsWith(part.text))
            return false;
        at += part.text.size();
        return true;
    case Element::HalfDay:
        SkipBlanks(text, at);
        return ReadHalfDay(text, at, fields);
    default:
        break;
    }
    SkipBlanks(text, at);
    if (!IsName(part.element))
        return ReadNumber(part.element, text, at, fields);
    const bool month = part.element == Element::MonthShort || part.element == Element::MonthName;
    if (!(month ? ReadMonthName(text, at, fields) : ReadWeekdayName(text, at, fields)))
        return false;
    SkipBlanks(text, at); // what fills it
    return true;
}

bool DateMask::ReadHalfDay(QStringView text, qsizetype& at, Fields& fields)
{
    const QStringView rest = text.sliced(at);
    fields.halves = true;
    fields.afternoon = rest.startsWith(u"pm", Qt::CaseInsensitive) || rest.startsWith(u"下午");
    const bool morning = rest.startsWith(u"am", Qt::CaseInsensitive) || rest.startsWith(u"上午");
    at += 2;
    return fields.afternoon || morning;
}

// An English name, or a Chinese one: a number before 月.
bool DateMask::ReadMonthName(QStringView text, qsizetype& at, Fields& fields)
{
    fields.month = TakeName(kMonths, text, at) + 1;
    qsizetype end = at;
    for (; end < text.size() && end < at + 2 && text[end] >= u'0' && text[end] <= u'9'; ++end)
        fields.month = fields.month * 10 + text[end].digitValue();
    if (end > at && (end == text.size() || text[end] != u'月'))
        return false;
    at = end > at ? end + 1 : at;
    return true;
}

bool DateMask::ReadWeekdayName(QStringView text, qsizetype& at, Fields& fields)
{
    fields.weekday = TakeName(kWeekdays, text, at);
    if (fields.weekday < 0 && text.sliced(at).startsWith(u"星期") && at + 2 < text.size()) {
        fields.weekday = static_cast<int>(kChineseWeekdays.indexOf(text[at + 2]));
        at += 3;
    }
    return fields.weekday >= 0;
}

bool DateMask::ReadNumber(Element element, QStringView text, qsizetype& at, Fields& fields)
{
    const int most = element == Element::Year4 ? 4 : element == Element::Year3 ? 3 : 2;
    int value = 0;
    int digits = 0;
    for (; digits < most && at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++digits, ++at)
        value = value * 10 + text[at].digitValue();
    if (digits == 0)
        return false;
    switch (element) {
    case Element::Year4:
        fields.year = value;
        break;
    case Element::Year3:
    case Element::Year2:
        fields.year = 2000 + value;
        break;
    case Element::Round2:
        fields.year = value < 50 ? 2000 + value : 1900 + value;
        break;
    case Element::Month:
        fields.month = value;
        break;
    case Element::Day:
        fields.day = value;
        break;
    case Element::Hour24:
        fields.hour = value;
        break;
    case Element::Hour12:
        if (value < 1 || value > 12)
            return false;
        fields.hour = value % 12;
        fields.halves = true;
        break;
    case Element::Minute:
        fields.minute = value;
        break;
    default:
        fields.second = value;
    }
    return true;
}

std::optional<wire::DateTime> DateMask::Read(QStringView text) const
{
    text = text.trimmed();
    Fields fields;
    qsizetype at = 0;
    for (const Part& part : parts_) {
        if (at >= text.size())
            break;
        if (!ReadPart(part, text, at, fields))
            return std::nullopt;
    }
    if (fields.halves && fields.hour < 12 && fields.afternoon)
        fields.hour += 12;
    const bool valid = at >= text.size() && fields.year >= 1 && fields.month >= 1 && fields.month <= 12
        && fields.day >= 1 && fields.day <= DaysIn(fields.year, fields.month) && fields.hour < 24
        && fields.minute < 60 && fields.second < 60;
    if (!valid)
        return std::nullopt;
    const wire::DateTime date =
        At(fields.year, fields.month, fields.day, fields.hour * 3600 + fields.minute * 60 + fields.second);
    return fields.weekday < 0 || fields.weekday == WeekdayOf(date) ? std::optional(date) : std::nullopt;
}

QString DateMask::InEnglish(const QString& mask)
{
    return kEnglishMark + mask;
}

std::span<const QStringView> DateMask::EnglishMonths()
{
    return kMonths;
}

std::span<const QStringView> DateMask::EnglishWeekdays()
{
    return kWeekdays;
}

// Long English names are filled to the longest of them, Chinese months to that of December.
QString DateMask::MonthText(const Part& part, int month) const
{
    if (language_ == Language::Chinese) {
        const QString name = QString::number(month) + u'月';
        return fill_ ? name.leftJustified(kChineseMonth) : name;
    }
    const QString name = InCaseOf(part.text, kMonths[static_cast<size_t>(month) - 1]);
    if (part.element == Element::MonthShort)
        return name.first(kShortName);
    return fill_ ? name.leftJustified(kLongestName) : name;
}

QString DateMask::WeekdayText(const Part& part, int weekday) const
{
    if (language_ == Language::Chinese)
        return u"星期"_s + kChineseWeekdays[weekday];
    const QString name = InCaseOf(part.text, kWeekdays[static_cast<size_t>(weekday)]);
    if (part.element == Element::WeekdayShort)
        return name.first(kShortName);
    return fill_ ? name.leftJustified(kLongestName) : name;
}

std::optional<std::pair<qint64, int>> DateMask::NumberOf(Element element, wire::DateTime date)
{
    const Calendar calendar = Split(date);
    const qint64 hour = calendar.seconds / 3600;
    const qint64 dayOfYear = (date.seconds - At(calendar.year, 1, 1).seconds) / kDay + 1;
    switch (element) {
    case Element::Year4:
        return {{calendar.year, 4}};
    case Element::Year3:
        return {{calendar.year % 1000, 3}};
    case Element::Year2:
    case Element::Round2:
        return {{calendar.year % 100, 2}};
    case Element::Month:
        return {{calendar.month, 2}};
    case Element::Day:
        return {{calendar.day, 2}};
    case Element::Hour24:
        return {{hour, 2}};
    case Element::Hour12:
        return {{hour % 12 == 0 ? 12 : hour % 12, 2}};
    case Element::Minute:
        return {{calendar.seconds / 60 % 60, 2}};
    case Element::Second:
        return {{calendar.seconds % 60, 2}};
    case Element::Quarter:
        return {{(calendar.month + 2) / 3, 1}};
    case Element::DayOfYear:
        return {{dayOfYear, 3}};
    case Element::DayOfWeek: // Sunday is 1
        return {{WeekdayOf(date) + 1, 1}};
    case Element::WeekOfYear:
        return {{(dayOfYear + 6) / 7, 2}};
    case Element::SecondOfDay:
        return {{calendar.seconds, 5}};
    default:
        return std::nullopt;
    }
}

QString DateMask::Write(wire::DateTime date) const
{
    const Calendar calendar = Split(date);
    QString text;
    for (const Part& part : parts_) {
        if (const auto number = NumberOf(part.element, date)) {
            text += Digits(number->first, fill_ ? number->second : 0);
            continue;
        }
        switch (part.element) {
        case Element::MonthShort:
        case Element::MonthName:
            text += MonthText(part, calendar.month);
            break;
        case Element::WeekdayShort:
        case Element::WeekdayName:
            text += WeekdayText(part, WeekdayOf(date));
            break;
        case Element::HalfDay:
            text += calendar.seconds < kDay / 2 ? u"上午"_s : u"下午"_s;
            break;
        default:
            text += part.text;
        }
    }
    return text;
}

DateUnit DateUnitOf(const QString& mask)
{
    struct Name {
        QStringView text;
        DateUnit unit;
    };
    constexpr std::array kNames{Name{u"yyyy", DateUnit::Year}, Name{u"yyy", DateUnit::Year},
        Name{u"yy", DateUnit::Year}, Name{u"y", DateUnit::Year}, Name{u"year", DateUnit::Year},
        Name{u"q", DateUnit::Quarter}, Name{u"mm", DateUnit::Month}, Name{u"mon", DateUnit::Month},
        Name{u"month", DateUnit::Month}, Name{u"dd", DateUnit::Day}, Name{u"ddd", DateUnit::Day},
        Name{u"hh", DateUnit::Hour}, Name{u"hh12", DateUnit::Hour}, Name{u"hh24", DateUnit::Hour},
        Name{u"mi", DateUnit::Minute}};
    const auto name = std::ranges::find_if(
        kNames, [&mask](const Name& each) { return mask.compare(each.text, Qt::CaseInsensitive) == 0; });
    if (name == kNames.end())
        throw wire::Error(wire::ErrorKind::Data, texts::InvalidMask(mask));
    return name->unit;
}

wire::DateTime Truncate(wire::DateTime date, DateUnit unit)
{
    const Calendar calendar = Split(date);
    switch (unit) {
    case DateUnit::Year:
        return At(calendar.year, 1, 1);
    case DateUnit::Quarter:
        return At(calendar.year, (calendar.month - 1) / 3 * 3 + 1, 1);
    case DateUnit::Month:
        return At(calendar.year, calendar.month, 1);
    case DateUnit::Hour:
        return {date.seconds - calendar.seconds % 3600};
    case DateUnit::Minute:
        return {date.seconds - calendar.seconds % 60};
    case DateUnit::Day:
        break;
    }
    return {date.seconds - calendar.seconds};
}

wire::DateTime Round(wire::DateTime date, DateUnit unit)
{
    const Calendar calendar = Split(date);
    const wire::DateTime start = Truncate(date, unit);
    const auto bySeconds = [&](qint64 length) {
        return wire::DateTime{start.seconds + ((date.seconds - start.seconds) * 2 >= length ? length : 0)};
    };
    switch (unit) {
    case DateUnit::Year:
        return calendar.month >= 7 ? AddMonths(start, 12) : start;
    case DateUnit::Quarter: {
        const int month = (calendar.month - 1) % 3;
        return month == 2 || (month == 1 && calendar.day >= 16) ? AddMonths(start, 3) : start;
    }
    case DateUnit::Month:
        return calendar.day >= 16 ? AddMonths(start, 1) : start;
    case DateUnit::Hour:
        return bySeconds(3600);
    case DateUnit::Minute:
        return bySeconds(60);
    case DateUnit::Day:
        break;
    }
    return bySeconds(kDay);
}

wire::DateTime AddMonths(wire::DateTime date, qint64 months)
{
    const Calendar calendar = Split(date);
    const qint64 count = calendar.year * 12LL + calendar.month - 1 + months;
    const qint64 year = std::clamp<qint64>(FloorDivide(count, 12), 1, 9999);
    const auto month = static_cast<int>(count - FloorDivide(count, 12) * 12) + 1;
    const int last = DaysIn(static_cast<int>(year), month);
    const bool wasLast = calendar.day == DaysIn(calendar.year, calendar.month);
    return At(static_cast<int>(year), month, wasLast ? last : std::min(calendar.day, last), calendar.seconds);
}

wire::DateTime LastDay(wire::DateTime date)
{
    const Calendar calendar = Split(date);
    return At(calendar.year, calendar.month, DaysIn(calendar.year, calendar.month), calendar.seconds);
}

double MonthsBetween(wire::DateTime later, wire::DateTime earlier)
{
    const Calendar a = Split(later);
    const Calendar b = Split(earlier);
    const double months = (a.year - b.year) * 12.0 + a.month - b.month;
    const bool bothLast = a.day == DaysIn(a.year, a.month) && b.day == DaysIn(b.year, b.month);
    if (a.day == b.day || bothLast)
        return months;
    return months + (a.day - b.day + static_cast<double>(a.seconds - b.seconds) / kDay) / 31;
}

} // namespace dialect

#include "server/dialect/PostgresFormats.h"

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

using Element = DateMask::Element;

QChar FieldOf(Element element)
{
    switch (element) {
    case Element::Year4:
        return u'Y';
    case Element::Year3:
    case Element::Year2:
        return u'y';
    case Element::Round2:
        return u'r';
    case Element::Month:
        return u'm';
    case Element::MonthShort:
    case Element::MonthName:
        return u'M';
    case Element::WeekdayShort:
    case Element::WeekdayName:
        return u'w';
    case Element::Day:
        return u'd';
    case Element::Hour24:
        return u'H';
    case Element::Hour12:
        return u'h';
    case Element::Minute:
        return u'n';
    case Element::HalfDay:
        return u'p';
    default:
        return u's';
    }
}

// As few digits as are there, but no fewer.
QString Digits(int most)
{
    return u"\\s*([0-9]{%1}|[0-9]{1,%2}(?![0-9]))"_s.arg(most).arg(most - 1);
}

QString Escaped(const QString& text)
{
    QString escaped;
    for (const QChar character : text) {
        if (character.unicode() < 0x80 && !character.isLetterOrNumber())
            escaped += u'\\';
        escaped += character;
    }
    return escaped;
}

// English names in any case, in full or by their first letters.
QString Names(std::span<const QStringView> names)
{
    QString pattern;
    for (const QStringView name : names) {
        pattern += pattern.isEmpty() ? u""_s : u"|"_s;
        for (qsizetype i = 0; i < name.size(); ++i) {
            pattern += i == DateMask::kShortName ? u"(?:"_s : u""_s;
            pattern += u'[' + name[i] + name[i].toUpper() + u']';
        }
        pattern += name.size() > DateMask::kShortName ? u")?"_s : u""_s;
    }
    return pattern;
}

QString PatternOf(const DateMask::Part& part)
{
    switch (part.element) {
    case Element::Punctuation:
        if (part.text == u" ")
            return u"\\s*"_s;
        return u"(?:[^[:alnum:]\"]|(?![^[:alnum:]\"]))"_s;
    case Element::Quoted:
        return Escaped(part.text);
    case Element::HalfDay:
        return u"\\s*([aA][mM]|[pP][mM]|上午|下午)"_s;
    case Element::MonthShort:
    case Element::MonthName:
        return u"\\s*("_s + Names(DateMask::EnglishMonths()) + u"|[0-9]{1,2}月)\\s*"_s;
    case Element::WeekdayShort:
    case Element::WeekdayName:
        return u"\\s*("_s + Names(DateMask::EnglishWeekdays()) + u"|星期["_s
            + DateMask::kChineseWeekdays.toString() + u"])\\s*"_s;
    case Element::Year4:
        return Digits(4);
    case Element::Year3:
        return Digits(3);
    default:
        return Digits(2);
    }
}

// Marks in to_char's output that zelmor.ora_date_text replaces.
constexpr char16_t kHalfDay = u'\uE000';
constexpr char16_t kSecondOfDay = u'\uE001';
constexpr char16_t kFilledMonth = u'\uE002';
constexpr char16_t kMonth = u'\uE003';
constexpr char16_t kWeekday = u'\uE004';

char16_t MarkOf(Element element, bool filled)
{
    switch (element) {
    case Element::HalfDay:
        return kHalfDay;
    case Element::SecondOfDay:
        return kSecondOfDay;
    case Element::MonthShort:
    case Element::MonthName:
        return filled ? kFilledMonth : kMonth;
    default:
        return kWeekday;
    }
}

const char* NameOf(Element element)
{
    switch (element) {
    case Element::Year4:
        return "YYYY";
    case Element::Year3:
        return "YYY";
    case Element::Year2:
    case Element::Round2:
        return "YY";
    case Element::Month:
        return "MM";
    case Element::Day:
        return "DD";
    case Element::Hour24:
        return "HH24";
    case Element::Hour12:
        return "HH12";
    case Element::Minute:
        return "MI";
    case Element::Second:
        return "SS";
    case Element::Quarter:
        return "Q";
    case Element::DayOfYear:
        return "DDD";
    case Element::DayOfWeek:
        return "D";
    case Element::WeekOfYear:
        return "WW";
    default:
        return "";
    }
}

} // namespace

// A text may end before any part but not within one.
PostgresDateReader PostgresReaderOf(const DateMask& mask)
{
    PostgresDateReader reader{u"^\\s*"_s, {}};
    for (const DateMask::Part& part : mask.Parts()) {
        reader.pattern += u"(?:"_s + PatternOf(part);
        if (part.element != Element::Punctuation && part.element != Element::Quoted)
            reader.fields += FieldOf(part.element);
    }
    reader.pattern += u")?"_s.repeated(static_cast<qsizetype>(mask.Parts().size())) + u"\\s*$"_s;
    return reader;
}

PostgresDateFormat PostgresFormatOf(const DateMask& mask)
{
    PostgresDateFormat result;
    QString literal;
    const auto flush = [&] {
        if (!literal.isEmpty())
            result.format += u'"' + literal.replace(u'\\', u"\\\\"_s) + u'"';
        literal.clear();
    };
    for (const DateMask::Part& part : mask.Parts()) {
        switch (part.element) {
        case Element::Punctuation:
        case Element::Quoted:
            literal += part.text;
            break;
        case Element::HalfDay:
        case Element::SecondOfDay:
            literal += QChar(MarkOf(part.element, mask.Fills()));
            result.own = true;
            break;
        default:
            if (IsName(part.element) && mask.NameLanguage() == DateMask::Language::Chinese) {
                literal += QChar(MarkOf(part.element, mask.Fills()));
                result.own = true;
                break;
            }
            flush();
            result.format += (mask.Fills() ? u""_s : u"FM"_s)
                + (IsName(part.element) ? part.text : QString::fromLatin1(NameOf(part.element)));
        }
    }
    flush();
    return result;
}

QString PostgresFormatOf(const NumberMask& mask)
{
    const QString fraction = mask.Fraction().isEmpty() ? QString() : u'.' + mask.Fraction();
    return (mask.Fills() ? QString() : u"FM"_s) + mask.Whole() + fraction;
}

const char* PostgresUnitOf(DateUnit unit)
{
    switch (unit) {
    case DateUnit::Year:
        return "year";
    case DateUnit::Quarter:
        return "quarter";
    case DateUnit::Month:
        return "month";
    case DateUnit::Hour:
        return "hour";
    case DateUnit::Minute:
        return "minute";
    case DateUnit::Day:
        break;
    }
    return "day";
}

} // namespace dialect

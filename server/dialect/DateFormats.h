#pragma once

#include "wire/Value.h"

#include <QString>

#include <optional>
#include <span>
#include <utility>
#include <vector>

// The formats of dates, read and written as the company's database does.
namespace dialect {

// A date format: yyyy, yyy, yy, rrrr, rr, mm, mon, month, dd, day, dy, hh24, hh12, hh, mi, ss, am, pm; for
// writing also q, ddd, d, ww, sssss; "text" in double quotes; fm; punctuation. Case matters for names alone:
// MON, Mon and mon write them as they are written themselves. Names are read in Chinese and in English.
class DateMask {
public:
    enum class Element {
        Year4,
        Year3,
        Year2,
        Round2,
        Month,
        MonthShort,
        MonthName,
        Day,
        WeekdayShort,
        WeekdayName,
        Hour24,
        Hour12,
        Minute,
        Second,
        HalfDay,
        Quarter,
        DayOfYear,
        DayOfWeek,
        WeekOfYear,
        SecondOfDay,
        Punctuation,
        Quoted,
    };
    struct Part {
        Element element;
        QString text; // Punctuation, Quoted; names: as the mask writes them
    };
    enum class Language { Chinese, English }; // of the names written

    // A mask for English names, as one text.
    static QString InEnglish(const QString& mask);
    // Raises wire::Error (Data) naming what is not understood.
    explicit DateMask(const QString& mask);
    // Raises the same where something in the mask can only be written.
    void CheckReadable() const;

    // Lenient: leading zeros may be missing, any punctuation stands for any other, a text may end early after
    // the month. Nothing when the text is no such date.
    std::optional<wire::DateTime> Read(QStringView text) const;
    QString Write(wire::DateTime date) const;

    const std::vector<Part>& Parts() const noexcept { return parts_; }
    bool Fills() const noexcept { return fill_; } // numbers have leading zeros, names blanks after them
    Language NameLanguage() const noexcept { return language_; }
    const QString& Text() const noexcept { return mask_; }

    // In lower case, January and Sunday first.
    static std::span<const QStringView> EnglishMonths();
    static std::span<const QStringView> EnglishWeekdays();
    static constexpr QStringView kChineseWeekdays = u"日一二三四五六"; // after 星期
    static constexpr int kShortName = 3; // letters of a short English name
    static constexpr int kChineseMonth = 3; // characters of a Chinese month that is filled

private:
    struct Fields;
    // Each goes on from `at`; false where the text is not what the part asks for.
    static bool ReadPart(const Part& part, QStringView text, qsizetype& at, Fields& fields);
    static bool ReadHalfDay(QStringView text, qsizetype& at, Fields& fields);
    static bool ReadMonthName(QStringView text, qsizetype& at, Fields& fields);
    static bool ReadWeekdayName(QStringView text, qsizetype& at, Fields& fields);
    static bool ReadNumber(Element element, QStringView text, qsizetype& at, Fields& fields);
    // What a number in a text is of a date, and its digits; nothing for names and texts.
    static std::optional<std::pair<qint64, int>> NumberOf(Element element, wire::DateTime date);
    QString MonthText(const Part& part, int month) const;
    QString WeekdayText(const Part& part, int weekday) const;

    QString mask_;
    std::vector<Part> parts_;
    Language language_ = Language::Chinese;
    bool fill_ = true; // leading zeros
};

// Of a month or a weekday.
bool IsName(DateMask::Element element);

enum class DateUnit { Year, Quarter, Month, Day, Hour, Minute };

// "yyyy", "q", "mm", "dd", "hh24", "mi" and their like; raises wire::Error (Data).
DateUnit DateUnitOf(const QString& mask);
wire::DateTime Truncate(wire::DateTime date, DateUnit unit);
wire::DateTime Round(wire::DateTime date, DateUnit unit);
// The last day of a month stays the last day.
wire::DateTime AddMonths(wire::DateTime date, qint64 months);
wire::DateTime LastDay(wire::DateTime date);
double MonthsBetween(wire::DateTime later, wire::DateTime earlier);

} // namespace dialect

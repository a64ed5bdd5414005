#include "server/dialect/Limits.h"
#include "server/dialect/Postgres.h"
#include "server/dialect/PostgresFunctionsText.h"
#include "server/dialect/Refusals.h"

#include <QStringList>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

// Goes up with every change of the functions.
constexpr int kVersion = 2;

// Of the errors that our functions raise, with the message for the user.
constexpr std::string_view kDataState = "ZE001";

// null where either is, unlike PostgreSQL's own.
QString Extremes()
{
    QString text;
    for (const auto& [name, sign] : {std::pair(u"greatest"_s, u">="_s), std::pair(u"least"_s, u"<="_s)}) {
        for (const QString& type : {u"text"_s, u"bigint"_s, u"double precision"_s, u"timestamp"_s}) {
            text += u"CREATE OR REPLACE FUNCTION zelmor.ora_%1(a %2, b %2) RETURNS %2\n"
                    "LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$\n"
                    "    SELECT CASE WHEN $1 %3 $2 THEN $1 WHEN $1 IS NOT NULL THEN $2 END\n$$;\n\n"_s.arg(
                        name, type, sign);
        }
    }
    return text;
}

// Where orafce's C function means the same and is much faster than ours; most of its others are slower than
// PostgreSQL's own, or take text and dates otherwise. A call of it is wrapped, as orafce declares its
// functions unfit for parallel plans.
QString OfOrafce()
{
    return u"CREATE OR REPLACE FUNCTION zelmor.ora_instr(\n"
           "    value text, part text, start double precision, occurrence double precision)\n"
           "RETURNS bigint\n"
           "LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$\n"
           "BEGIN\n"
           "    RETURN CASE WHEN occurrence < 1 OR abs(start) < 1 OR abs(start) > length(value) THEN 0\n"
           "        ELSE oracle.instr(value, part, trunc(start)::int, least(trunc(occurrence), 1e9)::int) "
           "END;\n"
           "END $$;\n\n"_s;
}

QString Mark(bool orafce)
{
    return u"functions %1%2"_s.arg(QString::number(kVersion), orafce ? u" orafce"_s : u""_s);
}

} // namespace

std::string PostgresFunctionsText(bool orafce)
{
    QString text = QString::fromUtf8(kPostgresFunctions);
    const auto put = [&text](const QString& word, const QString& value) {
        text.replace(u'{' + word + u'}', value);
    };
    put(u"state"_s, QString::fromLatin1(kDataState.data()));
    put(u"invalid_number"_s, texts::InvalidNumber(u"%s"_s) + u'！');
    put(u"invalid_date"_s, texts::InvalidDate(u"%s"_s, u"%s"_s) + u'！');
    put(u"longest_pattern"_s, QString::number(2 * kLongestLiteral + kLongestNumber));
    put(u"longest"_s, QString::number(kLongestBuiltText));
    put(u"too_long"_s, texts::BuiltTextTooLong(kLongestBuiltText) + u'！');
    put(u"loop"_s, texts::ConnectByLoop() + u'！');
    put(u"extremes"_s, Extremes());
    if (orafce)
        text += OfOrafce();
    return (text + u"COMMENT ON SCHEMA zelmor IS '"_s + Mark(orafce) + u"';\n"_s).toStdString();
}

bool PostgresFunctionsAreOutdated(std::string_view comment, bool orafce)
{
    const QStringList words =
        QString::fromUtf8(comment.data(), static_cast<qsizetype>(comment.size())).split(u' ');
    if (words.size() < 2 || words[0] != u"functions"_s)
        return true;
    const int version = words[1].toInt();
    return version < kVersion || (version == kVersion && (words.size() > 2) != orafce);
}

std::optional<wire::Error> ErrorOfSqlState(std::string_view sqlState, const QString& message)
{
    struct Meaning {
        std::string_view state;
        QString (*text)();
    };
    static constexpr std::array kMeanings{
        Meaning{"22012", texts::DivideByZero}, // division_by_zero
        Meaning{"21000", texts::NotOneRow}, // cardinality_violation
        Meaning{"22003", texts::OutOfRange}, // numeric_value_out_of_range
        Meaning{"22008", texts::OutOfRange}, // datetime_field_overflow
        Meaning{"2201F", texts::OutOfRange}, // invalid_argument_for_power_function
        Meaning{"22001", texts::TooLong}, // string_data_right_truncation
    };
    if (sqlState == kDataState)
        return wire::Error(wire::ErrorKind::Data, message);
    for (const Meaning& meaning : kMeanings) {
        if (sqlState == meaning.state)
            return wire::Error(wire::ErrorKind::Data, meaning.text() + u'！');
    }
    // Other errors of data, and of statements that only this database refuses, in its own words; not what it
    // does not permit (42501).
    if (sqlState.starts_with("22"))
        return wire::Error(wire::ErrorKind::Data, texts::Refused(message));
    if ((sqlState.starts_with("42") && sqlState != "42501") || sqlState.starts_with("54"))
        return wire::Error(wire::ErrorKind::Syntax, texts::Refused(message));
    return std::nullopt;
}

} // namespace dialect

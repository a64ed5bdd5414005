#include "wire/Value.h"

#include "wire/Error.h"

#include <charconv>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

constexpr double kExactIntegers = 9007199254740992.0; // 2^53
constexpr double kBeyondIntegers = 9223372036854775808.0; // 2^63

QString NumberText(double number)
{
    if (number == 0)
        return u"0"_s; // minus zero too
    char text[64];
    const double size = std::fabs(number);
    const auto form = size >= 1e-6 && size < 1e17 ? std::chars_format::fixed : std::chars_format::general;
    const auto end = std::to_chars(text, text + sizeof text, number, form).ptr;
    return QString::fromLatin1(text, end - text);
}

[[noreturn]] void RaiseMismatch(const QString& text, ColumnType type)
{
    switch (type) {
    case ColumnType::Integer:
        throw Error(ErrorKind::Data, u"“%1”不是有效的整数！"_s.arg(text));
    case ColumnType::Number:
        throw Error(ErrorKind::Data, u"“%1”不是有效的数字！"_s.arg(text));
    case ColumnType::DateTime:
        throw Error(ErrorKind::Data, u"“%1”不是有效的日期时间！"_s.arg(text));
    case ColumnType::Text:
        break;
    }
    throw Error(ErrorKind::Data, u"“%1”不能转换！"_s.arg(text));
}

bool IsInteger(double number)
{
    return std::fabs(number) <= kExactIntegers && std::trunc(number) == number;
}

} // namespace

QString ToText(const Value& value)
{
    struct {
        QString operator()(std::monostate) const { return {}; }
        QString operator()(const QString& text) const { return text; }
        QString operator()(qint64 integer) const { return QString::number(integer); }
        QString operator()(double number) const { return NumberText(number); }
        QString operator()(DateTime time) const { return time.ToText(); }
    } visitor;
    return std::visit(visitor, value);
}

Value FromText(ColumnType type, const QString& text)
{
    if (text.isEmpty())
        return {};
    if (type == ColumnType::Text)
        return text;

    const QStringView bare = QStringView(text).trimmed();
    if (type == ColumnType::DateTime) {
        if (const auto time = DateTime::Parse(bare))
            return *time;
        RaiseMismatch(text, type);
    }
    bool ok = false;
    if (type == ColumnType::Integer) {
        const qint64 integer = bare.toLongLong(&ok);
        if (ok)
            return integer;
    }
    const double number = bare.toDouble(&ok);
    if (!ok || !std::isfinite(number) || (type == ColumnType::Integer && !IsInteger(number)))
        RaiseMismatch(text, type);
    if (type == ColumnType::Integer)
        return static_cast<qint64>(number);
    return number;
}

Value Convert(const Value& value, ColumnType type)
{
    if (IsNull(value))
        return {};
    if (const auto* text = std::get_if<QString>(&value))
        return FromText(type, *text);
    if (type == ColumnType::Text)
        return ToText(value);
    if (const auto* integer = std::get_if<qint64>(&value)) {
        if (type == ColumnType::Integer)
            return value;
        if (type == ColumnType::Number)
            return static_cast<double>(*integer);
    } else if (const auto* number = std::get_if<double>(&value)) {
        if (type == ColumnType::Number && std::isfinite(*number))
            return value;
        if (type == ColumnType::Integer && IsInteger(*number))
            return static_cast<qint64>(*number);
    } else if (type == ColumnType::DateTime) {
        return value;
    }
    RaiseMismatch(ToText(value), type);
}

bool SameValue(const Value& a, const Value& b)
{
    if (a.index() == b.index())
        return a == b;
    const auto* integerA = std::get_if<qint64>(&a);
    const auto* integerB = std::get_if<qint64>(&b);
    const auto* numberA = std::get_if<double>(&a);
    const auto* numberB = std::get_if<double>(&b);
    // An integer beyond 2^53 equals a number only where the number stands for exactly it.
    const auto same = [](qint64 integer, double number) {
        return static_cast<double>(integer) == number
            && (std::fabs(number) < kExactIntegers
                || (number < kBeyondIntegers && static_cast<qint64>(number) == integer));
    };
    if (integerA != nullptr && numberB != nullptr)
        return same(*integerA, *numberB);
    if (numberA != nullptr && integerB != nullptr)
        return same(*integerB, *numberA);
    return false;
}

} // namespace wire

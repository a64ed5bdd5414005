#include "demo/Numbers.h"

#include <string_view>

namespace demo {
namespace {

// The weighted sum modulo 11, with the odd results for 0, 1 and 10 that the printed numbers carry.
QChar CheckDigit(QStringView digits, std::string_view weights)
{
    int sum = 0;
    for (std::size_t i = 0; i < weights.size(); ++i)
        sum += digits[static_cast<qsizetype>(i)].digitValue() * (weights[i] - '0');
    const int rest = sum % 11;
    const int check = rest == 0 ? 5 : rest == 1 ? 0 : rest == 10 ? 1 : 11 - rest;
    return QChar(u'0' + check);
}

} // namespace

QString Digits(qint64 value, int width)
{
    QString text(width, u'0');
    for (qsizetype i = width; i-- > 0 && value > 0; value /= 10)
        text[i] = QChar(static_cast<char16_t>(u'0' + value % 10));
    return text;
}

QString LongWaybill(qint64 elevenDigits)
{
    QString code = Digits(elevenDigits, 11);
    code += CheckDigit(QStringView(code).mid(2), "742536829");
    return code;
}

QString ShortWaybill(qint64 sevenDigits)
{
    QString code = Digits(sevenDigits, 7);
    code += CheckDigit(code, "7425368");
    return code;
}

QString CouponNumber(QStringView prefix, qint64 sevenDigits)
{
    const QString digits = Digits(sevenDigits, 7);
    return prefix.toString() + digits + CheckDigit(digits, "7425368");
}

} // namespace demo

#pragma once

#include <QString>

// Waybill and coupon numbers and their check digits.
namespace demo {

// A waybill number of twelve digits: eleven and the check digit over the third to the eleventh.
QString LongWaybill(qint64 elevenDigits);
// One of eight digits: seven and the check digit over all of them.
QString ShortWaybill(qint64 sevenDigits);
// Eleven characters: a prefix of three, seven digits and the check digit over those seven.
QString CouponNumber(QStringView prefix, qint64 sevenDigits);

// `value` in decimal, with leading zeros up to `width` digits.
QString Digits(qint64 value, int width);

} // namespace demo

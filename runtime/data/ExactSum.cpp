#include "runtime/data/ExactSum.h"

#include <charconv>
#include <cmath>

namespace {

constexpr qint64 kLimb = 1'000'000'000;
constexpr std::array<quint64, 9> kPowers{
    1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};
// Below this, millionths are exact in a double, and 4096 of them in 63 bits.
constexpr double kMostForMicros = 1e9;
constexpr int kMicrosBeforeFlush = 4096;

} // namespace

void ExactSum::AddInteger(qint64 value) noexcept
{
    const quint64 size = value < 0 ? 0 - static_cast<quint64>(value) : static_cast<quint64>(value);
    AddScaled(size, 0, value < 0);
}

void ExactSum::AddNumber(double value) noexcept
{
    if (std::fabs(value) < kMostForMicros) {
        // The quotient is the double nearest to that many millionths: equal means that is the number meant.
        const double micros = std::nearbyint(value * 1e6);
        if (micros / 1e6 == value) {
            micros_ += static_cast<qint64>(micros);
            if (++microCount_ == kMicrosBeforeFlush)
                Flush();
            return;
        }
    }
    if (!std::isfinite(value))
        return;
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
    AddText(QByteArrayView(text, end - text));
}

void ExactSum::AddText(QByteArrayView text) noexcept
{
    text = text.trimmed();
    const bool negative = text.startsWith('-');
    if (negative || text.startsWith('+'))
        text = text.sliced(1);
    quint64 digits = 0;
    int exponent = 0;
    bool point = false;
    bool any = false;
    qsizetype i = 0;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' && !point) {
            point = true;
        } else if (c >= '0' && c <= '9') {
            any = true;
            if (digits > 99'999'999'999'999'999ULL)
                return; // more digits than any number of the database has
            digits = digits * 10 + static_cast<quint64>(c - '0');
            exponent -= point ? 1 : 0;
        } else {
            break;
        }
    }
    if (!any)
        return;
    if (i < text.size()) {
        const bool plus = i + 1 < text.size() && text[i + 1] == '+';
        int shift = 0;
        const char* const first = text.data() + i + (plus ? 2 : 1);
        const char* const last = text.data() + text.size();
        if ((text[i] | 0x20) != 'e' || first >= last)
            return;
        const auto [end, error] = std::from_chars(first, last, shift);
        if (end != last || error != std::errc{} || std::abs(shift) > 320)
            return;
        exponent += shift;
    }
    AddScaled(digits, exponent, negative);
}

void ExactSum::AddScaled(quint64 digits, int exponent, bool negative) noexcept
{
    const int place = exponent - kLowest;
    if (digits == 0 || place < 0 || place / 9 + 3 >= kLimbs)
        return;
    auto limb = static_cast<size_t>(place / 9);
    const quint64 power = kPowers[static_cast<size_t>(place % 9)];
    // Up to 20 digits, shifted by up to 8: four limbs.
    quint64 carry = 0;
    while (digits != 0 || carry != 0) {
        const quint64 product = digits % kLimb * power + carry;
        const auto part = static_cast<qint64>(product % kLimb);
        limbs_[limb++] += negative ? -part : part;
        carry = product / kLimb;
        digits /= kLimb;
    }
}

void ExactSum::Flush() noexcept
{
    const quint64 size = micros_ < 0 ? 0 - static_cast<quint64>(micros_) : static_cast<quint64>(micros_);
    AddScaled(size, -6, micros_ < 0);
    micros_ = 0;
    microCount_ = 0;
}

QString ExactSum::ToText()
{
    Flush();
    std::array<qint64, kLimbs + 1> limbs{};
    const auto normalise = [&](qint64 sign) {
        qint64 carry = 0;
        for (size_t i = 0; i <= kLimbs; ++i) {
            const qint64 value = (i < kLimbs ? limbs_[i] * sign : 0) + carry;
            carry = value >= 0 ? value / kLimb : -((kLimb - 1 - value) / kLimb);
            limbs[i] = value - carry * kLimb;
        }
        return carry; // -1 when the sum is negative
    };
    const bool negative = normalise(1) < 0;
    if (negative)
        normalise(-1);

    QByteArray digits;
    for (size_t i = limbs.size(); i-- > 0;)
        digits += QByteArray::number(limbs[i]).rightJustified(9, '0');
    const qsizetype whole = digits.size() + kLowest;
    qsizetype first = 0;
    while (first < whole - 1 && digits[first] == '0')
        ++first;
    qsizetype last = digits.size();
    while (last > whole && digits[last - 1] == '0')
        --last;
    QByteArray text = digits.sliced(first, whole - first);
    if (last > whole)
        text += '.' + digits.sliced(whole, last - whole);
    return QString::fromLatin1(negative ? '-' + text : text);
}

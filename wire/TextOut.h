#pragma once

// Values as characters in a buffer, for those that write very many: the same characters that ToText() gives.

#include "wire/DateTime.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace wire {

// 00 to 99.
inline constexpr auto kTwoDigits = [] {
    std::array<char, 200> digits{};
    for (size_t i = 0; i < 100; ++i) {
        digits[2 * i] = static_cast<char>('0' + i / 10);
        digits[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return digits;
}();

inline char* PutTwoDigits(char* to, unsigned number) noexcept
{
    std::memcpy(to, kTwoDigits.data() + 2 * size_t(number), 2);
    return to + 2;
}

constexpr size_t kLongestInteger = 20; // characters

inline char* PutInteger(char* to, qint64 number) noexcept
{
    quint64 rest = number < 0 ? 0 - static_cast<quint64>(number) : static_cast<quint64>(number);
    char digits[kLongestInteger];
    char* const end = digits + sizeof digits;
    char* first = end;
    for (; rest >= 100; rest /= 100)
        PutTwoDigits(first -= 2, static_cast<unsigned>(rest % 100));
    if (rest >= 10)
        PutTwoDigits(first -= 2, static_cast<unsigned>(rest));
    else
        *--first = static_cast<char>('0' + rest);
    if (number < 0)
        *to++ = '-';
    return std::copy(first, end, to);
}

// A number (below 1e16, not negative) that has two decimals or fewer; nullptr where it has more. Amounts are
// such numbers, and to find that out takes a fraction of what the search for the shortest text does.
inline char* PutCents(char* to, double magnitude) noexcept
{
    // Adding and taking away 2^52 leaves whole numbers, halves to the even one; larger ones are whole.
    constexpr double kWhole = 4503599627370496.0;
    const double hundredfold = magnitude * 100;
    const double cents = hundredfold < kWhole ? hundredfold + kWhole - kWhole : hundredfold;
    if (cents / 100 != magnitude)
        return nullptr;
    const auto whole = static_cast<qint64>(cents);
    to = PutInteger(to, whole / 100);
    const auto rest = static_cast<unsigned>(whole % 100);
    if (rest == 0)
        return to;
    *to++ = '.';
    to = PutTwoDigits(to, rest);
    return rest % 10 == 0 ? to - 1 : to;
}

// "yyyy-mm-dd hh:mm:ss": the days of a list repeat, so their texts are kept.
class MomentTexts {
public:
    static constexpr size_t kSize = 19;

    char* Put(char* to, qint64 seconds)
    {
        qint64 day = seconds / kDay;
        auto rest = static_cast<int>(seconds % kDay);
        if (rest < 0) {
            rest += kDay;
            --day;
        }
        Known& known = days_[static_cast<size_t>(day) % kDays];
        if (known.day != day) {
            const QByteArray text = DateTime{day * kDay}.ToText().toLatin1();
            std::memcpy(known.text, text.constData(), kDayCharacters);
            known.day = day;
        }
        std::memcpy(to, known.text, kDayCharacters);
        const auto time = static_cast<unsigned>(rest);
        to = PutTwoDigits(to + kDayCharacters, time / 3600);
        *to++ = ':';
        to = PutTwoDigits(to, time / 60 % 60);
        *to++ = ':';
        return PutTwoDigits(to, time % 60);
    }

private:
    static constexpr qint64 kDay = 86'400;
    static constexpr size_t kDayCharacters = 11; // the blank included
    static constexpr size_t kDays = 64;

    struct Known {
        qint64 day = std::numeric_limits<qint64>::min();
        char text[kDayCharacters] = {};
    };
    std::array<Known, kDays> days_;
};

} // namespace wire

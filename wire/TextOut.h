#pragma once

// Values and texts as characters in a buffer, for those that write very many: values as ToText() gives them.

#include "wire/DateTime.h"

#include <QByteArrayView>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

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

// Below 10,000. Each character goes straight to its place: digits put down one by one and read again together
// would be waited for.
inline char* PutSmall(char* to, unsigned number) noexcept
{
    if (number >= 100) {
        const unsigned hundreds = number / 100;
        if (hundreds >= 10)
            to = PutTwoDigits(to, hundreds);
        else
            *to++ = static_cast<char>('0' + hundreds);
        return PutTwoDigits(to, number % 100);
    }
    if (number >= 10)
        return PutTwoDigits(to, number);
    *to++ = static_cast<char>('0' + number);
    return to;
}

constexpr size_t kLongestInteger = 20; // characters

inline char* PutInteger(char* to, qint64 number) noexcept
{
    quint64 rest = number < 0 ? 0 - static_cast<quint64>(number) : static_cast<quint64>(number);
    if (number < 0)
        *to++ = '-';
    if (rest < 10'000)
        return PutSmall(to, static_cast<unsigned>(rest));
    char digits[kLongestInteger];
    char* const end = digits + sizeof digits;
    char* first = end;
    for (; rest >= 100; rest /= 100)
        PutTwoDigits(first -= 2, static_cast<unsigned>(rest % 100));
    if (rest >= 10)
        PutTwoDigits(first -= 2, static_cast<unsigned>(rest));
    else
        *--first = static_cast<char>('0' + rest);
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
        const qint64 day = (seconds >= 0 ? seconds : seconds - kDay + 1) / kDay;
        const auto time = static_cast<unsigned>(seconds - day * kDay);
        Known& known = days_[static_cast<size_t>(day) % kDays];
        if (known.day != day) {
            const QByteArray text = DateTime{day * kDay}.ToText().toLatin1();
            std::memcpy(known.text, text.constData(), kDayCharacters);
            known.day = day;
        }
        std::memcpy(to, known.text, kDayCharacters);
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

// Characters one behind the other. Whoever adds makes room first.
class TextBuffer {
public:
    // May be written to behind the room asked for, too: texts are copied in pieces.
    static constexpr size_t kSpare = 32;

    // Room for so many more from `to` on, which is the end so far; what is there may move.
    char* Room(char* to, size_t bytes)
    {
        return bytes + kSpare <= static_cast<size_t>(bytes_.data() + bytes_.size() - to) ? to
                                                                                         : Grow(to, bytes);
    }
    const char* Begin() const { return bytes_.data(); }
    char* End() { return bytes_.data() + size_; }
    void SetEnd(const char* end) { size_ = static_cast<size_t>(end - bytes_.data()); }
    void Add(QByteArrayView text)
    {
        char* const to = Room(End(), static_cast<size_t>(text.size()));
        SetEnd(std::copy(text.begin(), text.end(), to));
    }
    QByteArrayView Bytes() const { return {bytes_.data(), static_cast<qsizetype>(size_)}; }
    size_t Size() const { return size_; }
    void Clear() { size_ = 0; } // keeps its room

private:
    char* Grow(char* to, size_t bytes)
    {
        const auto at = static_cast<size_t>(to - bytes_.data());
        bytes_.resize(std::max(bytes_.size() * 2, at + bytes + kSpare));
        return bytes_.data() + at;
    }

    std::vector<char> bytes_ = std::vector<char>(1024);
    size_t size_ = 0;
};

// Sixteen characters at once.
using Sixteen = signed char __attribute__((vector_size(16)));

// The first so many of sixteen.
inline Sixteen FirstOf(size_t count)
{
    static constexpr auto kMasks = [] {
        std::array<signed char, 32> masks{};
        for (size_t i = 0; i < 16; ++i)
            masks[i] = -1;
        return masks;
    }();
    Sixteen mask;
    std::memcpy(&mask, kMasks.data() + 16 - count, sizeof mask);
    return mask;
}

// Whether `special`, which marks characters of sixteen, marks one of the text. Of a shorter one sixteen are
// read.
template <typename Special> bool HoldsSpecial(const char* text, size_t size, const Special& special) noexcept
{
    Sixteen piece;
    std::memcpy(&piece, text, sizeof piece);
    Sixteen found = special(piece);
    if (size <= sizeof piece)
        found &= FirstOf(size);
    for (size_t at = sizeof piece; at < size; at += sizeof piece) {
        std::memcpy(&piece, text + std::min(at, size - sizeof piece), sizeof piece);
        found |= special(piece);
    }
    std::array<long long, 2> halves;
    static_assert(sizeof halves == sizeof found);
    std::memcpy(&halves, &found, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

// Copies the text to where 15 characters more have room than it has itself; of a short one sixteen are read.
// Gives its end there.
inline char* CopyText(char* to, const char* text, size_t size) noexcept
{
    Sixteen piece;
    std::memcpy(&piece, text, sizeof piece);
    std::memcpy(to, &piece, sizeof piece);
    for (size_t at = sizeof piece; at < size; at += sizeof piece) {
        const size_t place = std::min(at, size - sizeof piece);
        std::memcpy(&piece, text + place, sizeof piece);
        std::memcpy(to + place, &piece, sizeof piece);
    }
    return to + size;
}

// The same where the text holds nothing special; else nullptr. Up to `readable` memory may be read.
template <typename Special>
char* CopyPlain(
    char* to, const char* text, size_t size, const char* readable, const Special& special) noexcept
{
    char last[sizeof(Sixteen)] = {};
    if (size < sizeof last && static_cast<size_t>(readable - text) < sizeof last)
        text = static_cast<const char*>(std::memcpy(last, text, size));
    return HoldsSpecial(text, size, special) ? nullptr : CopyText(to, text, size);
}

} // namespace wire

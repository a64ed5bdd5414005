#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

// A sum of decimal numbers without rounding: each number counts as the shortest decimal text that reads back
// as it, so 0.1 ten times is 1.
class ExactSum {
public:
    void AddInteger(qint64 value) noexcept;
    // Infinities and what is no number count nothing.
    void AddNumber(double value) noexcept;
    // A decimal number in plain or exponent form; anything else counts nothing.
    void AddText(QByteArrayView text) noexcept;

    // Without trailing zeros; "0" when nothing was added.
    QString ToText();

private:
    void AddScaled(quint64 digits, int exponent, bool negative) noexcept;
    void Flush() noexcept;

    // Limb i counts 10^(9i + kLowest): enough for every double. Limbs carry only when read, which 9e9
    // additions cannot overflow.
    static constexpr int kLowest = -351;
    static constexpr int kLimbs = 76;
    std::array<qint64, kLimbs> limbs_{};
    // Millionths of numbers that are whole in them, the common case; moved to the limbs in time.
    qint64 micros_ = 0;
    int microCount_ = 0;
};

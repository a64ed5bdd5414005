#pragma once

#include <QString>

#include <optional>

// The formats of numbers, read and written as the company's database does.
namespace dialect {

// A number format of 9, 0, one point (. or d), groups (, or g) and fm.
class NumberMask {
public:
    // Raises wire::Error (Data).
    explicit NumberMask(const QString& mask);
    QString Write(double value) const; // # signs where it does not fit
    std::optional<double> Read(QStringView text) const;

    const QString& Whole() const noexcept { return whole_; }
    const QString& Fraction() const noexcept { return fraction_; }
    bool Fills() const noexcept { return fill_; }
    qsizetype Width() const noexcept; // of what is written, its sign included

private:
    QString whole_; // 9, 0 and commas before the point
    QString fraction_; // 9 and 0 after it
    bool fill_ = true; // blanks to the full width
};

// Without a format: plain digits, no zero before the point.
QString NumberText(double value);
std::optional<double> ReadNumber(QStringView text);
// Half away from zero, at `places` digits after the point, of the number as its 15 digits read.
double RoundNumber(double value, qint64 places);
double TruncateNumber(double value, qint64 places);

} // namespace dialect

#include "server/dialect/NumberFormats.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"
#include "wire/Error.h"

#include <charconv>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

// What ASCII digits and letters read as, for from_chars.
QByteArray Plain(QStringView text)
{
    return text.trimmed().toLatin1();
}

} // namespace

NumberMask::NumberMask(const QString& mask)
{
    if (mask.size() > kLongestMask)
        throw wire::Error(wire::ErrorKind::Data, texts::InvalidNumberMask(texts::Shortened(mask)));
    bool point = false;
    for (qsizetype at = 0; at < mask.size(); ++at) {
        const QChar part = mask[at].toLower();
        if (part == u'f' && at + 1 < mask.size() && mask[at + 1].toLower() == u'm') {
            fill_ = false;
            ++at;
        } else if (part == u'9' || part == u'0') {
            (point ? fraction_ : whole_) += part;
        } else if ((part == u',' || part == u'g') && !point) {
            whole_ += u',';
        } else if ((part == u'.' || part == u'd') && !point) {
            point = true;
        } else {
            throw wire::Error(wire::ErrorKind::Data, texts::InvalidNumberMask(mask));
        }
    }
}

qsizetype NumberMask::Width() const noexcept
{
    return whole_.size() + (fraction_.isEmpty() ? 0 : fraction_.size() + 1) + 1;
}

QString NumberMask::Write(double value) const
{
    const qsizetype places = fraction_.size();
    const QString plain =
        QString::number(std::abs(RoundNumber(value, places)), 'f', static_cast<int>(places));
    QString digits = plain.section(u'.', 0, 0);
    if (digits == u"0" && places > 0 && !whole_.contains(u'0'))
        digits.clear();
    if (digits.size() > whole_.size() - whole_.count(u','))
        return QString(Width(), u'#');
    QString text;
    qsizetype digit = digits.size();
    for (qsizetype at = whole_.size() - 1; at >= 0; --at) {
        const bool zeroAhead = QStringView(whole_).first(at + 1).contains(u'0');
        if (digit == 0 && !zeroAhead)
            break;
        if (whole_[at] == u',')
            text.prepend(u',');
        else
            text.prepend(digit > 0 ? digits[--digit] : QChar(u'0'));
    }
    if (places > 0) {
        QString fraction = plain.section(u'.', 1);
        while (!fill_ && !fraction.isEmpty() && fraction.back() == u'0'
            && fraction_[fraction.size() - 1] == u'9')
            fraction.chop(1);
        if (fraction.isEmpty() && text.isEmpty())
            text = u"0"_s;
        text += u'.' + fraction;
    }
    if (value < 0)
        text.prepend(u'-');
    return fill_ ? text.rightJustified(Width()) : text;
}

std::optional<double> NumberMask::Read(QStringView text) const
{
    QString plain = text.toString();
    plain.remove(u',');
    return ReadNumber(plain);
}

QString NumberText(double value)
{
    QString text = QString::number(value, 'g', 15);
    if (text.contains(u'e')) {
        text = QString::number(value, 'f', std::abs(value) < 1 ? 30 : 0);
        while (text.contains(u'.') && (text.back() == u'0' || text.back() == u'.'))
            text.chop(1);
    }
    if (text.startsWith(u"0."))
        text.remove(0, 1);
    else if (text.startsWith(u"-0."))
        text.remove(1, 1);
    return text == u"-0" ? u"0"_s : text;
}

std::optional<double> ReadNumber(QStringView text)
{
    QByteArray plain = Plain(text);
    if (plain.startsWith('+'))
        plain.remove(0, 1);
    double value = 0;
    const auto [end, error] = std::from_chars(plain.cbegin(), plain.cend(), value);
    if (plain.isEmpty() || error != std::errc() || end != plain.cend() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

namespace {

// The number in whole units of the place that counts, and the way back: the shift is undone by its inverse,
// so that whole powers of ten stay exact on both sides.
class Shifted {
public:
    Shifted(double value, qint64 places)
        : left_(places >= 0)
        , scale_(places == 0 ? 1.0 : std::pow(10.0, static_cast<double>(std::abs(places))))
        , units_(left_ ? value * scale_ : value / scale_)
    {
    }
    double Units() const noexcept { return units_; }
    double Back(double units) const noexcept { return left_ ? units / scale_ : units * scale_; }
    // As its 15 digits read. They lie within `kDigitsError` of the number, so where the next value at which
    // the result turns is farther away than that, nobody needs to write and read them.
    double Read(double toTurn) const
    {
        constexpr double kDigitsError = 1e-14; // half a unit of the 15th digit, doubled for good measure
        return toTurn > kDigitsError * std::abs(units_) ? units_
                                                        : QByteArray::number(units_, 'g', 15).toDouble();
    }

private:
    bool left_;
    double scale_;
    double units_;
};

double Fraction(double value)
{
    return std::abs(value) - std::floor(std::abs(value));
}

} // namespace

double RoundNumber(double value, qint64 places)
{
    if (!std::isfinite(value) || places > 15)
        return value;
    if (places < -308)
        return 0;
    const Shifted shifted(value, places);
    if (std::abs(shifted.Units()) >= 1e15)
        return value;
    return shifted.Back(std::round(shifted.Read(std::abs(Fraction(shifted.Units()) - 0.5))));
}

double TruncateNumber(double value, qint64 places)
{
    if (!std::isfinite(value) || places > 15)
        return value;
    if (places < -308)
        return 0;
    const Shifted shifted(value, places);
    if (std::abs(shifted.Units()) >= 1e15)
        return value;
    const double fraction = Fraction(shifted.Units());
    return shifted.Back(std::trunc(shifted.Read(std::min(fraction, 1 - fraction))));
}

} // namespace dialect

#include "runtime/controls/DateTimeText.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

QString TimePart(const QString& typed)
{
    static const QRegularExpression digits(u"^(\\d\\d)(\\d\\d)(\\d\\d)?$"_s);
    const QRegularExpressionMatch match = digits.match(typed);
    if (!match.hasMatch())
        return typed;
    return match.captured(1) + u':' + match.captured(2) + u':'
        + (match.captured(3).isEmpty() ? u"00"_s : match.captured(3));
}

} // namespace

std::optional<wire::DateTime> ReadDateTime(TDateTimeKind kind, const QString& text)
{
    const QString typed = text.normalized(QString::NormalizationForm_KC).simplified();
    if (kind == TDateTimeKind::Time)
        return wire::DateTime::Parse(u"1899-12-30 "_s + TimePart(typed));
    static const QRegularExpression form(
        u"^(?:(\\d{4})[-/.](\\d{1,2})[-/.](\\d{1,2})(?=[ "
        u"T]|$)|(\\d{4})年(\\d{1,2})月(\\d{1,2})日?|(\\d{4})(\\d\\d)(\\d\\d))"
        "[ T]?(.*)$"_s);
    const QRegularExpressionMatch match = form.match(typed);
    if (!match.hasMatch())
        return std::nullopt;
    QStringList parts = match.capturedTexts();
    parts.removeFirst();
    const QString time = TimePart(parts.takeLast());
    parts.removeAll(QString());
    const QString date = parts.join(u'-');
    return wire::DateTime::Parse(time.isEmpty() ? date : date + u' ' + time);
}

QString DateTimeText(TDateTimeKind kind, wire::DateTime value)
{
    return value.Format(DateTimeForm(kind).replace(u":mm"_s, u":nn"_s));
}

QString DateTimeForm(TDateTimeKind kind)
{
    switch (kind) {
    case TDateTimeKind::Date:
        return u"yyyy-mm-dd"_s;
    case TDateTimeKind::Time:
        return u"hh:mm:ss"_s;
    case TDateTimeKind::DateTime:
        break;
    }
    return u"yyyy-mm-dd hh:mm:ss"_s;
}

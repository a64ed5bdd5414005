#include "server/refusal/Secrets.h"

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr QStringView kMask = u"***";

// Any name that ends in one of these: `sslpassword` too.
constexpr QStringView kSecretNames[] = {u"password", u"passwd", u"pwd", u"passphrase", u"secret"};

bool IsSpace(QChar c)
{
    return c.isSpace();
}

bool IsQuote(QChar c)
{
    return c == u'\'' || c == u'"';
}

// Where the value that begins at `begin` ends.
qsizetype EndOfValue(QStringView text, qsizetype begin)
{
    if (begin == text.size())
        return begin;
    const QChar open = text[begin];
    const QChar close = open == u'{' ? QChar(u'}') : open;
    if (open == u'{' || IsQuote(open)) {
        for (qsizetype i = begin + 1; i < text.size(); ++i) {
            const bool doubled = text[i] == close && i + 1 < text.size() && text[i + 1] == close;
            if (doubled || (text[i] == u'\\' && open != u'{'))
                ++i;
            else if (text[i] == close)
                return i + 1;
        }
        return text.size();
    }
    // An ODBC string's values may hold spaces, and end at a semicolon.
    const bool semicolons = text.contains(u';');
    qsizetype end = begin;
    while (end < text.size() && text[end] != u';' && text[end] != u'&' && (semicolons || !IsSpace(text[end])))
        ++end;
    return end;
}

QString MaskValues(QStringView text)
{
    QString out;
    qsizetype done = 0;
    for (qsizetype at = text.indexOf(u'='); at >= 0; at = text.indexOf(u'=', std::max(at + 1, done))) {
        qsizetype nameEnd = at;
        while (nameEnd > done && IsSpace(text[nameEnd - 1]))
            --nameEnd;
        if (nameEnd > done && IsQuote(text[nameEnd - 1]))
            --nameEnd;
        const QStringView before = text.sliced(done, nameEnd - done);
        const bool secret = std::any_of(std::begin(kSecretNames), std::end(kSecretNames),
            [&](QStringView name) { return before.endsWith(name, Qt::CaseInsensitive); });
        if (!secret)
            continue;
        qsizetype begin = at + 1;
        while (begin < text.size() && IsSpace(text[begin]))
            ++begin;
        out += text.sliced(done, begin - done);
        out += kMask;
        done = EndOfValue(text, begin);
    }
    out += text.sliced(done);
    return out;
}

QString MaskUris(QStringView text)
{
    QString out;
    qsizetype done = 0;
    for (qsizetype at = text.indexOf(u"://"); at >= 0; at = text.indexOf(u"://", done)) {
        const qsizetype begin = at + 3;
        qsizetype end = begin;
        while (end < text.size() && !IsSpace(text[end]) && text[end] != u'"')
            ++end;
        const QStringView rest = text.sliced(begin, end - begin);
        const qsizetype colon = rest.indexOf(u':');
        // The last one: passwords are not always written as a URI wants them. A text that was cut in its
        // middle has none.
        const qsizetype sign = rest.lastIndexOf(u'@');
        out += text.sliced(done, begin - done);
        done = begin;
        if (colon >= 0 && sign > colon) {
            out += rest.first(colon + 1);
            out += kMask;
            done = begin + sign;
        }
    }
    out += text.sliced(done);
    return out;
}

} // namespace

QString MaskSecrets(QStringView text)
{
    // Nearly every text has neither.
    QString masked = text.contains(u"://") ? MaskUris(text) : text.toString();
    return masked.contains(u'=') ? MaskValues(masked) : masked;
}

} // namespace server

#include "server/monitoring/Log.h"

#include "server/refusal/Secrets.h"

#include <QDateTime>

#include <array>
#include <cstdio>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace server::monitoring {
namespace {

constexpr qsizetype kLongestValue = 500; // characters
// Secrets are looked for in this much of a value, which is more than is shown of it.
constexpr qsizetype kLongestLook = 8 * kLongestValue;

constexpr std::array<const char*, 5> kLevels{"debug", "info", "warn", "error", "off"};

void ToStandardError(std::string_view line)
{
    // One call a line, so that those of several processes on one terminal do not mix either.
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

// Ends a line, moves the cursor, or makes text read in another order than it stands.
bool IsHarmful(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x061c || (c >= 0x200b && c <= 0x200f)
        || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) || c == 0xfeff;
}

bool NeedsQuotes(QStringView text)
{
    return text.isEmpty() || std::any_of(text.begin(), text.end(), [](QChar c) {
        return c == u' ' || c == u'"' || c == u'=' || c == u'\\' || c == u'{' || IsHarmful(c.unicode());
    });
}

// Between double quotes; the escapes are JSON's.
QString Quoted(QStringView text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += u'"';
    for (const QChar c : text) {
        if (c == u'"' || c == u'\\')
            out += QString(u'\\') + c;
        else if (c == u'\n')
            out += u"\\n"_s;
        else if (c == u'\t')
            out += u"\\t"_s;
        else if (IsHarmful(c.unicode()))
            out += u"\\u%1"_s.arg(c.unicode(), 4, 16, QChar(u'0'));
        else
            out += c;
    }
    return out + u'"';
}

// As much of the text as is shown, without secrets.
QString Shown(QStringView text)
{
    QString shown = MaskSecrets(text.first(std::min(text.size(), kLongestLook)));
    if (shown.size() > kLongestValue) {
        shown.truncate(kLongestValue - (shown[kLongestValue - 1].isHighSurrogate() ? 1 : 0));
        shown += u'…';
    }
    return shown;
}

QString TimeNow()
{
    const QDateTime now = QDateTime::currentDateTime();
    return now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs);
}

class Line {
public:
    explicit Line(LogFormat format)
        : json_(format == LogFormat::Json)
    {
    }

    void Add(const char* key, QStringView text)
    {
        AddKey(key);
        if (json_ || NeedsQuotes(text))
            line_ += Quoted(text);
        else
            line_ += text;
    }
    void Add(const LogField& field)
    {
        if (const qint64* number = std::get_if<qint64>(&field.Content())) {
            AddKey(field.Key());
            line_ += QString::number(*number);
        } else if (const QStringView* text = std::get_if<QStringView>(&field.Content())) {
            Add(field.Key(), Shown(*text));
        } else {
            const auto utf8 = std::get<std::string_view>(field.Content());
            Add(field.Key(), Shown(QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()))));
        }
    }
    QByteArray Finish()
    {
        if (json_)
            line_ = u'{' + line_ + u'}';
        line_ += u'\n';
        return line_.toUtf8();
    }

private:
    void AddKey(const char* key)
    {
        if (!line_.isEmpty())
            line_ += json_ ? u", "_s : u" "_s;
        if (json_)
            line_ += u"\"%1\": "_s.arg(QLatin1StringView(key));
        else
            line_ += QLatin1StringView(key) + u'=';
    }

    QString line_;
    bool json_;
};

} // namespace

std::optional<LogLevel> ParseLogLevel(QStringView word) noexcept
{
    for (size_t i = 0; i < kLevels.size(); ++i) {
        if (word == QLatin1StringView(kLevels[i]))
            return static_cast<LogLevel>(i);
    }
    return std::nullopt;
}

std::optional<LogFormat> ParseLogFormat(QStringView word) noexcept
{
    if (word == "text"_L1)
        return LogFormat::Text;
    if (word == "json"_L1)
        return LogFormat::Json;
    return std::nullopt;
}

Log::Log(LogLevel level, LogFormat format, Sink sink)
    : level_(level)
    , format_(format)
    , sink_(sink ? std::move(sink) : Sink(ToStandardError))
{
}

Log::~Log()
{
    const std::lock_guard lock(mutex_);
    for (auto& [key, repeated] : repeated_)
        TellRepeated(repeated);
}

bool Log::MayWrite(const char* event, const char* reason)
{
    constexpr std::chrono::minutes kSpan(1);
    const auto now = std::chrono::steady_clock::now();
    if (now - lookedAt_ >= kSpan) {
        lookedAt_ = now;
        for (auto& [key, repeated] : repeated_) {
            if (now - repeated.since >= kSpan)
                TellRepeated(repeated);
        }
    }
    const std::string key = std::string(event) + ' ' + (reason != nullptr ? reason : "");
    Repeated& repeated = repeated_[key];
    if (repeated.event == nullptr || now - repeated.since >= kSpan) {
        TellRepeated(repeated);
        repeated = {event, reason, now, 0, 0};
    }
    if (repeated.written >= (reason != nullptr ? kMostRefusedAMinute : kMostAMinute)) {
        ++repeated.left;
        return false;
    }
    ++repeated.written;
    return true;
}

void Log::TellRepeated(Repeated& repeated)
{
    if (repeated.left == 0)
        return;
    Line line(format_);
    line.Add("time", TimeNow());
    line.Add("level", u"warn");
    line.Add("event", u"repeated");
    line.Add(LogField("of", repeated.event));
    if (repeated.reason != nullptr)
        line.Add(LogField("reason", repeated.reason));
    line.Add(LogField("times", std::exchange(repeated.left, 0)));
    const QByteArray utf8 = line.Finish();
    sink_({utf8.constData(), static_cast<size_t>(utf8.size())});
}

void Log::WriteLine(
    LogLevel level, const char* event, std::initializer_list<LogField> fields, const char* reason) noexcept
{
    try {
        if (level != LogLevel::Debug) {
            const std::lock_guard lock(mutex_);
            if (!MayWrite(event, reason))
                return;
        }
        Line line(format_);
        line.Add("time", TimeNow());
        line.Add("level", QLatin1StringView(kLevels[static_cast<size_t>(level)]).toString());
        line.Add("event", QLatin1StringView(event).toString());
        if (reason != nullptr)
            line.Add(LogField("reason", reason));
        for (const LogField& field : fields)
            line.Add(field);
        const QByteArray utf8 = line.Finish();
        const std::lock_guard lock(mutex_);
        sink_({utf8.constData(), static_cast<size_t>(utf8.size())});
    } catch (const std::exception&) {
        // A line that cannot be written must not take down the request that it tells of.
    }
}

} // namespace server::monitoring

#pragma once

#include <QStringView>

#include <chrono>
#include <concepts>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace server::monitoring {

enum class LogLevel : quint8 { Debug, Info, Warn, Error, Off };
enum class LogFormat : quint8 { Text, Json };

// "debug", "info", "warn", "error", "off"; nothing for any other word.
std::optional<LogLevel> ParseLogLevel(QStringView word) noexcept;
// "text" or "json"; nothing for any other word.
std::optional<LogFormat> ParseLogFormat(QStringView word) noexcept;

// One "key=value" of a line. Keeps no copy: lives no longer than the call that it is written for.
class LogField {
public:
    LogField(const char* key, QStringView text)
        : key_(key)
        , value_(text)
    {
    }
    LogField(const char* key, std::string_view utf8)
        : key_(key)
        , value_(utf8)
    {
    }
    LogField(const char* key, const char* utf8)
        : LogField(key, std::string_view(utf8))
    {
    }
    LogField(const char* key, std::integral auto number)
        : key_(key)
        , value_(static_cast<qint64>(number))
    {
    }
    LogField(const char* key, bool yes)
        : LogField(key, yes ? "yes" : "no")
    {
    }

    using Value = std::variant<QStringView, std::string_view, qint64>;
    const char* Key() const noexcept { return key_; }
    const Value& Content() const noexcept { return value_; }

private:
    const char* key_;
    Value value_;
};

// Structured lines for administrators, English, one an event:
//
//     time=2026-11-21T09:30:00.123+08:00 level=info event=login account=hefei1 peer=192.0.2.7:51034
//
// or the same as one JSON object. Whatever a value holds, it can neither end the line nor begin another
// field; long ones are cut; passwords inside connection strings are masked. What happens more often than
// kMostAMinute (a refusal for one reason: kMostRefusedAMinute) is counted from there on, and a line with
// event=repeated tells how often. Any thread may write.
class Log {
public:
    // Takes one whole line with its line end; called by one thread at a time.
    using Sink = std::function<void(std::string_view line)>;

    static constexpr int kMostAMinute = 600;
    static constexpr int kMostRefusedAMinute = 60;

    // Lines below `level` are dropped. An empty sink is standard error.
    explicit Log(LogLevel level = LogLevel::Off, LogFormat format = LogFormat::Text, Sink sink = {});
    // Tells what was only counted.
    ~Log();
    Q_DISABLE_COPY(Log)

    // To be asked before fields are made with much effort.
    bool Wants(LogLevel level) const noexcept { return level >= level_ && level_ != LogLevel::Off; }

    // `event`: a word or two with underscores. Fields cost nothing where the level is off.
    void Write(LogLevel level, const char* event, std::initializer_list<LogField> fields = {}) noexcept
    {
        if (Wants(level))
            WriteLine(level, event, fields);
    }
    void Debug(const char* event, std::initializer_list<LogField> fields = {}) noexcept
    {
        Write(LogLevel::Debug, event, fields);
    }
    void Info(const char* event, std::initializer_list<LogField> fields = {}) noexcept
    {
        Write(LogLevel::Info, event, fields);
    }
    void Warn(const char* event, std::initializer_list<LogField> fields = {}) noexcept
    {
        Write(LogLevel::Warn, event, fields);
    }
    void Error(const char* event, std::initializer_list<LogField> fields = {}) noexcept
    {
        Write(LogLevel::Error, event, fields);
    }

    // A warning "refused" that begins with the reason.
    void Refused(const char* reason, std::initializer_list<LogField> fields) noexcept
    {
        if (Wants(LogLevel::Warn))
            WriteLine(LogLevel::Warn, "refused", fields, reason);
    }

private:
    void WriteLine(LogLevel level, const char* event, std::initializer_list<LogField> fields,
        const char* reason = nullptr) noexcept;

    // What was written of one event in the minute that began at `since`.
    struct Repeated {
        const char* event = nullptr;
        const char* reason = nullptr;
        std::chrono::steady_clock::time_point since;
        int written = 0;
        qint64 left = 0; // only counted
    };
    // False: it is only counted. Under the mutex.
    bool MayWrite(const char* event, const char* reason);
    void TellRepeated(Repeated& repeated);

    const LogLevel level_;
    const LogFormat format_;
    const Sink sink_;
    std::mutex mutex_; // of what follows and of the sink
    std::map<std::string, Repeated, std::less<>> repeated_; // by event and reason
    std::chrono::steady_clock::time_point lookedAt_;
};

} // namespace server::monitoring

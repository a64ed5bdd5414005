#include "server/dialect/SqliteFunctions.h"

#include "server/dialect/DateFormats.h"
#include "server/dialect/LikePattern.h"
#include "server/dialect/Limits.h"
#include "server/dialect/NumberFormats.h"
#include "server/dialect/Refusals.h"
#include "wire/Error.h"

#include <QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <set>
#include <string_view>

// Every function gives null where an argument is null, as in the company's database, unless said otherwise,
// and never an empty text.
namespace dialect {
namespace {

using Context = sqlite3_context*;
using Arguments = sqlite3_value**;

std::string_view Bytes(sqlite3_value* value)
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return bytes ? std::string_view(bytes, static_cast<size_t>(sqlite3_value_bytes(value)))
                 : std::string_view();
}

QString Text(sqlite3_value* value)
{
    const std::string_view bytes = Bytes(value);
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

bool IsNull(sqlite3_value* value)
{
    return sqlite3_value_type(value) == SQLITE_NULL;
}

bool AnyNull(int count, Arguments arguments)
{
    for (int i = 0; i < count; ++i) {
        if (IsNull(arguments[i]))
            return true;
    }
    return false;
}

void Give(Context context, std::string_view text)
{
    if (text.empty())
        sqlite3_result_null(context);
    else
        sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Give(Context context, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    Give(context, std::string_view(utf8.constData(), static_cast<size_t>(utf8.size())));
}

// A whole number as an integer, so that text made of it has no ".0".
void Give(Context context, double number)
{
    constexpr double kExact = 9007199254740992.0;
    if (std::isfinite(number) && std::trunc(number) == number && std::abs(number) < kExact)
        sqlite3_result_int64(context, static_cast<qint64>(number));
    else
        sqlite3_result_double(context, number);
}

void Give(Context context, wire::DateTime date)
{
    sqlite3_result_int64(context, date.seconds);
}

void Fail(Context context, const QString& message)
{
    const QByteArray utf8 = (message + u'！').toUtf8();
    sqlite3_result_error(context, utf8.constData(), static_cast<int>(utf8.size()));
    sqlite3_result_error_code(context, kDataErrorCode);
}

struct Interrupted { };

// Before a call that works on so many bytes.
void CountWork(Context context, size_t bytes)
{
    constexpr size_t kBytesALook = 1 << 20;
    auto* const watch = static_cast<FunctionWatch*>(sqlite3_user_data(context));
    if (!watch || (watch->bytes += bytes) < kBytesALook)
        return;
    watch->bytes = 0;
    if (watch->shouldStop && watch->shouldStop())
        throw Interrupted();
}

void RequireShort(size_t bytes)
{
    if (bytes > kLongestBuiltText)
        throw wire::Error(wire::ErrorKind::Data, texts::BuiltTextTooLong(kLongestBuiltText));
}

wire::DateTime Date(sqlite3_value* value)
{
    return {sqlite3_value_int64(value)};
}

// The parsed form of a constant argument, made once for a statement.
template <typename T> const T* Parsed(Context context, Arguments arguments, int argument)
{
    if (auto* kept = static_cast<const T*>(sqlite3_get_auxdata(context, argument)))
        return kept;
    auto made = std::make_unique<T>(T(Text(arguments[argument])));
    const auto destroy = [](void* data) { delete static_cast<T*>(data); };
    sqlite3_set_auxdata(context, argument, made.release(), destroy);
    const auto* kept = static_cast<const T*>(sqlite3_get_auxdata(context, argument));
    if (!kept)
        throw std::bad_alloc(); // SQLite drops what it has no memory to keep
    return kept;
}

// UTF-8: the byte at which character `count` after `from` begins.
size_t Forward(std::string_view text, size_t from, qint64 count)
{
    size_t at = from;
    for (; count > 0 && at < text.size(); --count) {
        ++at;
        while (at < text.size() && (text[at] & 0xC0) == 0x80)
            ++at;
    }
    return count > 0 ? text.size() : at;
}

// Bytes of a part that is looked for as fast as the text is read.
constexpr size_t kCheapPart = 64;

qint64 Characters(std::string_view text)
{
    return std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
}

// ora_substr(text, position[, length]): 1 and 0 are the first character, negative positions count from the
// end.
void Substr(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const std::string_view text = Bytes(arguments[0]);
    const auto whole = [&](int i) {
        return static_cast<qint64>(std::trunc(sqlite3_value_double(arguments[i])));
    };
    qint64 position = whole(1);
    const qint64 length = count > 2 ? whole(2) : static_cast<qint64>(text.size());
    if (position < 0) {
        position += Characters(text);
        if (position < 0)
            return;
    } else if (position > 0) {
        --position;
    }
    if (length < 1)
        return;
    const size_t start = Forward(text, 0, position);
    Give(context, text.substr(start, Forward(text, start, length) - start));
}

// ora_instr(text, part[, position[, occurrence]]); a negative position searches backwards from there.
void Instr(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const size_t partBytes = Bytes(arguments[1]).size();
    // The search may compare the part anew at every place.
    CountWork(
        context, Bytes(arguments[0]).size() * std::min<size_t>(partBytes, kLongestBuiltText) / kCheapPart);
    if (count == 2) {
        const std::string_view text = Bytes(arguments[0]);
        const size_t found = text.find(Bytes(arguments[1]));
        const bool none = found == std::string_view::npos;
        sqlite3_result_int64(context, none ? 0 : Characters(text.substr(0, found)) + 1);
        return;
    }
    const std::u32string text = Text(arguments[0]).toStdU32String();
    const std::u32string part = Text(arguments[1]).toStdU32String();
    const qint64 position = sqlite3_value_int64(arguments[2]);
    qint64 occurrence = count > 3 ? sqlite3_value_int64(arguments[3]) : 1;
    const auto size = static_cast<qint64>(text.size());
    size_t found = std::u32string::npos;
    if (occurrence >= 1 && position > 0 && position <= size) {
        found = text.find(part, static_cast<size_t>(position) - 1);
        while (found != std::u32string::npos && --occurrence > 0)
            found = text.find(part, found + 1);
    } else if (occurrence >= 1 && position < 0 && position + size >= 0) {
        found = text.rfind(part, static_cast<size_t>(position + size));
        while (found != std::u32string::npos && --occurrence > 0)
            found = found == 0 ? std::u32string::npos : text.rfind(part, found - 1);
    }
    sqlite3_result_int64(context, found == std::u32string::npos ? 0 : static_cast<qint64>(found) + 1);
}

void Upper(Context context, int, Arguments arguments)
{
    if (!IsNull(arguments[0]))
        Give(context, Text(arguments[0]).toUpper());
}

void Lower(Context context, int, Arguments arguments)
{
    if (!IsNull(arguments[0]))
        Give(context, Text(arguments[0]).toLower());
}

// ora_replace(text, part[, by]): nothing is replaced when `part` is null; null for `by` takes the part out.
void Replace(Context context, int count, Arguments arguments)
{
    if (IsNull(arguments[0]))
        return;
    const std::string_view text = Bytes(arguments[0]);
    const std::string_view part = Bytes(arguments[1]);
    const std::string_view by = count > 2 ? Bytes(arguments[2]) : std::string_view();
    CountWork(context, text.size() * std::min(part.size(), kLongestBuiltText) / kCheapPart); // as in a search
    std::string result;
    size_t from = 0;
    while (!part.empty()) {
        const size_t at = text.find(part, from);
        if (at == std::string_view::npos)
            break;
        result.append(text.substr(from, at - from)).append(by);
        from = at + part.size();
        RequireShort(result.size());
    }
    result.append(text.substr(from));
    if (from > 0)
        RequireShort(result.size());
    Give(context, result);
}

// ora_built(text): the text, unless it is too long for one that an expression builds.
void Built(Context context, int, Arguments arguments)
{
    if (IsNull(arguments[0]))
        return;
    RequireShort(Bytes(arguments[0]).size());
    sqlite3_result_value(context, arguments[0]);
}

// ora_trim, ora_ltrim and ora_rtrim(text, characters)
template <bool Left, bool Right> void Trim(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const std::string_view text = Bytes(arguments[0]);
    const std::string_view set = Bytes(arguments[1]);
    std::set<std::string_view> characters;
    for (size_t at = 0; at < set.size();) {
        const size_t next = Forward(set, at, 1);
        characters.insert(set.substr(at, next - at));
        at = next;
    }
    size_t begin = 0;
    size_t end = text.size();
    while (Left && begin < end) {
        const size_t next = Forward(text, begin, 1);
        if (!characters.contains(text.substr(begin, next - begin)))
            break;
        begin = next;
    }
    while (Right && begin < end) {
        size_t last = end - 1;
        while (last > begin && (text[last] & 0xC0) == 0x80)
            --last;
        if (!characters.contains(text.substr(last, end - last)))
            break;
        end = last;
    }
    Give(context, text.substr(begin, end - begin));
}

// ora_lpad and ora_rpad(text, length[, filling])
template <bool Left> void Pad(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    std::u32string text = Text(arguments[0]).toStdU32String();
    const std::u32string filling = count > 2 ? Text(arguments[2]).toStdU32String() : U" ";
    const auto length =
        static_cast<size_t>(std::clamp<qint64>(sqlite3_value_int64(arguments[1]), 0, kLongestPadded));
    std::u32string padding;
    while (text.size() + padding.size() < length)
        padding += filling[padding.size() % filling.size()];
    text = Left ? padding + text : text + padding;
    Give(context, QString::fromStdU32String(text.substr(0, length)));
}

// ora_like(text, pattern[, escape])
void Like(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const auto match = [&](const LikePattern& pattern) {
        const std::string_view text = Bytes(arguments[0]);
        CountWork(context, text.size() * pattern.StepsAByte());
        sqlite3_result_int(context, pattern.Matches(text));
    };
    if (count == 2)
        return match(*Parsed<LikePattern>(context, arguments, 1));
    const QString escape = Text(arguments[2]);
    match(LikePattern(Text(arguments[1]), escape.isEmpty() ? QChar() : escape.front()));
}

// The texts that match a pattern lie from its plain beginning up to, not including, the next such beginning.
template <bool High> void LikeBound(Context context, int, Arguments arguments)
{
    if (IsNull(arguments[0]))
        return;
    std::string prefix(Bytes(arguments[0]));
    prefix.resize(std::min(prefix.find_first_of("%_"), prefix.size()));
    if (prefix.empty() && High)
        prefix = "\xff";
    else if (High)
        ++prefix.back();
    // A bound, not a value: it may be empty, and no valid UTF-8.
    sqlite3_result_text64(context, prefix.data(), prefix.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

qint64 Places(int count, Arguments arguments)
{
    return count > 1 ? sqlite3_value_int64(arguments[1]) : 0;
}

void RoundFunction(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, RoundNumber(sqlite3_value_double(arguments[0]), Places(count, arguments)));
}

void TruncFunction(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, TruncateNumber(sqlite3_value_double(arguments[0]), Places(count, arguments)));
}

// mod(a, 0) is a; the sign is that of a.
void Mod(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const double value = sqlite3_value_double(arguments[0]);
    const double divisor = sqlite3_value_double(arguments[1]);
    Give(context, divisor == 0 ? value : std::fmod(value, divisor));
}

void Divide(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const double divisor = sqlite3_value_double(arguments[1]);
    if (divisor == 0)
        Fail(context, texts::DivideByZero());
    else
        Give(context, sqlite3_value_double(arguments[0]) / divisor);
}

void Sign(Context context, int, Arguments arguments)
{
    if (IsNull(arguments[0]))
        return;
    const double value = sqlite3_value_double(arguments[0]);
    sqlite3_result_int(context, value > 0 ? 1 : value < 0 ? -1 : 0);
}

void Ceil(Context context, int, Arguments arguments)
{
    if (!IsNull(arguments[0]))
        Give(context, std::ceil(sqlite3_value_double(arguments[0])));
}

void Floor(Context context, int, Arguments arguments)
{
    if (!IsNull(arguments[0]))
        Give(context, std::floor(sqlite3_value_double(arguments[0])));
}

void Power(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, std::pow(sqlite3_value_double(arguments[0]), sqlite3_value_double(arguments[1])));
}

void AddMonthsFunction(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, AddMonths(Date(arguments[0]), static_cast<qint64>(sqlite3_value_double(arguments[1]))));
}

void LastDayFunction(Context context, int, Arguments arguments)
{
    if (!IsNull(arguments[0]))
        Give(context, LastDay(Date(arguments[0])));
}

void MonthsBetweenFunction(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, MonthsBetween(Date(arguments[0]), Date(arguments[1])));
}

// ora_trunc_date and ora_round_date(date, unit)
template <bool Rounded> void CutDate(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const DateUnit unit = DateUnitOf(Text(arguments[1]));
    Give(context, Rounded ? Round(Date(arguments[0]), unit) : Truncate(Date(arguments[0]), unit));
}

void ToDate(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const QString text = Text(arguments[0]);
    if (const auto date = Parsed<DateMask>(context, arguments, 1)->Read(text))
        Give(context, *date);
    else
        Fail(context, texts::InvalidDate(text, Parsed<DateMask>(context, arguments, 1)->Text()));
}

void DateText(Context context, int count, Arguments arguments)
{
    if (!AnyNull(count, arguments))
        Give(context, Parsed<DateMask>(context, arguments, 1)->Write(Date(arguments[0])));
}

void NumberTextFunction(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const double value = sqlite3_value_double(arguments[0]);
    Give(context, count > 1 ? Parsed<NumberMask>(context, arguments, 1)->Write(value) : NumberText(value));
}

void ToNumber(Context context, int count, Arguments arguments)
{
    if (AnyNull(count, arguments))
        return;
    const QString text = Text(arguments[0]);
    const auto value = count > 1 ? Parsed<NumberMask>(context, arguments, 1)->Read(text) : ReadNumber(text);
    if (value)
        Give(context, *value);
    else
        Fail(context, texts::InvalidNumber(text));
}

// ora_path(path, row): the path one row longer; an error when the row is on it already.
void Path(Context context, int, Arguments arguments)
{
    const qint64 row = sqlite3_value_int64(arguments[1]);
    const auto size = static_cast<size_t>(sqlite3_value_bytes(arguments[0]));
    const auto* rows = static_cast<const char*>(sqlite3_value_blob(arguments[0]));
    std::string path(rows ? rows : "", rows ? size : 0);
    for (size_t at = 0; at < path.size(); at += sizeof(row)) {
        if (std::memcmp(path.data() + at, &row, sizeof(row)) == 0)
            return Fail(context, texts::ConnectByLoop());
    }
    if (path.size() > kLongestBuiltText)
        return Fail(context, texts::ConnectByTooDeep());
    path.append(reinterpret_cast<const char*>(&row), sizeof(row));
    sqlite3_result_blob64(context, path.data(), path.size(), SQLITE_TRANSIENT);
}

// ora_single(value): the value of the only row, null of none; an error for a second row.
void SingleStep(Context context, int, Arguments arguments)
{
    auto** kept = static_cast<sqlite3_value**>(sqlite3_aggregate_context(context, sizeof(sqlite3_value*)));
    if (!kept)
        return sqlite3_result_error_nomem(context);
    if (*kept)
        return Fail(context, texts::NotOneRow());
    *kept = sqlite3_value_dup(arguments[0]);
}

void SingleFinal(Context context)
{
    auto** kept = static_cast<sqlite3_value**>(sqlite3_aggregate_context(context, 0));
    if (!kept || !*kept)
        return;
    sqlite3_result_value(context, *kept);
    sqlite3_value_free(*kept);
}

using FunctionPointer = void (*)(Context, int, Arguments);

// No exception crosses SQLite's C code.
template <FunctionPointer Body> void Guarded(Context context, int count, Arguments arguments)
{
    try {
        size_t bytes = 0;
        for (int i = 0; i < count; ++i) {
            const int type = sqlite3_value_type(arguments[i]);
            if (type == SQLITE_TEXT || type == SQLITE_BLOB)
                bytes += static_cast<size_t>(sqlite3_value_bytes(arguments[i]));
        }
        CountWork(context, bytes);
        Body(context, count, arguments);
    } catch (const Interrupted&) {
        sqlite3_result_error(context, "interrupted", -1);
        sqlite3_result_error_code(context, SQLITE_INTERRUPT);
    } catch (const wire::Error& error) {
        Fail(context, error.Message());
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

struct Registration {
    const char* name;
    int arguments;
    FunctionPointer function;
};

constexpr std::array kFunctions{
    Registration{"ora_substr", 2, Guarded<Substr>},
    Registration{"ora_substr", 3, Guarded<Substr>},
    Registration{"ora_instr", 2, Guarded<Instr>},
    Registration{"ora_instr", 3, Guarded<Instr>},
    Registration{"ora_instr", 4, Guarded<Instr>},
    Registration{"ora_upper", 1, Guarded<Upper>},
    Registration{"ora_lower", 1, Guarded<Lower>},
    Registration{"ora_replace", 2, Guarded<Replace>},
    Registration{"ora_replace", 3, Guarded<Replace>},
    Registration{"ora_built", 1, Guarded<Built>},
    Registration{"ora_trim", 2, Guarded<Trim<true, true>>},
    Registration{"ora_ltrim", 2, Guarded<Trim<true, false>>},
    Registration{"ora_rtrim", 2, Guarded<Trim<false, true>>},
    Registration{"ora_lpad", 2, Guarded<Pad<true>>},
    Registration{"ora_lpad", 3, Guarded<Pad<true>>},
    Registration{"ora_rpad", 2, Guarded<Pad<false>>},
    Registration{"ora_rpad", 3, Guarded<Pad<false>>},
    Registration{"ora_like", 2, Guarded<Like>},
    Registration{"ora_like", 3, Guarded<Like>},
    Registration{"ora_like_low", 1, Guarded<LikeBound<false>>},
    Registration{"ora_like_high", 1, Guarded<LikeBound<true>>},
    Registration{"ora_round", 1, Guarded<RoundFunction>},
    Registration{"ora_round", 2, Guarded<RoundFunction>},
    Registration{"ora_trunc", 1, Guarded<TruncFunction>},
    Registration{"ora_trunc", 2, Guarded<TruncFunction>},
    Registration{"ora_mod", 2, Guarded<Mod>},
    Registration{"ora_divide", 2, Guarded<Divide>},
    Registration{"ora_sign", 1, Guarded<Sign>},
    Registration{"ora_ceil", 1, Guarded<Ceil>},
    Registration{"ora_floor", 1, Guarded<Floor>},
    Registration{"ora_power", 2, Guarded<Power>},
    Registration{"ora_add_months", 2, Guarded<AddMonthsFunction>},
    Registration{"ora_last_day", 1, Guarded<LastDayFunction>},
    Registration{"ora_months_between", 2, Guarded<MonthsBetweenFunction>},
    Registration{"ora_trunc_date", 2, Guarded<CutDate<false>>},
    Registration{"ora_round_date", 2, Guarded<CutDate<true>>},
    Registration{"ora_to_date", 2, Guarded<ToDate>},
    Registration{"ora_date_text", 2, Guarded<DateText>},
    Registration{"ora_number_text", 1, Guarded<NumberTextFunction>},
    Registration{"ora_number_text", 2, Guarded<NumberTextFunction>},
    Registration{"ora_to_number", 1, Guarded<ToNumber>},
    Registration{"ora_to_number", 2, Guarded<ToNumber>},
    Registration{"ora_path", 2, Guarded<Path>},
};

} // namespace

int RegisterFunctions(sqlite3* database, FunctionWatch* watch)
{
    constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    for (const Registration& registration : kFunctions) {
        const int code = sqlite3_create_function_v2(database, registration.name, registration.arguments,
            kFlags, watch, registration.function, nullptr, nullptr, nullptr);
        if (code != SQLITE_OK)
            return code;
    }
    return sqlite3_create_function_v2(database, "ora_single", 1, SQLITE_UTF8 | SQLITE_INNOCUOUS, watch,
        nullptr, Guarded<SingleStep>, SingleFinal, nullptr);
}

} // namespace dialect

#include "server/storage/odbc/OdbcFault.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/Connection.h"
#include "server/storage/odbc/OdbcApi.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

using Kind = Fault::Kind;

// Oracle reports most things under the state for "anything", so its own numbers decide.
Fault OfOracle(int native)
{
    static constexpr std::array kLost{28, 1012, 1033, 1034, 1089, 1090, 1092, 2396, 3113, 3114, 3135, 12153,
        12170, 12203, 12500, 12514, 12516, 12518, 12519, 12520, 12528, 12535, 12537, 12541, 12543, 12545,
        12547, 12560, 12570, 12571, 25408};
    static constexpr std::array kConflict{54, 60, 8177, 30006};
    static constexpr std::array kFull{257, 1536, 1552, 1652, 1653, 1654, 1655, 1658, 19809, 30036};
    static constexpr std::array kIntegrity{1, 1400, 1407, 2290, 2291, 2292};
    static constexpr std::array kValue{1401, 1438, 1722, 1830, 1839, 1843, 1858, 1861, 4091, 12899};
    const auto in = [native](
                        const auto& numbers) { return std::ranges::find(numbers, native) != numbers.end(); };
    if (in(kLost))
        return {Kind::Lost};
    if (in(kConflict))
        return {Kind::Conflict};
    if (in(kFull))
        return {Kind::Full};
    if (in(kIntegrity))
        return {Kind::Row, true};
    // From 20000 on: raised by the company's own triggers.
    if (in(kValue) || (native >= 20000 && native <= 20999))
        return {Kind::Row};
    return native == 1013 ? Fault{Kind::Stopped} : Fault{};
}

Fault OfSqlite(int native)
{
    switch (native & 0xff) {
    case 5: // busy
    case 6: // locked
        return {Kind::Conflict};
    case 9: // interrupted
        return {Kind::Stopped};
    case 13: // full
        return {Kind::Full};
    case 19: // constraint
        return {Kind::Row, true};
    default:
        return {};
    }
}

Fault OfState(const QByteArray& state)
{
    const QByteArray family = state.first(std::min<qsizetype>(state.size(), 2));
    // 40003: a commit of which nobody knows whether it was one.
    if (family == "08" || state == "40003" || state == "57P01" || state == "57P02" || state == "57P03"
        || state == "HYT01")
        return {Kind::Lost};
    // By the next attempt the lock may be free.
    if (family == "40" || state == "55P03")
        return {Kind::Conflict};
    if (family == "23")
        return {Kind::Row, true};
    if (family == "22" || family == "44" || family == "P0")
        return {Kind::Row};
    if (state == "57014" || state == "HY008" || state == "HYT00")
        return {Kind::Stopped};
    if (family == "53" || family == "58")
        return {Kind::Full};
    return {};
}

} // namespace

Fault Classify(Product product, const QByteArray& state, int native, const QString& message)
{
    Fault fault = OfState(state);
    if (fault.kind == Kind::Statement && product == Product::Oracle)
        fault = OfOracle(native);
    else if (fault.kind == Kind::Statement && product == Product::Sqlite)
        fault = OfSqlite(native);
    // The "[vendor][driver]" in front helps nobody.
    static const QRegularExpression sources(u"^(\\[[^\\]]*\\])+\\s*"_s);
    fault.message = QString(message).remove(sources).trimmed();
    return fault;
}

Fault ReadFault(Product product, qint16 handleType, void* handle, const QSqlError& error)
{
    std::array<SQLCHAR, SQL_SQLSTATE_SIZE + 1> state{};
    SQLINTEGER native = 0;
    if (handle != nullptr)
        SQLGetDiagRec(handleType, handle, 1, state.data(), &native, nullptr, 0, nullptr);
    return Classify(product, reinterpret_cast<const char*>(state.data()), native, error.databaseText());
}

void Raise(const Fault& fault, const QString& sql)
{
    namespace texts = server::texts;
    using wire::ErrorKind;
    const auto with = [&fault](const QString& text) { return u"%1（%2）"_s.arg(text, fault.message); };
    switch (fault.kind) {
    case Kind::Lost:
        throw TryAgain(TryAgain::Cause::Lost, ErrorKind::Storage, with(texts::DatabaseConnectionLost()));
    case Kind::Conflict:
        throw TryAgain(TryAgain::Cause::Conflict, ErrorKind::Storage, with(texts::Busy()));
    case Kind::Stopped:
        throw wire::Error(ErrorKind::Limit, texts::Interrupted(), sql);
    case Kind::Full:
        throw wire::Error(ErrorKind::Storage, with(texts::DiskFull()), sql);
    case Kind::Row:
        throw wire::Error(
            ErrorKind::Data, with(fault.integrity ? texts::ConstraintBroken() : texts::DatabaseError()), sql);
    case Kind::Statement:
        break;
    }
    throw wire::Error(ErrorKind::Data, with(texts::DatabaseError()), sql);
}

} // namespace storage::odbc

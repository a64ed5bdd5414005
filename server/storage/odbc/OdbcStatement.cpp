#include "server/storage/odbc/OdbcStatement.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/odbc/OdbcApi.h"
#include "server/storage/odbc/OdbcDatabase.h"
#include "wire/Error.h"

#include <QDateTime>
#include <QSqlField>
#include <QSqlRecord>
#include <QSqlResult>
#include <QTimeZone>

#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;
using wire::ColumnType;

namespace storage::odbc {
namespace {

// A second limit behind the server's own, whose message says more.
constexpr SQLULEN kSecondsBehind = 5;

[[noreturn]] void RaiseUnreadable(const QVariant& cell)
{
    throw wire::Error(wire::ErrorKind::Data, server::texts::UnreadableCell(cell.toString()));
}

qint64 ToInteger(const QVariant& cell)
{
    bool valid = false;
    switch (cell.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Bool:
    case QMetaType::Short:
    case QMetaType::UInt:
        return cell.toLongLong();
    case QMetaType::QString:
        if (const qint64 whole = cell.toString().trimmed().toLongLong(&valid); valid)
            return whole;
        break;
    default:
        break;
    }
    const double number = cell.toDouble(&valid);
    if (!valid || std::abs(number) >= 9.2e18)
        RaiseUnreadable(cell);
    return std::llround(number);
}

double ToNumber(const QVariant& cell)
{
    bool valid = false;
    const double number = cell.toDouble(&valid);
    if (!valid)
        RaiseUnreadable(cell);
    return number;
}

wire::DateTime ToDateTime(const QVariant& cell)
{
    if (cell.typeId() == QMetaType::QString || cell.typeId() == QMetaType::QByteArray) {
        // What a driver cannot type comes as text, with fractions of a second.
        if (const auto parsed = wire::DateTime::Parse(cell.toString().section(u'.', 0, 0)))
            return *parsed;
        RaiseUnreadable(cell);
    }
    // Date and time one by one: as a moment in this machine's zone some of them do not exist.
    const QDateTime moment = cell.toDateTime();
    const QDate date = moment.date();
    const QTime time = moment.time();
    if (!date.isValid() || !time.isValid())
        RaiseUnreadable(cell);
    return wire::DateTime::FromParts(
        date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second());
}

// An expression that the dialect types as text may have another type for the driver.
QString ToText(const QVariant& cell)
{
    return cell.typeId() == QMetaType::QDateTime ? ToDateTime(cell).ToText() : cell.toString();
}

QVariant FromDateTime(wire::DateTime value)
{
    return QDateTime::fromSecsSinceEpoch(value.seconds, Qt::UTC);
}

QMetaType MetaTypeOf(ColumnType type)
{
    switch (type) {
    case ColumnType::Integer:
        return QMetaType::fromType<qlonglong>();
    case ColumnType::Number:
        return QMetaType::fromType<double>();
    case ColumnType::DateTime:
        return QMetaType::fromType<QDateTime>();
    case ColumnType::Text:
        break;
    }
    return QMetaType::fromType<QString>();
}

} // namespace

Statement::Statement(Database& database, const QSqlDatabase& base, const QString& sql)
    : database_(database)
    , query_(base)
    , sql_(sql)
{
    query_.setForwardOnly(true);
    query_.setNumericalPrecisionPolicy(QSql::LowPrecisionDouble);
    if (!query_.prepare(sql))
        Fail();
    // Qt takes ":name" outside of quotes for a parameter, also in comments.
    literal_ = query_.executedQuery() != sql;
    const auto seconds = static_cast<SQLULEN>(database.maxSeconds) + kSecondsBehind;
    SQLSetStmtAttr(Handle(), SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(seconds), SQL_IS_UINTEGER);
}

void* Statement::Handle() const
{
    return query_.result()->handle().value<void*>();
}

void Statement::Bind(const wire::Value& value, ColumnType type)
{
    if (wire::IsNull(value))
        query_.bindValue(bound_++, QVariant(MetaTypeOf(type)));
    else
        Bind(value);
}

void Statement::Bind(const wire::Value& value)
{
    QVariant parameter(QMetaType::fromType<QString>());
    if (const auto* text = std::get_if<QString>(&value); text && !text->isEmpty()) {
        parameter = *text;
    } else if (const auto* integer = std::get_if<qint64>(&value)) {
        // Not every driver takes 64 bits.
        using Small = std::numeric_limits<int>;
        const bool small = *integer >= Small::min() && *integer <= Small::max();
        parameter = small ? QVariant(static_cast<int>(*integer)) : QVariant(qlonglong(*integer));
    } else if (const auto* number = std::get_if<double>(&value)) {
        // Oracle counts in decimals: 1.1 as a text is its 1.1, as a double it is only near.
        parameter =
            database_.Product() == Product::Oracle ? QVariant(wire::ToText(value)) : QVariant(*number);
    } else if (const auto* moment = std::get_if<wire::DateTime>(&value)) {
        // SQLite's driver would write fractions of a second into its texts, which would then compare as
        // others.
        parameter =
            database_.Product() == Product::Sqlite ? QVariant(moment->ToText()) : FromDateTime(*moment);
    }
    query_.bindValue(bound_++, parameter);
}

std::optional<Fault> Statement::TryRun()
{
    bound_ = 0;
    const Database::Running running(database_, Handle());
    types_.clear();
    if (literal_ ? query_.exec(sql_) : query_.exec())
        return std::nullopt;
    return database_.FaultOf(Handle(), query_.lastError());
}

void Statement::Run()
{
    if (const auto fault = TryRun())
        Raise(*fault, sql_);
}

void Statement::Fail()
{
    Raise(database_.FaultOf(Handle(), query_.lastError()), sql_);
}

void Statement::ReadAs(std::span<const ColumnType> types)
{
    const QSqlRecord record = query_.record();
    if (record.count() != static_cast<int>(types.size()))
        throw wire::Error(wire::ErrorKind::Data, server::texts::OtherColumns(), sql_);
    types_.assign(types.begin(), types.end());
    exact_.clear();
    for (size_t i = 0; i < types_.size(); ++i) {
        const QMetaType type = record.field(static_cast<int>(i)).metaType();
        exact_.push_back(types_[i] == ColumnType::Integer && type.id() == QMetaType::Double);
    }
}

bool Statement::Next()
{
    if (query_.next())
        return true;
    if (query_.lastError().isValid())
        Fail();
    return false;
}

QVariant Statement::Cell(int column)
{
    if (exact_[static_cast<size_t>(column)] == 0)
        return query_.value(column);
    query_.setNumericalPrecisionPolicy(QSql::HighPrecision);
    QVariant cell = query_.value(column);
    query_.setNumericalPrecisionPolicy(QSql::LowPrecisionDouble);
    return cell;
}

wire::Value Statement::Value(int column)
{
    const QVariant cell = Cell(column);
    if (cell.isNull())
        return {};
    switch (types_[static_cast<size_t>(column)]) {
    case ColumnType::Integer:
        return ToInteger(cell);
    case ColumnType::Number:
        return ToNumber(cell);
    case ColumnType::DateTime:
        return ToDateTime(cell);
    case ColumnType::Text:
        break;
    }
    return wire::TextValue(ToText(cell));
}

void Statement::AddCells(std::span<wire::CellBlock> blocks)
{
    int column = 0;
    for (wire::CellBlock& cells : blocks) {
        const QVariant cell = Cell(column++);
        if (cell.isNull()) {
            cells.AddNull();
            continue;
        }
        switch (cells.Type()) {
        case ColumnType::Integer:
            cells.AddInteger(ToInteger(cell));
            break;
        case ColumnType::Number:
            cells.AddNumber(ToNumber(cell));
            break;
        case ColumnType::DateTime:
            cells.AddInteger(ToDateTime(cell).seconds);
            break;
        case ColumnType::Text: {
            const QByteArray utf8 = ToText(cell).toUtf8();
            cells.AddText(utf8.constData(), utf8.size());
            break;
        }
        }
    }
}

} // namespace storage::odbc

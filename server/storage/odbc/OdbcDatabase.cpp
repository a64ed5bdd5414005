#include "server/storage/odbc/OdbcDatabase.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/Connection.h"
#include "server/storage/odbc/OdbcApi.h"
#include "wire/Error.h"

#include <QSqlDriver>
#include <QSqlResult>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

constexpr size_t kPreparedStatements = 200;
constexpr std::chrono::seconds kBetweenCancels(1);

odbc::Product ProductOf(const QString& name)
{
    if (name.contains(u"Oracle", Qt::CaseInsensitive))
        return Product::Oracle;
    if (name.contains(u"PostgreSQL", Qt::CaseInsensitive))
        return Product::Postgres;
    return name.contains(u"SQLite", Qt::CaseInsensitive) ? Product::Sqlite : Product::Other;
}

// By Oracle: trying that again would lock the account.
bool LoginRefused(const QSqlError& error)
{
    static const QStringList codes{u"1005"_s, u"1017"_s, u"1045"_s, u"28000"_s, u"28001"_s, u"28003"_s};
    return codes.contains(error.nativeErrorCode());
}

QString NextName()
{
    static std::atomic<quint64> count{0};
    return u"zelmor-%1"_s.arg(++count);
}

} // namespace

Database::Registration::Registration()
    : name(NextName())
{
}

Database::Registration::~Registration()
{
    QSqlDatabase::removeDatabase(name);
}

Database::Database(const Settings& settings, int seconds)
    : maxSeconds(seconds)
    , base_(QSqlDatabase::addDatabase(u"QODBC"_s, registration_.name))
{
    if (!base_.isValid()) {
        throw wire::Error(wire::ErrorKind::Storage,
            u"Qt's ODBC plugin is missing; on Debian it is the package libqt6sql6-odbc."_s);
    }
    base_.setDatabaseName(settings.database);
    // Error states are those of ODBC 3.
    base_.setConnectOptions(u"SQL_ATTR_ODBC_VERSION=SQL_OV_ODBC3"_s);
    if (!base_.open()) {
        QString reason = base_.lastError().databaseText();
        if (!settings.password.isEmpty())
            reason.replace(settings.password, u"***"_s);
        const QString message = u"Cannot connect through ODBC (%1): %2"_s.arg(settings.place, reason);
        if (LoginRefused(base_.lastError()))
            throw wire::Error(wire::ErrorKind::Storage, message);
        throw TryAgain(TryAgain::Cause::Lost, wire::ErrorKind::Storage, message);
    }
    const QString name = Info(SQL_DBMS_NAME);
    product_ = ProductOf(name);
    productName_ = u"%1 %2"_s.arg(name, Info(SQL_DBMS_VER));
    SettleSession(settings.schema);
}

void* Database::Handle() const
{
    return base_.driver()->handle().value<void*>();
}

QString Database::Info(quint16 which) const
{
    std::array<SQLCHAR, 200> text{};
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(
            SQLGetInfo(Handle(), which, text.data(), static_cast<SQLSMALLINT>(text.size()), &length)))
        return {};
    return QString::fromUtf8(reinterpret_cast<const char*>(text.data()));
}

void Database::SettleSession(const QString& schema)
{
    schema_ = schema;
    if (product_ == Product::Oracle) {
        // What is converted without a format, and how texts compare, must not depend on the machine's
        // language.
        for (const auto* setting :
            {"nls_date_format = 'YYYY-MM-DD HH24:MI:SS'", "nls_timestamp_format = 'YYYY-MM-DD HH24:MI:SS'",
                "nls_numeric_characters = '.,'", "nls_comp = binary", "nls_sort = binary"})
            Execute(u"alter session set "_s + QLatin1StringView(setting));
        if (!schema.isEmpty())
            Execute(u"alter session set current_schema = "_s + schema);
        Statement current = Prepare(u"select sys_context('USERENV', 'CURRENT_SCHEMA') from dual"_s);
        current.Run();
        current.ReadAs(std::array{wire::ColumnType::Text});
        if (current.Next())
            schema_ = wire::ToText(current.Value(0));
    } else if (product_ == Product::Postgres) {
        // The dialect takes a backslash in a text as a plain character; so must the database.
        Execute(u"set standard_conforming_strings = on"_s);
        // While it compiles a long condition, which takes minutes, it obeys no cancellation.
        Execute(u"select set_config(name, 'off', false) from pg_settings where name = 'jit'"_s);
        if (!schema.isEmpty())
            Execute(
                u"select set_config('search_path', '%1, ' || current_setting('search_path'), false)"_s.arg(
                    schema));
    }
}

void Database::Execute(const QString& sql)
{
    if (const auto fault = TryExecute(sql))
        Raise(*fault, sql);
}

std::optional<Fault> Database::TryExecute(const QString& sql)
{
    QSqlQuery query(base_);
    query.setForwardOnly(true);
    if (query.exec(sql))
        return std::nullopt;
    return FaultOf(query.result()->handle().value<void*>(), query.lastError());
}

std::optional<QSqlRecord> Database::ColumnsOf(const QString& sql)
{
    QSqlQuery query(base_);
    query.setForwardOnly(true);
    if (!query.exec(sql))
        return std::nullopt;
    return query.record();
}

Statement& Database::Prepared(const QString& sql)
{
    std::unique_ptr<Statement>& statement = prepared_[sql];
    if (!statement) {
        try {
            statement = std::make_unique<Statement>(*this, base_, sql);
        } catch (...) {
            prepared_.erase(sql);
            throw;
        }
    }
    return *statement;
}

void Database::Begin()
{
    if (prepared_.size() > kPreparedStatements)
        prepared_.clear();
    if (!base_.transaction())
        Raise(FaultOf(nullptr, base_.lastError()));
}

void Database::Commit()
{
    if (!base_.commit())
        Raise(FaultOf(nullptr, base_.lastError()));
}

void Database::Rollback() noexcept
{
    // A connection that cannot roll back is of no more use.
    if (!base_.rollback())
        lost_ = true;
}

void Database::Cancel() noexcept
{
    cancelled_ = true;
    const std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (running_ == nullptr || now < nextCancel_)
        return;
    SQLCancel(running_);
    nextCancel_ = now + kBetweenCancels; // one may come before the statement has
}

Fault Database::FaultOf(void* statement, const QSqlError& error)
{
    Fault fault = statement != nullptr ? ReadFault(product_, SQL_HANDLE_STMT, statement, error)
                                       : ReadFault(product_, SQL_HANDLE_DBC, Handle(), error);
    if (fault.kind == Fault::Kind::Statement) {
        SQLUINTEGER dead = SQL_CD_FALSE;
        if (SQL_SUCCEEDED(SQLGetConnectAttr(Handle(), SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr))
            && dead == SQL_CD_TRUE)
            fault.kind = Fault::Kind::Lost;
    }
    if (fault.kind != Fault::Kind::Lost && IsCancelled())
        fault.kind = Fault::Kind::Stopped; // each driver has words of its own for it
    // The end may have come over the driver while it tidied up: what it left open would spoil all that
    // follows.
    if (fault.kind == Fault::Kind::Lost || fault.kind == Fault::Kind::Stopped)
        lost_ = true;
    return fault;
}

Database::Running::Running(Database& database, void* statement)
    : database_(database)
{
    if (database.IsCancelled())
        throw wire::Error(wire::ErrorKind::Limit, server::texts::Interrupted());
    const std::lock_guard lock(database.mutex_);
    database.running_ = statement;
    database.nextCancel_ = {};
}

Database::Running::~Running()
{
    const std::lock_guard lock(database_.mutex_);
    database_.running_ = nullptr;
}

} // namespace storage::odbc

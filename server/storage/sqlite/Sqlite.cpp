#include "server/storage/sqlite/Sqlite.h"

#include "server/dialect/Refusals.h"
#include "server/dialect/SqliteFunctions.h"
#include "server/refusal/Refusal.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/sqlite/TemporaryFiles.h"
#include "wire/Utf8.h"

#include <atomic>
#include <mutex>
#include <set>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace storage::sqlite {
namespace {

namespace texts = server::texts;

constexpr int kBusyMilliseconds = 10'000;
// Of a text or a row, in bytes: what a frame could not carry is not worth the memory of making it.
constexpr int kLongestValue = 64 << 20;

// Counting every allocation costs a lock each and serves nobody here. Too late, and refused, where something
// else in the process has used SQLite before.
void ConfigureLibrary()
{
    static const int configured = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    (void)configured;
}

// Files that were found damaged: what is saved into one that cannot be read would be lost with it.
class DamagedFiles {
public:
    void Add(sqlite3* database)
    {
        const char* const name = database != nullptr ? sqlite3_db_filename(database, "main") : nullptr;
        if (name == nullptr)
            return;
        const std::lock_guard lock(mutex_);
        names_.insert(name);
        any_ = true;
    }
    bool Contains(sqlite3* database) const
    {
        if (!any_)
            return false;
        const std::lock_guard lock(mutex_);
        return names_.contains(sqlite3_db_filename(database, "main"));
    }
    void Remove(const std::string& name)
    {
        const std::lock_guard lock(mutex_);
        names_.erase(name);
    }

private:
    mutable std::mutex mutex_;
    std::set<std::string, std::less<>> names_;
    std::atomic<bool> any_{false};
};

DamagedFiles damagedFiles;

struct Fault {
    wire::ErrorKind kind;
    QString message;
};

Fault FaultOf(int code)
{
    using wire::ErrorKind;
    switch (code & 0xff) {
    case SQLITE_FULL:
        return {ErrorKind::Storage, texts::DiskFull()};
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return {ErrorKind::Storage, texts::ReadOnly()};
    case SQLITE_CANTOPEN:
        return {ErrorKind::Storage, texts::CannotOpen()};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return {ErrorKind::Storage, texts::Busy()};
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return {ErrorKind::Storage, texts::Damaged()};
    case SQLITE_IOERR:
        return {ErrorKind::Storage, texts::ReadFault()};
    case SQLITE_NOMEM:
    case SQLITE_TOOBIG:
        return {ErrorKind::Limit, texts::OutOfMemory()};
    case SQLITE_INTERRUPT:
        return {ErrorKind::Limit, texts::Interrupted()};
    case SQLITE_CONSTRAINT:
        return {ErrorKind::Data, texts::ConstraintBroken()};
    default:
        // What is left comes from evaluating the statement: bad operands and the like.
        return {ErrorKind::Data, texts::DatabaseError()};
    }
}

} // namespace

void RaiseError(sqlite3* database, int code, const QString& sqlText)
{
    const QString reason = QString::fromUtf8(database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
    if (code == dialect::kDataErrorCode)
        throw wire::Error(wire::ErrorKind::Data, reason, sqlText);
    if ((code & 0xff) == SQLITE_FULL && TookTooMuch())
        throw server::RefusedError(
            server::RefusalReason::Size, wire::ErrorKind::Limit, texts::SortedTooMuch());
    if ((code & 0xff) == SQLITE_CORRUPT || (code & 0xff) == SQLITE_NOTADB)
        damagedFiles.Add(database);
    const Fault fault = FaultOf(code);
    throw wire::Error(fault.kind, u"%1（%2）"_s.arg(fault.message, reason), sqlText);
}

Statement::Statement(sqlite3* database, std::string_view sql)
{
    const int code = sqlite3_prepare_v3(
        database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
    if (code == SQLITE_ERROR) // more tables, columns or levels than SQLite takes
        throw wire::Error(
            wire::ErrorKind::Syntax, dialect::texts::Refused(QString::fromUtf8(sqlite3_errmsg(database))));
    if (code != SQLITE_OK)
        RaiseError(database, code, QString::fromUtf8(sql.data(), static_cast<qsizetype>(sql.size())));
}

Statement::Statement(Statement&& other) noexcept
    : statement_(std::exchange(other.statement_, nullptr))
    , texts_(std::move(other.texts_))
{
}

Statement& Statement::operator=(Statement&& other) noexcept
{
    std::swap(statement_, other.statement_);
    std::swap(texts_, other.texts_);
    return *this;
}

Statement::~Statement()
{
    sqlite3_finalize(statement_);
}

void Statement::Bind(int parameter, const wire::Value& value)
{
    switch (value.index()) {
    case 1:
        BindText(parameter, std::get<QString>(value));
        break;
    case 2:
        sqlite3_bind_int64(statement_, parameter, std::get<qint64>(value));
        break;
    case 3:
        sqlite3_bind_double(statement_, parameter, std::get<double>(value));
        break;
    case 4:
        sqlite3_bind_int64(statement_, parameter, std::get<wire::DateTime>(value).seconds);
        break;
    default:
        sqlite3_bind_null(statement_, parameter);
    }
}

void Statement::BindText(int parameter, const QString& text)
{
    if (text.isEmpty()) {
        BindNull(parameter);
        return;
    }
    const auto index = static_cast<size_t>(parameter);
    if (texts_.size() <= index)
        texts_.resize(index + 1);
    if (!texts_[index])
        texts_[index] = std::make_unique<std::string>();
    std::string& utf8 = *texts_[index];
    utf8.clear();
    wire::AppendUtf8(utf8, text);
    BindUtf8(parameter, utf8);
}

size_t Statement::Memory() const noexcept
{
    return static_cast<size_t>(sqlite3_stmt_status(statement_, SQLITE_STMTSTATUS_MEMUSED, 0));
}

void Statement::ForgetLongTexts() noexcept
{
    constexpr size_t kUsualText = 64 << 10;
    for (size_t i = 0; i < texts_.size(); ++i) {
        if (!texts_[i] || texts_[i]->capacity() <= kUsualText)
            continue;
        BindNull(static_cast<int>(i));
        texts_[i].reset();
    }
}

void Statement::BindUtf8(int parameter, std::string_view text)
{
    sqlite3_bind_text64(statement_, parameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

bool Statement::Step()
{
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        RaiseError(sqlite3_db_handle(statement_), code, QString::fromUtf8(sqlite3_sql(statement_)));
    return false;
}

void Statement::Execute()
{
    const ResetGuard reset(*this);
    while (Step()) { }
}

int Statement::TryStep()
{
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_DONE || code == SQLITE_ROW || (code & 0xff) == SQLITE_CONSTRAINT)
        return code;
    RaiseError(sqlite3_db_handle(statement_), code, QString::fromUtf8(sqlite3_sql(statement_)));
}

QString Statement::Text(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(statement_, column));
}

wire::Value Statement::Value(int column, wire::ColumnType type) const
{
    if (IsNull(column))
        return {};
    switch (type) {
    case wire::ColumnType::Text:
        return wire::TextValue(Text(column));
    case wire::ColumnType::Integer:
        return Integer(column);
    case wire::ColumnType::Number:
        return sqlite3_column_double(statement_, column);
    case wire::ColumnType::DateTime:
        return wire::DateTime{Integer(column)};
    }
    return {};
}

Database::Database(const QString& file, OpenMode mode)
{
    const int flags = SQLITE_OPEN_NOMUTEX
        | (mode == OpenMode::Look ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE)
        | (mode == OpenMode::Fill ? SQLITE_OPEN_CREATE : 0);
    ConfigureLibrary();
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(
        file.toUtf8().constData(), &handle, flags, mode == OpenMode::Serve ? CountedFiles() : nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK)
        RaiseError(handle, code);
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, kBusyMilliseconds);
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kLongestValue);
    if (mode == OpenMode::Fill)
        Execute("pragma journal_mode=off; pragma synchronous=off; pragma locking_mode=exclusive;"
                "pragma cache_size=-262144; pragma threads=2; pragma foreign_keys=off");
    else if (mode == OpenMode::Serve) // what is sorted goes to a file when it outgrows the cache
        Execute("pragma journal_mode=wal; pragma synchronous=full; pragma cache_size=-16384;"
                "pragma mmap_size=268435456; pragma temp_store=file; pragma foreign_keys=off");
}

void Database::RequireSound() const
{
    if (damagedFiles.Contains(Handle()))
        throw wire::Error(wire::ErrorKind::Storage, texts::Damaged());
}

void ForgetDamage(const QString& file)
{
    damagedFiles.Remove(file.toStdString());
}

void Database::Execute(const char* sql)
{
    const int code = sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        RaiseError(Handle(), code, QString::fromUtf8(sql));
}

std::string Quoted(const QString& name)
{
    QString quoted = name;
    quoted.replace(u'"', u"\"\""_s);
    return '"' + quoted.toStdString() + '"';
}

} // namespace storage::sqlite

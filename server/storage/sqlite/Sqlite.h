#pragma once

#include "wire/Error.h"
#include "wire/Value.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The C interface of SQLite, with owners and errors.
namespace storage::sqlite {

// Raises the wire::Error that SQLite's result code stands for.
[[noreturn]] void RaiseError(sqlite3* database, int code, const QString& sqlText = {});

// A prepared statement. Used by one thread at a time.
class Statement {
public:
    Statement(sqlite3* database, std::string_view sql);
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    ~Statement();

    // Parameters count from 1. Text is copied; the copy's memory is used again by the next row.
    void Bind(int parameter, const wire::Value& value);
    void BindInteger(int parameter, qint64 value) { sqlite3_bind_int64(statement_, parameter, value); }
    // Not copied: stays valid until the statement is reset or bound anew.
    void BindUtf8(int parameter, std::string_view text);
    void BindNull(int parameter) { sqlite3_bind_null(statement_, parameter); }

    // True: a row stands ready. Raises.
    bool Step();
    // Runs to the end and resets; raises.
    void Execute();
    // Like Step, but hands back SQLite's code where the row itself is at fault (a constraint); raises
    // otherwise.
    int TryStep();
    void Reset() noexcept { sqlite3_reset(statement_); }

    bool IsNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
    qint64 Integer(int column) const { return sqlite3_column_int64(statement_, column); }
    QString Text(int column) const;
    // As the given type; empty text is null.
    wire::Value Value(int column, wire::ColumnType type) const;

    sqlite3_stmt* Handle() const noexcept { return statement_; }
    // What the database holds for it, in bytes.
    size_t Memory() const noexcept;
    // To be called when it has been reset: bound texts of unusual length are not kept for the next run.
    void ForgetLongTexts() noexcept;

private:
    void BindText(int parameter, const QString& text);

    sqlite3_stmt* statement_ = nullptr;
    std::vector<std::unique_ptr<std::string>> texts_; // of each parameter
};

// Resets a statement that others run too, whatever happens.
class ResetGuard {
public:
    explicit ResetGuard(Statement& statement)
        : statement_(statement)
    {
    }
    ~ResetGuard() { statement_.Reset(); }
    ResetGuard(const ResetGuard&) = delete;
    ResetGuard& operator=(const ResetGuard&) = delete;

private:
    Statement& statement_;
};

// How a database file is opened.
enum class OpenMode {
    Serve, // must exist; readers beside one writer, every commit on the disk before it returns
    Look, // read only, nothing assumed about the file
    Fill, // made new; fast and unsafe until it is finished
};

// An open database file. Used by one thread at a time.
class Database {
public:
    Database(const QString& file, OpenMode mode);

    // Raises where the file has been found damaged since it was opened to be served.
    void RequireSound() const;
    void Execute(const char* sql);
    void Execute(const std::string& sql) { Execute(sql.c_str()); }
    Statement Prepare(std::string_view sql) { return {handle_.get(), sql}; }
    sqlite3* Handle() const noexcept { return handle_.get(); }
    // Rows changed by the last insert, update or delete.
    qint64 Changes() const noexcept { return sqlite3_changes64(handle_.get()); }

private:
    struct Closer {
        void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Closer> handle_;
};

// A file that was put back may be served again.
void ForgetDamage(const QString& file);

// `name` as an SQL identifier in double quotes.
std::string Quoted(const QString& name);

} // namespace storage::sqlite

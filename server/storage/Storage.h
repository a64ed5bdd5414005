#pragma once

#include "company/Tables.h"
#include "server/dialect/Dialect.h"
#include "server/storage/RowStream.h"
#include "wire/Messages.h"

#include <functional>
#include <span>
#include <vector>

// What the server needs of a database, whichever it is: statements of clients, the rows of change logs with
// their audit entries, and the few small statements of its own.
namespace storage {

using Row = std::vector<wire::Value>;

// Polled while something runs; may turn true from another thread.
class StopSignal {
public:
    virtual ~StopSignal();
    virtual bool ShouldStop() noexcept = 0;
};

// What ran was undone by the database for a reason that passes: another transaction was in the way, or the
// connection was lost. Worth doing again from its beginning.
class TryAgain : public wire::Error {
public:
    enum class Cause {
        Conflict, // undone for sure
        Lost, // the connection is gone; a commit under way may have been carried out
    };
    TryAgain(Cause cause, wire::ErrorKind kind, const QString& message)
        : wire::Error(kind, message)
        , cause_(cause)
    {
    }
    Cause Why() const noexcept { return cause_; }

private:
    Cause cause_;
};

// One cell as it is stored or compared, of the column's type.
struct Cell {
    const dialect::CatalogColumn* column;
    wire::Value value;
};

// One row of a change log, ready to be written.
struct RowWrite {
    wire::ChangeKind kind = wire::ChangeKind::Update;
    std::vector<Cell> sets; // insert, update
    Row keys; // update, delete: of the stored row, in the order of the primary key
    std::vector<Cell> checks; // update, delete: must still stand; null equals null
    std::u16string shape; // rows of one table with the same shape need the same statement
    std::string auditKey; // UTF-8; empty: the number that the database gives to the new row
    std::string auditFields; // UTF-8, JSON
};

// So many shapes' statements are kept: more than any screen makes in one save.
inline constexpr size_t kMostShapes = 256;

struct RowResult {
    enum class Outcome {
        Written,
        NotThere, // no row has that key and those values
        DuplicateKey,
        Refused, // by a constraint; `message` is the database's
    } outcome = Outcome::Written;
    QString message;
};

// Who writes, when: the head of each audit entry.
struct AuditHeader {
    wire::DateTime date;
    QString account;
    QString employeeName;
    QString peer;
    QString table;
};

struct WriteTarget {
    const dialect::CatalogTable* table;
    std::vector<const dialect::CatalogColumn*> keys; // in the order of RowWrite::keys
    std::vector<const dialect::CatalogColumn*> read; // what Present gives; nullptr: always null
    AuditHeader audit;
};

enum class Hold { No, Yes };

// Writes rows of one table, each with its audit entry, in the transaction that its connection has open. A row
// that is not written leaves no trace, and the others stand. Lives no longer than the transaction.
class RowWriter {
public:
    virtual ~RowWriter();
    // One after the other, as if each was a call of its own; `results` is parallel to `rows`. Raises
    // wire::Error (TryAgain) where the transaction as a whole has failed.
    virtual void Write(std::span<const RowWrite> rows, std::span<RowResult> results) = 0;
    // The row's values as they stand, parallel to WriteTarget::read; empty when it is gone. Held, the row
    // stays as it is until the transaction ends.
    virtual Row Present(std::span<const wire::Value> keys, Hold hold = Hold::Yes) = 0;
    // Others write at the same time, and wait for the rows that this transaction has written: rows should
    // then be written in the order of their keys, so that no two saves wait for each other.
    virtual bool LocksRows() const noexcept { return true; }
};

// One connection with its translator and its prepared statements. Used by one thread at a time. Everything
// raises wire::Error: Data, Limit, Storage; TryAgain.
class Connection {
public:
    Connection(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target);
    virtual ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const dialect::Catalog& Catalog() const noexcept { return *catalog_; }
    // One text of a client; raises wire::Error (Syntax, Policy).
    dialect::Translated Translate(QStringView sqlText) { return translator_.Translate(sqlText); }
    dialect::Translator::Counts TakeCounts() noexcept { return translator_.TakeCounts(); }

    // Runs a select; its columns have been handed to the sink by the caller. Gives the number of rows.
    virtual qint64 Query(const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits,
        wire::ReplySink& sink) = 0;
    // Runs an update; gives the number of rows changed.
    virtual qint64 Execute(const dialect::Translated& update, wire::DateTime now) = 0;

    // The server's own statements: SQL that every database takes, "?" for each parameter, column names in
    // upper case, tables in lower. `types` are the types of the result's columns.
    virtual std::vector<Row> Select(std::string_view sql, std::span<const wire::Value> parameters,
        std::span<const wire::ColumnType> types) = 0;
    // As Select, in a transaction; may wait until something else is sent to the database, or the commit.
    // `take` gets the rows out of the call that does so, and may raise.
    using Taker = std::function<void(const std::vector<Row>&)>;
    virtual void SelectLater(std::string_view sql, std::span<const wire::Value> parameters,
        std::span<const wire::ColumnType> types, Taker take);
    // Asks at once what SelectLater has put off.
    virtual void FinishSelect() { }
    // Gives the number of rows changed.
    virtual qint64 Change(std::string_view sql, std::span<const wire::Value> parameters) = 0;
    // A row of one of the server's own tables, values in the order of its columns (a numbered key may be
    // null). False where its key is taken: the transaction is then good for nothing but a rollback.
    virtual bool Insert(const company::Table& table, std::span<const wire::Value> values) = 0;

    // As Insert, but by the commit at the latest; whichever of both finds that the key is taken raises
    // TryAgain (Conflict).
    virtual void InsertLast(const company::Table& table, std::span<const wire::Value> values);

    virtual std::unique_ptr<RowWriter> WriteRows(const WriteTarget& target) = 0;

    virtual void Begin() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() noexcept = 0;
    // Inside a transaction: one point to go back to.
    virtual void SetSavepoint() = 0;
    virtual void RollbackToSavepoint() = 0;

    // What is asked from now on whether to stop (Limit), until it is set to nullptr.
    virtual void SetStop(StopSignal* stop) noexcept = 0;
    // False: of no more use, to be replaced; from what is known of it, which costs nothing.
    virtual bool IsUsable() noexcept = 0;
    // The same, having looked whether the database has ended the connection while nothing was asked of it.
    virtual bool IsStillUsable() noexcept { return IsUsable(); }

private:
    std::shared_ptr<const dialect::Catalog> catalog_;
    dialect::Translator translator_;
};

// One database. Safe to use from any thread.
class Backend {
public:
    virtual ~Backend();
    virtual std::shared_ptr<const dialect::Catalog> Catalog() const = 0;
    // Raises wire::Error (Storage, TryAgain).
    virtual std::unique_ptr<Connection> Connect() = 0;
    // Takes one writing transaction at a time: the pool lets them queue.
    virtual bool HasOneWriter() const noexcept = 0;
    // For administrators: kind, version and place; never a password.
    virtual QString Description() const = 0;
};

} // namespace storage

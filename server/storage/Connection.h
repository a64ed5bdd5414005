#pragma once

#include "company/Tables.h"
#include "server/dialect/Dialect.h"
#include "server/storage/RowStream.h"
#include "server/storage/RowWriter.h"
#include "wire/Messages.h"

#include <functional>
#include <span>
#include <vector>

// What the server needs of a database, whichever it is, cut by who asks for it. Everything raises
// wire::Error: Data, Limit, Storage; TryAgain.
namespace storage {

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

// The statements of clients.
class ClientStatements {
public:
    virtual ~ClientStatements();
    // Runs a select; its columns have been handed to the sink by the caller. Gives the number of rows.
    virtual qint64 Query(const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits,
        wire::ReplySink& sink) = 0;
    // Runs an update; gives the number of rows changed.
    virtual qint64 Execute(const dialect::Translated& update, wire::DateTime now) = 0;
};

// The server's own statements, all small: SQL that every database takes, "?" for each parameter, column names
// in upper case, tables in lower.
class OwnStatements {
public:
    virtual ~OwnStatements();
    // `types` are the types of the result's columns.
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
};

// A transaction's beginning and end.
class TransactionControl {
public:
    virtual ~TransactionControl();
    virtual void Begin() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() noexcept = 0;
    // Inside a transaction: one point to go back to.
    virtual void SetSavepoint() = 0;
    virtual void RollbackToSavepoint() = 0;
};

// One connection with its translator and its prepared statements. Used by one thread at a time.
class Connection : public ClientStatements, public OwnStatements, public TransactionControl {
public:
    Connection(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target);
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const dialect::Catalog& Catalog() const noexcept { return *catalog_; }
    // One text of a client; raises wire::Error (Syntax, Policy).
    dialect::Translated Translate(QStringView sqlText) { return translator_.Translate(sqlText); }
    dialect::Translator::Counts TakeCounts() noexcept { return translator_.TakeCounts(); }

    // Rows of change logs, in the open transaction.
    virtual std::unique_ptr<RowWriter> WriteRows(const WriteTarget& target) = 0;

    // What is asked from now on whether to stop (Limit), until it is set to nullptr.
    virtual void SetStop(StopSignal* stop) noexcept = 0;
    // False: of no more use, to be replaced; from what is known of it, which costs nothing.
    virtual bool IsUsable() noexcept = 0;
    // The same, having looked whether the database has ended the connection while nothing was asked of it.
    virtual bool IsStillUsable() noexcept { return IsUsable(); }

    // Whose statements it runs from now on; empty: the server's own.
    void LendTo(const QString& account) { account_ = account; }

protected:
    const QString& Account() const noexcept { return account_; }

private:
    QString account_;
    std::shared_ptr<const dialect::Catalog> catalog_;
    dialect::Translator translator_;
};

} // namespace storage

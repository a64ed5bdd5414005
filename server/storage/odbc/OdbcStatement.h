#pragma once

#include "server/storage/odbc/OdbcFault.h"
#include "wire/ColumnData.h"
#include "wire/Value.h"

#include <QSqlQuery>

#include <optional>
#include <span>
#include <vector>

class QSqlDatabase;

namespace storage::odbc {

class Database;

// A prepared statement, used on its connection's thread.
class Statement {
public:
    // Raises wire::Error.
    Statement(Database& database, const QSqlDatabase& base, const QString& sql);

    // Parameters in their order, before each run. Null is bound as a null of the type.
    void Bind(const wire::Value& value, wire::ColumnType type);
    // The value says its type itself; null is a null text.
    void Bind(const wire::Value& value);

    void Run(); // raises wire::Error
    std::optional<Fault> TryRun();
    qint64 ChangedRows() const { return query_.numRowsAffected(); }

    // The types in which the result's columns are read; as many as it has, or wire::Error (Data).
    void ReadAs(std::span<const wire::ColumnType> types);
    bool Next(); // raises wire::Error
    // The current row, columns from left to right.
    wire::Value Value(int column);
    void AddCells(std::span<wire::CellBlock> blocks);
    // Ends reading; the statement may run again.
    void Finish() { query_.finish(); }

    void* Handle() const;

private:
    QVariant Cell(int column);
    [[noreturn]] void Fail();

    Database& database_;
    QSqlQuery query_;
    QString sql_;
    bool literal_ = false; // goes to the driver past Qt's search for parameters
    int bound_ = 0;
    std::vector<wire::ColumnType> types_;
    std::vector<char> exact_; // columns of decimals that hold whole numbers
};

} // namespace storage::odbc

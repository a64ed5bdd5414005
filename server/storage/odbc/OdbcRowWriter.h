#pragma once

#include "server/storage/RowWriter.h"
#include "server/storage/odbc/OdbcDatabase.h"
#include "server/storage/odbc/Worker.h"

#include <unordered_map>

namespace storage::odbc {

// The change-log rule in SQL that every database takes: one statement a row, found by key and by the values
// that must still stand, and one for its audit entry.
class OdbcRowWriter final : public RowWriter {
public:
    // `needsSavepoints`: a failed statement spoils its transaction unless a savepoint is rolled back to.
    OdbcRowWriter(Worker& worker, Database& database, const WriteTarget& target, bool needsSavepoints);

    void Write(std::span<const RowWrite> rows, std::span<RowResult> results) override;
    Row Present(std::span<const wire::Value> keys, Hold hold = Hold::Yes) override;

private:
    // On the worker's thread.
    RowResult WriteRow(const RowWrite& row);
    RowResult Refuse(const RowWrite& row, const Fault& fault);
    void Audit(const RowWrite& row);
    bool KeyIsTaken(const RowWrite& row);
    void Savepoint(const char* statement);
    Statement& StatementFor(const RowWrite& row);
    QString WhereKey() const;
    QString TextFor(const RowWrite& row) const;

    Worker& worker_;
    Database& database_;
    const WriteTarget target_;
    const bool needsSavepoints_;
    std::unordered_map<std::u16string, Statement*>
        statements_; // by statement key and by which checks are null
    std::u16string key_;
};

// "insert into TABLE(…) values(?, …)" for these columns.
QString InsertText(const QString& table, const QStringList& columns);

} // namespace storage::odbc

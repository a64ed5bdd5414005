#pragma once

#include "server/dialect/Dialect.h"
#include "wire/Messages.h"

#include <span>
#include <string>
#include <vector>

namespace storage {

using Row = std::vector<wire::Value>;

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
    std::u16string statementKey; // rows of one table with the same key need the same statement
    std::string auditKey; // UTF-8; empty: the number that the database gives to the new row
    std::string auditFields; // UTF-8, JSON
};

// So many prepared statements are kept: more than any screen needs in one save.
inline constexpr size_t kMostRowStatements = 256;

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

} // namespace storage

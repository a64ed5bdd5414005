#pragma once

#include "company/Tables.h"
#include "server/storage/RowWriter.h"
#include "server/storage/sqlite/Sqlite.h"

#include <optional>
#include <unordered_map>

namespace storage::sqlite {

// "insert into TABLE(COLUMN, …) values(?, …)" of all columns of a table, with `verb` for "insert into ".
std::string InsertText(const company::Table& table, std::string_view verb);

class SqliteRowWriter final : public RowWriter {
public:
    SqliteRowWriter(Database& database, const WriteTarget& target);

    void Write(std::span<const RowWrite> rows, std::span<RowResult> results) override;
    Row Present(std::span<const wire::Value> keys, Hold hold = Hold::Yes) override;
    bool LocksRows() const noexcept override { return false; }

private:
    RowResult Write(const RowWrite& row);
    // The statement for this row.
    Statement& PreparedFor(const RowWrite& row);
    std::string UpdateText(const RowWrite& row) const;
    std::string InsertText(const RowWrite& row) const;
    std::string DeleteText(const RowWrite& row) const;
    std::string WhereKey(std::span<const Cell> checks) const;
    // Into the audit, under the heads of `target_`.
    struct Entry {
        const RowWrite* row;
        std::string given; // the key that the database gave the row, where it has none of its own
    };
    // For so many entries at once.
    Statement PrepareAudit(int entries) const;
    static void Write(Statement& statement, std::span<const Entry> entries);
    void WriteAudit();

    Database& database_;
    WriteTarget target_;
    std::vector<Entry> entries_; // of the rows written last
    Statement audit_;
    std::optional<Statement> manyAudits_;
    std::optional<Statement> present_;
    std::unordered_map<std::u16string, Statement> statements_; // by statement key
    std::u16string_view lastKey_; // of the map's own keys
    Statement* last_ = nullptr;
};

} // namespace storage::sqlite

#pragma once

#include "server/storage/postgres/Pipeline.h"

#include <unordered_map>

namespace storage::postgres {

// A statement's text and the types of the parameters in it.
struct WriteText {
    std::string sql;
    std::vector<Oid> types;
};
// Those of one connection, by table and statement key.
using WriteTexts = std::unordered_map<std::u16string, WriteText>;

// Sends rows ahead of their results, each as one statement that changes the row and writes its audit entry.
// Rows go in groups with a savepoint each; a group in which a row is refused is undone and sent again with a
// savepoint a row.
class PostgresRowWriter final : public RowWriter {
public:
    // `primaryKey`: the name of the constraint.
    PostgresRowWriter(
        Link& link, Pipeline& pipeline, WriteTexts& texts, const WriteTarget& target, std::string primaryKey);

    void Write(std::span<const RowWrite> rows, std::span<RowResult> results) override;
    Row Present(std::span<const wire::Value> keys, Hold hold = Hold::Yes) override;

private:
    struct Group {
        size_t begin;
        size_t end;
    };
    void SendGroup(Group group, std::span<const RowWrite> rows, std::span<RowResult> results);
    Result ReceiveGroup(Group group, std::span<const RowWrite> rows, std::span<RowResult> results);
    void WriteGroups(std::span<const RowWrite> rows, std::span<RowResult> results);
    RowResult RefusalOf(const Result& failure) const;
    PreparedPtr Bind(const RowWrite& row);
    const WriteText& TextFor(const RowWrite& row);
    WriteText MakeText(const RowWrite& row) const;

    Link& link_;
    Pipeline& pipeline_;
    WriteTexts& texts_;
    const WriteTarget target_;
    std::string primaryKey_;
    std::u16string textKey_; // memory for look-ups
    std::vector<bool> unsent_; // of the rows at hand: refused before they were sent
    Parameters parameters_;
};

} // namespace storage::postgres

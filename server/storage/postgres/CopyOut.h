#pragma once

#include "server/dialect/Dialect.h"
#include "server/storage/postgres/Binary.h"
#include "server/storage/postgres/Libpq.h"

#include <array>
#include <optional>

namespace storage::postgres {

// The statement as "copy (…) to stdout", its parameters written into the text; nothing where one of them has
// no text that says exactly the same.
std::optional<std::string> CopyText(const dialect::Translated& select, wire::DateTime now);

// The rows of one long query as a copy: the database's bytes are read as they come, where libpq would make a
// result of each row, with a description of every column. For rows in bulk; a copy cannot be prepared.
class CopyReader final : public RowSource {
public:
    // `readers`: of a result of the same statement. Both must outlive this. Nothing may be under way on the
    // link, which is free again for statements when this is gone.
    CopyReader(Link& link, const std::string& copyText, const CellReaders& readers);
    ~CopyReader() override;

    bool Fill(CellBlocks& blocks) override;

private:
    bool GatherRows(qsizetype most);
    void ReadRows(CellBlocks& blocks);

    Link& link_;
    const CellReaders& readers_;
    bool headerRead_ = false;
    // Rows that are read together, one behind the other.
    std::string bytes_;
    std::array<size_t, CellReaders::kRowsAtOnce> ends_{};
    size_t rows_ = 0;
};

} // namespace storage::postgres

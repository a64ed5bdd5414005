#pragma once

#include "runtime/data/RowStore.h"

// Finds the first row whose text column holds a text, by a hash table built when a column is searched for the
// second time. Only over rows as read: the caller sees to it that nothing is edited, filtered or ordered.
class TextLookup {
public:
    void Clear() noexcept { tables_.clear(); }
    // The row; kNoRow when none.
    RowNumber Find(const RowStore& rows, int field, QByteArrayView utf8);
    size_t MemoryUse() const noexcept;

private:
    struct Table {
        int field;
        std::vector<RowNumber> slots; // open addressing, a power of two; empty before the second search
    };
    static void Build(Table& table, const RowStore& rows);

    std::vector<Table> tables_;
};

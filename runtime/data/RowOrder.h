#pragma once

#include "runtime/data/RowStore.h"

struct SortKey {
    int field = 0;
    bool descending = false;
};

// Collation ranks of the texts of columns as read, kept while a dataset stays open.
class RankCache {
public:
    void Clear() noexcept { columns_.clear(); }
    // Of each entry of the text column's pool.
    const std::vector<quint32>& EntryRanks(const RowStore& rows, int field);
    size_t MemoryUse() const noexcept;

private:
    std::vector<std::pair<int, std::vector<quint32>>> columns_;
};

// Orders the rows by the keys, nulls first ascending, texts in Chinese collation order, equal rows as they
// stand. No two values are compared more than once: each key becomes ranks, ranks are packed into words, and
// the words are distributed digit by digit.
void SortRows(
    const RowStore& rows, RankCache& cache, const std::vector<SortKey>& keys, std::vector<RowNumber>& order);

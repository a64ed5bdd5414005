#pragma once

#include "runtime/data/RowStore.h"

// The rows in view and their order. While that is simply all rows as they came, nothing is stored.
class RowView {
public:
    void SetAll(RowNumber count) noexcept;
    void SetRows(std::vector<RowNumber> rows);

    int Count() const noexcept { return all_ ? static_cast<int>(count_) : static_cast<int>(rows_.size()); }
    RowNumber RowAt(int index) const noexcept
    {
        return all_ ? static_cast<RowNumber>(index) : rows_[static_cast<size_t>(index)];
    }
    // -1 when not in view.
    int IndexOf(RowNumber row) const;
    bool ShowsAll() const noexcept { return all_; }

    void Insert(int index, RowNumber row);
    void RemoveAt(int index);

    size_t MemoryUse() const noexcept;

private:
    void Materialise();
    void BuildPositions() const;

    bool all_ = true;
    RowNumber count_ = 0;
    std::vector<RowNumber> rows_;
    // By row, where it stood when this was built; rows have moved by at most `moves_` since.
    mutable std::vector<RowNumber> positions_;
    mutable int moves_ = 0;
};

#include "runtime/data/RowView.h"

#include <numeric>

namespace {

// Beyond this many insertions and removals the positions are built anew rather than searched around.
constexpr int kMaxMoves = 64;

} // namespace

void RowView::SetAll(RowNumber count) noexcept
{
    all_ = true;
    count_ = count;
    rows_.clear();
    positions_.clear();
}

void RowView::SetRows(std::vector<RowNumber> rows)
{
    all_ = false;
    rows_ = std::move(rows);
    positions_.clear();
}

void RowView::Materialise()
{
    if (!all_)
        return;
    rows_.resize(count_);
    std::iota(rows_.begin(), rows_.end(), RowNumber{0});
    all_ = false;
    positions_.clear();
}

void RowView::BuildPositions() const
{
    RowNumber end = 0;
    for (const RowNumber row : rows_)
        end = std::max(end, row + 1);
    positions_.assign(end, kNoRow);
    for (size_t i = 0; i < rows_.size(); ++i)
        positions_[rows_[i]] = static_cast<RowNumber>(i);
    moves_ = 0;
}

int RowView::IndexOf(RowNumber row) const
{
    if (row == kNoRow)
        return -1;
    if (all_)
        return row < count_ ? static_cast<int>(row) : -1;
    if (rows_.empty())
        return -1;
    if (positions_.empty() || moves_ > kMaxMoves)
        BuildPositions();
    const int count = Count();
    if (row >= positions_.size() || positions_[row] == kNoRow) {
        // Absent when the positions were built; it may have been inserted since.
        if (moves_ == 0)
            return -1;
        BuildPositions();
        return row < positions_.size() && positions_[row] != kNoRow ? static_cast<int>(positions_[row]) : -1;
    }
    const int hint = static_cast<int>(positions_[row]);
    for (int distance = 0; distance <= moves_; ++distance) {
        if (hint - distance >= 0 && hint - distance < count && RowAt(hint - distance) == row)
            return hint - distance;
        if (hint + distance < count && RowAt(hint + distance) == row)
            return hint + distance;
    }
    return -1;
}

void RowView::Insert(int index, RowNumber row)
{
    if (all_ && row == count_ && index == Count()) {
        ++count_;
        return;
    }
    Materialise();
    rows_.insert(rows_.begin() + index, row);
    ++moves_;
}

void RowView::RemoveAt(int index)
{
    if (all_ && index == Count() - 1) {
        --count_;
        return;
    }
    Materialise();
    rows_.erase(rows_.begin() + index);
    ++moves_;
}

size_t RowView::MemoryUse() const noexcept
{
    return (rows_.capacity() + positions_.capacity()) * sizeof(RowNumber);
}

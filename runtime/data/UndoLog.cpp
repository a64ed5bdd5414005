#include "runtime/data/UndoLog.h"

namespace {

// The oldest steps go first; one that is larger by itself is kept alone.
constexpr size_t kMostSteps = 500;
constexpr size_t kMostRows = 200'000;

} // namespace

void UndoLog::Add(RowStep change, bool together)
{
    while (steps_.size() > done_) {
        rows_ -= steps_.back().size();
        steps_.pop_back();
    }
    if (!together || !open_ || steps_.empty())
        steps_.emplace_back();
    steps_.back().push_back(std::move(change));
    ++rows_;
    open_ = together;
    while (steps_.size() > 1 && (steps_.size() > kMostSteps || rows_ > kMostRows)) {
        rows_ -= steps_.front().size();
        steps_.pop_front();
    }
    done_ = steps_.size();
}

void UndoLog::Clear() noexcept
{
    steps_.clear();
    done_ = rows_ = 0;
    open_ = false;
}

const UndoLog::Step& UndoLog::Undo()
{
    open_ = false;
    return steps_[--done_];
}

const UndoLog::Step& UndoLog::Redo()
{
    return steps_[done_++];
}

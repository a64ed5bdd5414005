#pragma once

#include "runtime/data/RowStore.h"

#include <deque>

// The unsaved steps that may be taken back and done again: what each did to which rows' part in the change
// log. Rows changed together, by a batch, are one step. Saved or merged, there is nothing to go back to.
class UndoLog {
public:
    struct RowStep {
        RowNumber row;
        RowState before;
        RowState after;
    };
    using Step = std::vector<RowStep>;

    // `together`: with those since the last EndStep().
    void Add(RowStep change, bool together);
    void EndStep() noexcept { open_ = false; }
    void Clear() noexcept;

    bool CanUndo() const noexcept { return done_ > 0; }
    bool CanRedo() const noexcept { return done_ < steps_.size(); }
    // Both are for when there is one; the step is then on the other side.
    const Step& Undo();
    const Step& Redo();

private:
    std::deque<Step> steps_;
    size_t done_ = 0; // of them; those behind were taken back
    size_t rows_ = 0; // in all of them
    bool open_ = false;
};

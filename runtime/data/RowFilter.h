#pragma once

#include "runtime/data/FieldNames.h"
#include "runtime/data/RowStore.h"

// A condition over one row, parsed once and bound to the columns of an open dataset. Comparison with null is
// unknown, as in SQL, and an unknown condition does not pass. Text compares by code points.
class RowFilter {
public:
    RowFilter();
    ~RowFilter();
    RowFilter(RowFilter&&) noexcept;
    RowFilter& operator=(RowFilter&&) noexcept;

    // Raises wire::Error (Usage) with the position, from 1, of what cannot be read.
    static RowFilter Parse(const QString& condition);

    const QString& Text() const noexcept { return text_; }
    bool IsEmpty() const noexcept { return !root_; }
    // Finds the fields and converts the literals to their types. Raises wire::Error (Usage, Data).
    void Bind(const RowStore& rows, const FieldNames& names);
    bool Passes(const RowStore& rows, RowNumber row) const;

    struct Node;

private:
    QString text_;
    std::unique_ptr<Node> root_;
};

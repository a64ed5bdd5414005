#pragma once

#include "runtime/data/RowStore.h"

#include <functional>
#include <vector>

// The values of one field, each with a number, and the rows as these numbers: what a filter by title counts
// and compares instead of cells. Made once of a column as read; a text column that is a dictionary has them
// ready.
class FieldValues {
public:
    FieldValues(const RowStore& rows, int field);

    quint32 CodeOf(RowNumber row) const noexcept { return codes_.empty() ? 0 : codes_[row]; }
    // Null is 0, whether a row has it or not.
    qsizetype Count() const noexcept { return qsizetype(firstRows_.size()); }
    wire::Value Value(quint32 code) const;
    size_t MemoryUse() const noexcept;

private:
    const wire::Column* column_;
    std::vector<quint32> codes_; // by row
    std::vector<RowNumber> firstRows_; // by code, a row that has it
};

// Conditions on fields, each asked once a value.
class ValueFilters {
public:
    using Passes = std::function<bool(const wire::Value&)>;

    // An empty condition ends the field's.
    void Set(const QString& field, Passes passes);
    void Clear() noexcept;
    bool IsEmpty() const noexcept { return filters_.empty(); }
    // Of the conditions whose fields the rows have, one by one before rows are asked for. `without` is a
    // field whose condition is left out.
    void Bind(const RowStore& rows, const std::function<int(const QString&)>& fieldIndex, int without = -1);
    bool NoneBound() const noexcept { return bound_.empty(); }
    // What is not saved yet stays in sight.
    bool Pass(const RowStore& rows, RowNumber row) const;
    // The values are another result's.
    void Forget() noexcept
    {
        bound_.clear();
        values_.clear();
        for (Filter& filter : filters_)
            filter.passing.clear();
    }
    size_t MemoryUse() const noexcept;
    const FieldValues& Values(const RowStore& rows, int field);

private:
    struct Filter {
        QString field;
        Passes passes;
        std::vector<bool> passing; // by code, once it was asked
    };
    struct Bound {
        const FieldValues* values;
        int field;
        const Filter* filter;
    };
    std::vector<Filter> filters_;
    std::vector<Bound> bound_;
    std::vector<std::pair<int, std::unique_ptr<FieldValues>>> values_;
};

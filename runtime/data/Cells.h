#pragma once

#include "wire/Value.h"

#include <algorithm>
#include <utility>
#include <vector>

// The few cells of a row that differ from what lies below them, in field order.
class Cells {
public:
    struct Cell {
        quint16 field;
        wire::Value value;
        bool operator==(const Cell&) const = default;
    };

    // nullptr where the cell below stands.
    const wire::Value* Find(int field) const noexcept
    {
        const auto place = Place(field);
        return place != cells_.end() && place->field == field ? &place->value : nullptr;
    }
    void Set(int field, wire::Value value)
    {
        const auto place = cells_.begin() + (Place(field) - cells_.cbegin());
        if (place != cells_.end() && place->field == field)
            place->value = std::move(value);
        else
            cells_.insert(place, Cell{static_cast<quint16>(field), std::move(value)});
    }
    void Remove(int field) noexcept
    {
        const auto place = Place(field);
        if (place != cells_.cend() && place->field == field)
            cells_.erase(place);
    }
    void Clear() noexcept { cells_.clear(); }
    bool IsEmpty() const noexcept { return cells_.empty(); }
    size_t Count() const noexcept { return cells_.size(); }
    auto begin() const noexcept { return cells_.begin(); }
    auto end() const noexcept { return cells_.end(); }
    size_t MemoryUse() const noexcept;
    bool operator==(const Cells&) const = default;

private:
    std::vector<Cell>::const_iterator Place(int field) const noexcept
    {
        return std::lower_bound(cells_.begin(), cells_.end(), field,
            [](const Cell& cell, int wanted) { return cell.field < wanted; });
    }

    std::vector<Cell> cells_;
};

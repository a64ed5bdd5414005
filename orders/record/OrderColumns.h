#pragma once

#include "company/OrderStatus.h"
#include "runtime/grid/DBGrid.h"

#include <initializer_list>
#include <span>

// The columns of the orders' lists. A screen lists those it shows in a table, then says by name what else one
// of them does.

struct OrderColumnUse {
    QStringView field{};
    bool visible = true;
    bool editable = false;
    bool summed = false; // in the footer
    QStringView sumWord{}; // above the sum
    QStringView title{}; // where the screen has its own
    QStringView nullText{}; // shown where there is no value
};

// Grid columns for these fields, with caption, width, alignment and the lists of values that every screen
// shares (check boxes, reasons, kinds of goods, payment). Raises wire::Error (Usage) for a field that orders
// do not have.
std::vector<TColumnEh> OrderColumns(std::span<const OrderColumnUse> uses);

// The column of the field. Raises wire::Error (Usage) where there is none.
TColumnEh& ColumnOf(std::vector<TColumnEh>& columns, QStringView field);
// Names the statuses as the screen does and offers these; the others are named where they occur.
void OfferStatuses(std::vector<TColumnEh>& columns, company::StatusUse use, std::span<const int> statuses);
// Lets the column choose from a list.
void ChooseFrom(std::vector<TColumnEh>& columns, QStringView field, TLookupParams lookup);

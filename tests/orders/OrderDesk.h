#pragma once

#include "tests/support/FakeHost.h"

#include <map>

// Orders as a server would send them, and a host over that server with the module's data ready.

using OrderFields = std::map<QString, wire::Value>;

// Every column of the order table; fields not named are null.
wire::RowSet OrderRows(const std::vector<OrderFields>& orders);

class OrderDesk {
public:
    OrderDesk();
    ~OrderDesk();

    std::vector<OrderFields> orders; // what the next query of orders returns
    std::vector<wire::ChangeLog> saves;
    // What becomes of a save; default: every row is accepted.
    std::function<wire::ApplyOutcome(const wire::ChangeLog& changes)> onSave;
    TFakeHost host;
};

// The value that the save gave the field of the row; nothing where the row or field is not part of it.
wire::Value SavedValue(const wire::ChangeLog& save, size_t row, const QString& field);

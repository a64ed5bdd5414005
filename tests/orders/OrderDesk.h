#pragma once

#include "tests/support/FakeHost.h"

#include <map>

// Orders as a server would send them, and a host over that server with the module's data ready.

using OrderFields = std::map<QString, wire::Value>;

// "TX_LOGISTIC_ID=T1, STATUS=3, REC_SITE=" as an order's fields, the last of them null.
OrderFields Order(const QString& text);
// What the fields named hold in the current row, with bars between: "STATUS REC_SITE" gives "3|浦东一部".
QString FieldsOf(const TClientDataSetEx& row, const QString& names);

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
    // Refuses the saves to come whole, for the reason that this row has.
    void RefuseSaves(const QString& reason, size_t row = 0);
    TFakeHost host;
};

// The value that the save gave the field of the row; nothing where the row or field is not part of it.
wire::Value SavedValue(const wire::ChangeLog& save, size_t row, const QString& field);
// Several of them, with bars between.
QString SavedFields(const wire::ChangeLog& save, size_t row, const QString& names);

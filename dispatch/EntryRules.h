#pragma once

#include "orders/record/OrderStamps.h"

#include <optional>

// What an order entered by hand begins with, and what it must hold before it is posted.

// Who enters it, as the host knows the user.
struct TEnteringClerk {
    QString site;
    QString employeeName;
    QString employeeCode;
};

// The defaults of a row just inserted.
void BeginOrder(
    TClientDataSetEx& order, const QString& number, wire::DateTime now, const TEnteringClerk& clerk);

// What the checks look at besides the row.
struct TEntryCheck {
    QString phonePattern;
    wire::DateTime now;
    // The time that the row got here itself, as the clerk gave none: posted later again, it is given anew.
    std::optional<wire::DateTime>& givenTime;
};

// The checks of the row in edit, in the order in which the clerk is told. An appointment left empty becomes
// the present time; what is not asked for on the telephone gets its stand-in. Raises wire::Error for a
// telephone rule that cannot be used.
void CheckNewOrder(TClientDataSetEx& order, const TEntryCheck& check);

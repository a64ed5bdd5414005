#pragma once

#include "orders/record/OrderStamps.h"

// The rules of the distribution desk.

// Every post: a refusal needs a reason and is stamped, its undoing takes the stamp away; who changed the row.
void CheckDistribution(TClientDataSetEx& cds, const TClerk& clerk);
// What the user is told of a chosen list of sites of that length; empty when it may be stored.
QString ChosenSitesMessage(qsizetype length);

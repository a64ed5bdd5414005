#pragma once

#include "runtime/data/ClientDataSet.h"

// Lists the orders whose save the server refused under the text, with what it said of each. `refused` is a
// dataset of the screen that is closed between saves.
void ListRefusedOrders(
    TClientDataSetEx& orders, TClientDataSetEx& refused, const QString& caption, const QString& text);

#pragma once

#include "module/data/ServerLink.h"

// The save of the order screens: sends the change log; rows that the server refused are listed under
// `failureText`, with what the server said of each; then the list is read again, so that the clerk sees what
// others did meanwhile. A save whose outcome is unknown (no way to the server) keeps everything for another
// try. `rejectedRows` is a dataset of the screen that is closed between saves.
TSaveOutcome SaveOrders(TClientDataSetEx& orders, TClientDataSetEx& rejectedRows, const QString& caption,
    const QString& failureText);

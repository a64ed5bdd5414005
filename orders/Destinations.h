#pragma once

#include "runtime/data/ClientDataSet.h"

// The sites that an order may be destined for, as the order screens list them.

QString DestinationSitesQuery();
// A rule of every before-post handler: a destination that the list does not know is no destination.
void DropUnknownDestination(TClientDataSetEx& cds, TClientDataSetEx& destinations);

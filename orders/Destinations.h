#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/DBGrid.h"

// The sites that an order may be destined for, as the order screens list them.

QString DestinationSitesQuery();
// Lets a column choose from the list.
void OfferDestinations(TColumnEh& column, TDataSource* destinations);
// A rule of every before-post handler: a destination that the list does not know is no destination.
void DropUnknownDestination(TClientDataSetEx& cds, TClientDataSetEx& destinations);

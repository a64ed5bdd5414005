#pragma once

#include "demo/Generator.h"
#include "demo/Random.h"

namespace demo {

// A street address in a county. Many begin with a road, or a town and a road, of the delivery areas and carry
// a house number, so that the address matcher finds their delivery site; the others are as people write them.
QString StreetAddress(int city, int county, Random& random);

// TAB_QRYKEY: the keywords that end towns, roads and house numbers.
void WriteKeywords(company::RowSink& sink);
// TAB_AREA_DETAIL: which site delivers to which house numbers of which road.
void WriteDeliveryAreas(company::RowSink& sink);

} // namespace demo

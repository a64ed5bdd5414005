#pragma once

#include "runtime/Export.h"
#include "runtime/ui/DBGrid.h"

// What Enter in a lookup box, and leaving it, make of the text typed. A text that equals a row's key or shown
// text stays. Otherwise the first row of the list whose key, shown text or code begins with it is taken and
// its shown text returned; letters also match the pinyin initials of the shown text. A code typed in full
// goes before one that only begins with it. No such row, or a closed list: the text as typed.
RUNTIME_EXPORT QString CompleteLookup(const TLookupParams& params, const QString& typed);

// The list's rows (view rows of its dataset) that match the text in that sense, in list order; all of them
// for an empty text.
RUNTIME_EXPORT std::vector<int> MatchingLookupRows(const TLookupParams& params, const QString& typed);

// The first row whose field equals the text; -1 when none.
RUNTIME_EXPORT int LookupRow(const TLookupParams& params, const QString& fieldName, const QString& text);

// The shown text of a stored key; the key itself where the list lacks it.
RUNTIME_EXPORT QString LookupShownText(const TLookupParams& params, const QString& key);

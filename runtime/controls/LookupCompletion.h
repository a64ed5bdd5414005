#pragma once

#include "runtime/Export.h"
#include "runtime/grid/DBGrid.h"

// What Enter in a lookup box, and leaving it, make of the text typed: the row whose shown text takes its
// place (view row of the list's dataset). A text that equals a row's key or shown text stays (-1). Otherwise
// it is the first row of the list whose key, shown text or code begins with it; letters also match the pinyin
// initials of the shown text. A code typed in full goes before one that only begins with it. No such row, or
// a closed list: -1.
RUNTIME_EXPORT int CompleteLookup(const TLookupParams& params, const QString& typed);

// The list's rows (view rows of its dataset) to offer for a text: first those that begin with it in that
// sense, then those that contain it elsewhere, each in list order; all of them for an empty text.
struct TLookupMatches {
    std::vector<int> rows;
    int beginning = 0; // how many of them, at the front, begin with the text
};
RUNTIME_EXPORT TLookupMatches MatchingLookupRows(const TLookupParams& params, const QString& typed);

// Whether the text is the key or the shown text of a row. An empty text is not unknown, and a closed list
// knows everything.
RUNTIME_EXPORT bool LookupKnows(const TLookupParams& params, const QString& text);

// The first row whose field equals the text; -1 when none.
RUNTIME_EXPORT int LookupRow(const TLookupParams& params, const QString& fieldName, const QString& text);

// The shown text of a stored key; the key itself where the list lacks it.
RUNTIME_EXPORT QString LookupShownText(const TLookupParams& params, const QString& key);

#pragma once

#include "runtime/grid/DBGrid.h"
#include "runtime/ui/PropStorage.h"

// The stored column layout of a grid: order, captions and widths of its visible columns, one key a column.

// "." and the name of the grid, of the view it belongs to and of the screen, from the inside outwards. Raises
// wire::Error (Usage) where the grid does not lie in a screen with a name: the layout of one screen would be
// another's.
QString LayoutSection(const TDBGridEh& grid);

// Whether a stored width can be one, in pixels at 96 dpi.
bool IsColumnWidth(int width) noexcept;
// Puts the columns into this order; those that are not named keep their place behind their left neighbour.
void ArrangeColumns(TDBGridEh& grid, std::vector<TColumnPlace> places);

void WriteLayout(const TDBGridEh& grid, TIniPropStorageManEh& storage, const QString& section);
// Entries that are damaged or name columns that the grid has no more are passed over; columns without an
// entry keep their place behind their left neighbour.
void ReadLayout(TDBGridEh& grid, const TIniPropStorageManEh& storage, const QString& section);

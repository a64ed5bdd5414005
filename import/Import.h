#pragma once

class TDBGridEh;

// Lets the user fill the grid's dataset from a spreadsheet. A file without headings of its own is read from
// this row and column, counted from 1. The grid lies in a screen with the property "SaveButton".
void ImportIntoGrid(TDBGridEh& grid, int firstRow, int firstColumn);

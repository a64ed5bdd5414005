#pragma once

#include <QLibrary>

class TDBGridEh;

// The optional library that fills the grid of a screen from a spreadsheet; it lies beside the program.
class TImportModule {
public:
    // Looks for it; where it is missing nobody is told before it is wanted.
    void Load();
    bool IsLoaded() const noexcept { return entry_ != nullptr; }
    // Where the file has no titles of its own, its orders begin at this row and column, counted from 1.
    void Run(TDBGridEh* grid, int firstRow, int firstColumn) const;

private:
    QLibrary library_;
    QFunctionPointer entry_ = nullptr;
};

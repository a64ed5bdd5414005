#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QStringList>

// The row on which a list stands, found again after the list was read anew: the same one by its key, or the
// next one that is still there.
class TKeptPlace {
public:
    TKeptPlace(const TClientDataSetEx& rows, QStringView keyField);
    // Stays on the first row where none is left.
    void Restore(TClientDataSetEx& rows) const;

private:
    QString keyField_;
    QStringList keys_; // of the current row and those after it
};

// Runs the dataset's query again and comes back to the row.
void Reload(TClientDataSetEx& rows, QStringView keyField);

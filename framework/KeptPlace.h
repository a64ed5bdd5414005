#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QStringList>

#include <vector>

// The row on which a list stands, found again after the list was read anew: the same one by its key, or the
// next one that is still there.
class TKeptPlace {
public:
    // The fields of the key are separated by ";".
    TKeptPlace(const TClientDataSetEx& rows, QStringView keyFields);
    // Stays on the first row where none is left.
    void Restore(TClientDataSetEx& rows) const;

private:
    QString keyFields_;
    std::vector<QStringList> keys_; // of the current row and those after it
};

// Runs the dataset's query again and comes back to the row.
void Reload(TClientDataSetEx& rows, QStringView keyFields);

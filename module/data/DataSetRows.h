#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QStringList>

// Open, and not empty.
bool HasRows(const TClientDataSetEx& dataSet);
// One column of an open dataset, row by row in view. Raises wire::Error (Usage) for a field that it lacks.
QStringList ColumnTexts(const TClientDataSetEx& dataSet, QStringView fieldName);
// What tells a row in view from the others: its texts in the key's fields, which ";" separates. Raises
// wire::Error (Usage) for a field that the dataset lacks.
QStringList KeyTexts(const TClientDataSetEx& dataSet, int viewRow, QStringView keyFields);

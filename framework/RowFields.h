#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

// Fields of a dataset's current row as texts.

// Sets the field only when its value differs, so that rows put back to what they were leave the change log.
void SetText(TClientDataSetEx& row, QStringView field, const QString& text);
void ClearField(TClientDataSetEx& row, QStringView field);
bool HasText(const TClientDataSetEx& row, QStringView field);
QString TextOf(const TClientDataSetEx& row, QStringView field);

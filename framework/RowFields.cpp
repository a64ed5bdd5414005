#include "framework/RowFields.h"

void SetText(TClientDataSetEx& row, QStringView field, const QString& text)
{
    TField& target = row.FieldByName(field);
    if (target.AsString() != text)
        target.SetAsString(text);
}

void ClearField(TClientDataSetEx& row, QStringView field)
{
    TField& target = row.FieldByName(field);
    if (!target.IsNull())
        target.Clear();
}

bool HasText(const TClientDataSetEx& row, QStringView field)
{
    return !row.FieldByName(field).IsNull();
}

QString TextOf(const TClientDataSetEx& row, QStringView field)
{
    return row.FieldByName(field).AsString();
}

#include "framework/KeptPlace.h"

TKeptPlace::TKeptPlace(const TClientDataSetEx& rows, QStringView keyField)
    : keyField_(keyField.toString())
{
    const int key = rows.Active() ? rows.FieldIndex(keyField) : -1;
    if (key < 0)
        return;
    for (int row = rows.RecNo() - 1; row >= 0 && row < rows.RecordCount(); ++row)
        keys_.append(rows.ViewText(row, key));
}

void TKeptPlace::Restore(TClientDataSetEx& rows) const
{
    for (const QString& key : keys_) {
        if (rows.Locate(keyField_, {key}))
            return;
    }
}

void Reload(TClientDataSetEx& rows, QStringView keyField)
{
    const TKeptPlace place(rows, keyField);
    rows.Refresh();
    place.Restore(rows);
}

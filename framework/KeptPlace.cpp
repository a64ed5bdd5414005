#include "framework/KeptPlace.h"

#include "module/data/DataSetRows.h"

#include <algorithm>

TKeptPlace::TKeptPlace(const TClientDataSetEx& rows, QStringView keyFields)
    : keyFields_(keyFields.toString())
{
    const QList<QStringView> fields = keyFields.split(u';');
    const auto known = [&rows](QStringView field) { return rows.FieldIndex(field) >= 0; };
    if (!rows.Active() || !std::ranges::all_of(fields, known))
        return;
    for (int row = rows.RecNo() - 1; row >= 0 && row < rows.RecordCount(); ++row)
        keys_.push_back(KeyTexts(rows, row, keyFields));
}

void TKeptPlace::Restore(TClientDataSetEx& rows) const
{
    for (const QStringList& key : keys_) {
        if (rows.Locate(keyFields_, {key.begin(), key.end()}))
            return;
    }
}

void Reload(TClientDataSetEx& rows, QStringView keyFields)
{
    const TKeptPlace place(rows, keyFields);
    rows.Refresh();
    place.Restore(rows);
}

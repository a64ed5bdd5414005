#include "module/data/DataSetRows.h"

bool HasRows(const TClientDataSetEx& dataSet)
{
    return dataSet.Active() && !dataSet.IsEmpty();
}

QStringList ColumnTexts(const TClientDataSetEx& dataSet, QStringView fieldName)
{
    const int field = dataSet.FieldByName(fieldName).Index();
    QStringList texts;
    for (int row = 0; row < dataSet.RecordCount(); ++row)
        texts += dataSet.ViewText(row, field);
    return texts;
}

QStringList KeyTexts(const TClientDataSetEx& dataSet, int viewRow, QStringView keyFields)
{
    QStringList texts;
    for (const QStringView field : keyFields.split(u';'))
        texts += dataSet.ViewText(viewRow, dataSet.FieldByName(field).Index());
    return texts;
}

#include "module/data/ServerLink.h"

#include "module/data/MessageBoxes.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

void OpenQuery(TClientDataSetEx& dataSet, const QString& sqlText)
{
    dataSet.OpenQuery(sqlText);
}

qint64 ExecuteStatement(TClientDataSetEx& dataSet, const QString& sqlText)
{
    dataSet.Close();
    dataSet.SetCommandText(sqlText);
    return dataSet.Execute();
}

void PostPending(TClientDataSetEx& dataSet)
{
    if (!dataSet.IsEditing())
        return;
    dataSet.UpdateRecord();
    dataSet.Post();
}

ControlsOff::~ControlsOff()
{
    if (dataSet_)
        dataSet_->EnableControls();
}

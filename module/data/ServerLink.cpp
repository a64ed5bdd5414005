#include "module/data/ServerLink.h"

#include "module/data/MessageBoxes.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

void OpenQuery(TClientDataSetEx& dataSet, const QString& sqlText)
{
    dataSet.Close();
    dataSet.SetCommandText(sqlText);
    dataSet.Open();
}

qint64 ExecuteStatement(TClientDataSetEx& dataSet, const QString& sqlText)
{
    dataSet.Close();
    dataSet.SetCommandText(sqlText);
    return dataSet.Execute();
}

TSaveOutcome SaveChanges(
    TClientDataSetEx& dataSet, const QString& caption, const std::function<void()>& onRejected)
{
    PostPending(dataSet);
    if (dataSet.ChangeCount() == 0) {
        ShowWarning(u"详细：没有改变任何数据，因此不需要保存！"_s, caption);
        return TSaveOutcome::NothingToSave;
    }
    try {
        const BusyCursor busy;
        dataSet.ApplyUpdates(-1);
    } catch (const wire::Error& error) {
        const bool rejected = error.Kind() == wire::ErrorKind::Conflict;
        if (rejected && onRejected)
            onRejected();
        else
            ShowFailure(error.Message(), caption);
        return rejected ? TSaveOutcome::Rejected : TSaveOutcome::Failed;
    }
    ShowInformation(u"详细：数据保存成功！"_s, caption);
    return TSaveOutcome::Saved;
}

void PostPending(TClientDataSetEx& dataSet)
{
    if (dataSet.State() != TDataSetState::Edit && dataSet.State() != TDataSetState::Insert)
        return;
    dataSet.UpdateRecord();
    dataSet.Post();
}

ControlsOff::~ControlsOff()
{
    if (dataSet_)
        dataSet_->EnableControls();
}

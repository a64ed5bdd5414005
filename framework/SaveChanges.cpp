#include "framework/SaveChanges.h"

#include "framework/KeptPlace.h"
#include "framework/ScreenHandlers.h"
#include "module/data/MessageBoxes.h"
#include "module/data/ServerLink.h"

using namespace Qt::Literals::StringLiterals;

namespace {

void TellFailure(const wire::Error& error, bool rejected, const TSave& save)
{
    if (rejected && save.tellRejected)
        save.tellRejected();
    else
        Application->MessageBox(save.failure.isEmpty() ? u"详细："_s + error.Message() : save.failure,
            save.caption, save.failureIcon);
    if (!save.failure.isEmpty())
        ShowNotice(error.Message());
    else if (error.Kind() == wire::ErrorKind::Connection)
        ShowNotice(u"修改都还在，连上服务器以后再保存一次；先前的若已存上，不会重复。"_s);
}

TSaveOutcome Send(TClientDataSetEx& dataSet, const TSave& save)
{
    try {
        const BusyCursor busy;
        dataSet.ApplyUpdates(save.maxErrors);
        if (save.after == TAfterSave::Merge)
            dataSet.MergeChangeLog();
    } catch (const wire::Error& error) {
        const bool rejected = error.Kind() == wire::ErrorKind::Conflict;
        TellFailure(error, rejected, save);
        return rejected ? TSaveOutcome::Rejected : TSaveOutcome::Failed;
    }
    ShowInformation(save.success, save.caption);
    return TSaveOutcome::Saved;
}

} // namespace

bool SaveReloads(TAfterSave after, TSaveOutcome outcome) noexcept
{
    switch (outcome) {
    case TSaveOutcome::Saved:
        return after == TAfterSave::ReloadSaved || after == TAfterSave::ReloadTold;
    case TSaveOutcome::Rejected:
        return after == TAfterSave::ReloadTold;
    default:
        return false;
    }
}

TSaveOutcome SaveChanges(TClientDataSetEx& dataSet, const TSave& save)
{
    PostPending(dataSet);
    if (dataSet.ChangeCount() == 0) {
        ShowWarning(u"详细：没有改变任何数据，因此不需要保存！"_s,
            save.nothingCaption.isEmpty() ? save.caption : save.nothingCaption);
        return TSaveOutcome::NothingToSave;
    }
    const TSaveOutcome outcome = Send(dataSet, save);
    if (SaveReloads(save.after, outcome)) {
        const BusyCursor busy;
        Reload(dataSet, save.keyField);
    }
    return outcome;
}

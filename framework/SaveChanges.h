#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Application.h"

#include <QString>

#include <functional>

enum class TSaveOutcome { NothingToSave, Saved, Rejected, Failed };

// What becomes of the list after a save.
enum class TAfterSave {
    Leave,
    Merge, // the log of a successful save, before it is told
    ReloadSaved,
    ReloadTold, // and rejected rows, too, once they were told
};

// How a screen saves: what it tolerates, what it says, what comes after.
struct TSave {
    QString caption{}; // of its boxes
    int maxErrors = -1; // every row on its own; 0: one refused row, and nothing is written
    TAfterSave after = TAfterSave::ReloadSaved;
    QString keyField{}; // fields by which the row is found again after a reload, separated by ";"
    QString success = QStringLiteral("详细：数据保存成功！");
    QString failure{}; // empty: "详细：" and the server's words, which else stand in the status bar
    TMessageIcon failureIcon = TMessageIcon::Warning;
    QString nothingCaption{}; // where nothing was changed; empty: `caption`
    std::function<void()> tellRejected{}; // instead of the failure's box, where the server refused rows
};

bool SaveReloads(TAfterSave after, TSaveOutcome outcome) noexcept;

// What every save button does: posts the pending edit (whose rules may refuse it: EAbort passes through),
// says so when nothing was changed, otherwise sends the change log under the busy cursor and tells the
// outcome. The rows that were refused, or all after any other failure, are then what the change log holds.
// Raises wire::Error where the reload fails.
TSaveOutcome SaveChanges(TClientDataSetEx& dataSet, const TSave& save);

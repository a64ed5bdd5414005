#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

#include <functional>

// The three ways in which SQL text reaches the server. All raise wire::Error with the server's message.

// Closes the dataset, sets the text, opens it: the rows replace its contents.
void OpenQuery(TClientDataSetEx& dataSet, const QString& sqlText);
// Closes the dataset, sets the text, runs it; gives the number of rows changed.
qint64 ExecuteStatement(TClientDataSetEx& dataSet, const QString& sqlText);

enum class TSaveOutcome { NothingToSave, Saved, Failed };

// What every save button does: posts the pending edit (whose rules may refuse it: EAbort passes through),
// says so when nothing was changed, otherwise sends the change log under the busy cursor and tells the
// outcome. `onFailure` replaces the default message ("详细：" and the reason); the change log is still whole
// then. Reopening the query is the caller's part.
TSaveOutcome SaveChanges(TClientDataSetEx& dataSet, const QString& caption,
    const std::function<void(const QString& message)>& onFailure = {});

// Controls of a dataset switched off for a scope.
class ControlsOff {
public:
    explicit ControlsOff(TClientDataSetEx& dataSet)
        : dataSet_(&dataSet)
    {
        dataSet.DisableControls();
    }
    ~ControlsOff();
    ControlsOff(const ControlsOff&) = delete;
    ControlsOff& operator=(const ControlsOff&) = delete;

private:
    QPointer<TClientDataSetEx> dataSet_;
};

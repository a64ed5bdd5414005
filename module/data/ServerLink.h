#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

// How SQL text reaches the server. All raise wire::Error with the server's message.

// Closes the dataset, sets the text, opens it: the rows replace its contents. A query that fails leaves rows,
// edits and text as they were.
void OpenQuery(TClientDataSetEx& dataSet, const QString& sqlText);
// Closes the dataset, sets the text, runs it; gives the number of rows changed.
qint64 ExecuteStatement(TClientDataSetEx& dataSet, const QString& sqlText);

// Writes what bound editors hold into the row being edited and posts it; nothing in browse state. The
// screen's rules may refuse it (EAbort).
void PostPending(TClientDataSetEx& dataSet);

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

#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QString>

#include <functional>

// The three ways in which SQL text reaches the server. All raise wire::Error with the server's message.

// Closes the dataset, sets the text, opens it: the rows replace its contents.
void OpenQuery(TClientDataSetEx& dataSet, const QString& sqlText);
// Closes the dataset, sets the text, runs it; gives the number of rows changed.
qint64 ExecuteStatement(TClientDataSetEx& dataSet, const QString& sqlText);

// Writes what bound editors hold into the row being edited and posts it; nothing in browse state. The
// screen's rules may refuse it (EAbort).
void PostPending(TClientDataSetEx& dataSet);

enum class TSaveOutcome { NothingToSave, Saved, Rejected, Failed };

// What every save button does: posts the pending edit (whose rules may refuse it: EAbort passes through),
// says so when nothing was changed, otherwise sends the change log under the busy cursor and tells the
// outcome. `onRejected` runs when the server refused rows, instead of the message ("详细：" and the reason);
// the refused rows are then what is left in the change log. After any other failure the log is whole, and the
// reason is shown. Reopening the query is the caller's part.
TSaveOutcome SaveChanges(
    TClientDataSetEx& dataSet, const QString& caption, const std::function<void()>& onRejected = {});

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

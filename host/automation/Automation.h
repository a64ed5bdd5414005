#pragma once

#include "runtime/data/SocketConnection.h"
#include "wire/Column.h"

#include <memory>
#include <vector>

class QWidget;

// What a script may ask of the host; everything else it does through the widgets. The host implements it, the
// automation library calls it, both on the user-interface thread.
class TAutomationHost {
public:
    // The login window, on the screen. With a user logged in this is a change of user: screens are closed
    // first; nullptr when one of them refused.
    virtual QWidget* OpenLoginWindow() = 0;
    // nullptr while nobody is logged in.
    virtual QWidget* LoggedInForm() = 0;
    // Screen name and three-character rights code. Raises wire::Error when the module cannot be had.
    virtual void ExecScreen(const QString& formName) = 0;
    // False as soon as a screen refused.
    virtual bool CloseScreens() = 0;
    // Whether a login brings back what the user had open last; off while a script runs, unless it asks.
    virtual void SetReopening(bool reopening) = 0;
    // One select with an administrator's rights. Raises wire::Error, also when the server is another process.
    virtual wire::RowSet ServerRows(const QString& sqlText) = 0;
    // A further way to the server in use, for a second user. Raises wire::Error while there is none.
    virtual std::unique_ptr<wire::Transport> NewTransport() = 0;
    // What the host's connections have sent since the last clearing.
    virtual const std::vector<TTraceEntry>& SqlEntries() const = 0;
    virtual void ClearSqlEntries() = 0;

protected:
    ~TAutomationHost() = default;
};

// The library's one entry, "zelmor_automation_run": runs the script to its end and gives the exit code of the
// process. `screenshots` is the folder for pictures.
using TAutomationRun = int (*)(TAutomationHost* host, const QString* script, const QString* screenshots);

#pragma once

#include "runtime/controls/TreeView.h"
#include "runtime/data/ClientDataSet.h"

#include <QString>

// What the host shares with the module, read from its main form's properties by name. Names are matched
// without regard to case; everything returned belongs to the host.

// The host's shared dataset. Raises wire::Error (Usage) when it has none of that name.
TClientDataSetEx& GlobalCds(const QString& name);
// The text of the host's value control; empty when it has none of that name.
QString GlobalValue(const QString& name);
// Has the host make the tree ready, then returns it. Raises wire::Error (Usage) when it has none of that
// name.
TTreeView& GlobalTree(const QString& name);

// The server's date, hour and minute with this machine's seconds: "now" for time stamps.
wire::DateTime ServerDateTime();
// The same from its parts: days since 1899-12-30, and the second of the minute.
wire::DateTime WithLocalSecond(double serverDays, int localSecond);

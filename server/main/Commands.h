#pragma once

#include <QStringList>

namespace server {

// The program's commands; each gives the exit code and raises UsageError or wire::Error. `arguments` begins
// with the program's name.
int Serve(const QStringList& arguments);
int ManageAccounts(const QStringList& arguments);

} // namespace server

#pragma once

#include <QStringList>

namespace server {

// The port of figures and status where only an address is told.
inline constexpr quint16 kMetricsPort = 9866;

// The program's commands; each gives the exit code and raises UsageError or wire::Error. `arguments` begins
// with the program's name.
int Serve(const QStringList& arguments);
int ManageAccounts(const QStringList& arguments);
int ShowStatus(const QStringList& arguments);
int BackUp(const QStringList& arguments);

} // namespace server

#pragma once

#include <QByteArray>

namespace server {

// Tells the service manager that started this program, where there is one, how far it is: "READY=1",
// "STOPPING=1", "STATUS=…". (What $NOTIFY_SOCKET names on Linux.)
void NotifyServiceManager(const QByteArray& state) noexcept;
// The same around a reload; the manager wants the time at which it began.
void NotifyReloading() noexcept;

} // namespace server

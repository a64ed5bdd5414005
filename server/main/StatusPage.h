#pragma once

#include "server/monitoring/Monitor.h"
#include "server/net/Listener.h"
#include "server/provider/ApplicationServer.h"

namespace server {

// What an administrator is told about a running server, in a few lines of text.
class StatusPage {
public:
    // All must outlive the page.
    StatusPage(ApplicationServer& server, const Listener& listener, const ListenerOptions& options,
        const monitoring::Monitor& monitor);
    // UTF-8. From any thread.
    QByteArray Text() const;

private:
    ApplicationServer& server_;
    const Listener& listener_;
    const ListenerOptions& options_;
    const monitoring::Monitor& monitor_;
};

// Adds the figures of the server's database connections; the server must outlive their last reader.
void RegisterPool(monitoring::Registry& registry, ApplicationServer& server);

} // namespace server

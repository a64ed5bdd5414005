#pragma once

#include "server/net/Listener.h"
#include "server/operation/Operation.h"

namespace server {

// What an administrator is told about a running server, in a few lines of text.
class StatusPage {
public:
    // All must outlive the page.
    StatusPage(ApplicationServer& server, const Listener& listener, const ListenerOptions& options,
        const operation::Operation& operation);
    // UTF-8. From any thread.
    QByteArray Text() const;

private:
    ApplicationServer& server_;
    const Listener& listener_;
    const ListenerOptions& options_;
    const operation::Operation& operation_;
};

// Adds the figures of the server's database connections; the server must outlive their last reader.
void RegisterPool(operation::Registry& registry, ApplicationServer& server);

} // namespace server

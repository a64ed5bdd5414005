#pragma once

#include "runtime/Export.h"
#include "wire/Messages.h"

// A request that the user waits for.
struct TLongWait {
    wire::RequestKind kind = wire::RequestKind::Query;
    qint64 milliseconds = 0; // so far
    bool searching = false; // the connection broke: a server that answers is looked for
    bool cancellable = false;
};

// Looks after the windows while their thread waits for the server. No request of the same thread gets through
// while it does: one that tries is ended by a silent abort.
class RUNTIME_EXPORT TWaiting {
public:
    virtual ~TWaiting();
    // Called about every 50 ms once a request has taken half a second. False gives the request up, where it
    // is one that may be.
    virtual bool KeepWaiting(const TLongWait& wait) = 0;
    // Once, when a request that was told of is over, whatever became of it.
    virtual void Over() noexcept = 0;
};

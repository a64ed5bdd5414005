#pragma once

#include "wire/Messages.h"

namespace server {

// One client's conversation: nothing but Login is answered before a login. Used by one thread at a time.
class Session {
public:
    virtual ~Session() = default;
    // Raises wire::Error.
    virtual wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) = 0;
    virtual const wire::Identity& Identity() const noexcept = 0;
    // From another thread: makes what is running end soon with an error (connection gone, time over).
    virtual void Interrupt() noexcept = 0;
};

} // namespace server

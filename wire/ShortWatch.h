#pragma once

#include "wire/NativeSocket.h"

namespace wire {

// Watches a socket for some microseconds before its thread goes to sleep: on one machine a small request is
// answered in less time than it takes to be woken. The thread steps back for everybody who waits for its
// core, and where nothing came in time, the next watches are left out, each time more of them: a far server,
// a clerk who thinks and a busy machine cost next to nothing.
class WIRE_EXPORT ShortWatch {
public:
    // As NativeSocket::Receive, with kTimedOut when nothing came, or this is none of the times to watch.
    qsizetype Receive(NativeSocket& socket, char* to, qsizetype size);

private:
    int leaveOut_ = 0; // of the next watches
    int leftOutLast_ = 0; // after the last one in vain
};

} // namespace wire

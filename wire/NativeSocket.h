#pragma once

#include "wire/Export.h"

#include <QDeadlineTimer>

namespace wire {

// An open TCP socket that somebody else owns, used without going through that owner's buffers and
// notifications: a small request and its reply cost one system call each on either side. The descriptor is
// non-blocking; waiting is done here. The calls may run beside one another on different threads.
class WIRE_EXPORT NativeSocket {
public:
    static constexpr qsizetype kTimedOut = -1;

    explicit NativeSocket(qintptr descriptor = -1) noexcept
        : descriptor_(descriptor)
    {
    }

    // Gives the number of bytes read, at least one, or 0 at the end of the stream, or kTimedOut when nothing
    // came for `timeout` milliseconds. Raises Error(Connection).
    qsizetype Receive(char* to, qsizetype size, int timeout);
    // As Receive, with kTimedOut when nothing is there yet.
    qsizetype ReceiveNow(char* to, qsizetype size);
    // As Receive, where nothing is there yet: does not try first.
    qsizetype ReceiveLater(char* to, qsizetype size, int timeout);
    // Sends everything. False when the next 128 KB (or what is left) could not be sent within `timeout`
    // milliseconds. Raises Error(Connection).
    bool Send(const char* bytes, qsizetype size, int timeout);
    // Sends what can be sent until then; gives the number of bytes. Raises Error(Connection).
    qsizetype SendSome(const char* bytes, qsizetype size, const QDeadlineTimer& deadline);
    // As Receive, but what came stays to be received.
    qsizetype Peek(char* to, qsizetype size, int timeout);
    // False when nothing could be sent until then. Raises Error(Connection).
    bool WaitToSend(const QDeadlineTimer& deadline);

    // The other side has closed or reset the connection, whether or not all that it had sent was read.
    bool PeerHasClosed() const noexcept;
    // Has the system ask a silent peer now and then whether it is there: one whose machine or line is dead,
    // and that can say nothing of it, counts as gone after so many seconds.
    void ProbePeer(int seconds = 120) noexcept;
    // Lets whoever receives, now or later, come to the end of the stream.
    void EndReceiving() noexcept;
    // Tells the other side that nothing more will come.
    void EndSending() noexcept;

    // Another descriptor of the same socket, the caller's own, which stays good when the owner of this one
    // closes it. Raises Error(Connection).
    qintptr Duplicate() const;
    // For what Duplicate gave.
    static void Close(qintptr descriptor) noexcept;

private:
    qsizetype ReceiveOnce(int flags, char* to, qsizetype size);
    qsizetype ReceiveWith(int flags, char* to, qsizetype size, const QDeadlineTimer& deadline);

    qintptr descriptor_;
};

} // namespace wire

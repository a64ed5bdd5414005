#pragma once

#include "wire/NativeSocket.h"
#include "wire/ShortWatch.h"

#include <memory>

class QSslSocket;
class QTcpSocket;

namespace wire {

// A connected TCP socket as a stream of bytes, waited for on the caller's thread without an event loop. A
// plain socket's bytes go past Qt's buffers; a QSslSocket, once it encrypts, is written record by
// record, so that none of its buffers outgrows one.
class WIRE_EXPORT SocketStream {
public:
    static constexpr qsizetype kTimedOut = NativeSocket::kTimedOut;

    // Takes a connected socket; a QSslSocket must be encrypting already.
    explicit SocketStream(std::unique_ptr<QTcpSocket> socket);
    ~SocketStream();

    // As NativeSocket's. Raise Error(Connection).
    qsizetype Receive(char* to, qsizetype size, int timeout);
    bool Send(const char* bytes, qsizetype size, int timeout);
    // Takes over what it can until then; gives the number of bytes, which Send may only be called to follow.
    qsizetype SendSome(const char* bytes, qsizetype size, const QDeadlineTimer& deadline);
    // Tells the other side that nothing more will come.
    void EndSending() noexcept;

    // False as soon as an event loop that ran between two calls has seen the connection end.
    bool IsOpen() const noexcept;
    const QTcpSocket& Socket() const noexcept { return *socket_; }

private:
    qsizetype ReceiveDecrypted(char* to, qsizetype size, int timeout);
    bool SendEncrypted(const char* bytes, qsizetype size, int timeout);
    // What Qt has taken over is on its way; false where it is not until then.
    bool SendEncryptedRest(const QDeadlineTimer& deadline);

    std::unique_ptr<QTcpSocket> socket_;
    QSslSocket* tls_; // the socket, where it is one
    NativeSocket native_;
    ShortWatch watch_;
    bool sent_ = false; // the last thing done: an answer to it takes time
};

} // namespace wire

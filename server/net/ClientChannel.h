#pragma once

#include "server/net/Listener.h"
#include "wire/Frame.h"
#include "wire/SocketStream.h"

#include <QDeadlineTimer>
#include <QTcpSocket>

#include <optional>

namespace server {

class Certificates;

// The client's socket as a sequence of frames.
class ClientChannel : public wire::FrameChannel {
public:
    explicit ClientChannel(const ListenerOptions& options);
    ~ClientChannel() override;

    // Takes the descriptor over; gives the name of the other end.
    QString Open(qintptr descriptor, bool encrypted);
    // To be called first. Sees from the first bytes whether the client speaks TLS, and encrypts the
    // connection with `certificates`. Raises wire::Error where only one side wants TLS (null: this side does
    // not).
    void Begin(const Certificates* certificates);
    void LoggedIn() noexcept { loginDeadline_ = QDeadlineTimer(QDeadlineTimer::Forever); }
    // Nothing more can be said to this client.
    bool IsBroken() const noexcept { return broken_; }

    // The beginning of a reply waits for its end: most replies are small, and each write wakes the client.
    void Queue(const wire::Packet& packet);
    void Flush();

    // Tells the client why the connection ends. What it is still sending is read and dropped: a close with
    // unread bytes would take the message with it.
    void Refuse(const wire::Error& reason) noexcept;

private:
    // Remembers that the connection has failed.
    template <typename F> auto Guarded(F&& work);
    int TimeLeft(int patience) const;
    void Encrypt(const Certificates& certificates);
    qsizetype ReadSome(char* to, qsizetype size, bool idle) override;
    void WriteAll(const char* bytes, qsizetype size) override;

    const ListenerOptions& options_;
    std::unique_ptr<QTcpSocket> opened_; // until it is the stream's
    std::optional<wire::SocketStream> stream_;
    wire::NativeSocket native_;
    wire::Array<char> queued_;
    QDeadlineTimer loginDeadline_;
    bool broken_ = false;
};

} // namespace server

#pragma once

#include "server/net/Listener.h"
#include "server/net/RequestShare.h"
#include "server/net/WaitingReply.h"
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
    ClientChannel(
        const ListenerOptions& options, storage::SharedBudget& requests, storage::SharedBudget& replies);
    ~ClientChannel() override;

    // Takes the descriptor over; gives the name of the other end.
    QString Open(qintptr descriptor, bool encrypted);
    // To be called first. Sees from the first bytes whether the client speaks TLS, and encrypts the
    // connection with `certificates`. Raises wire::Error where only one side wants TLS (null: this side does
    // not).
    void Begin(const Certificates* certificates);
    void LoggedIn(const QString& account)
    {
        loginDeadline_ = QDeadlineTimer(QDeadlineTimer::Forever);
        memory_.SetAccount(account);
        aside_.SetAccount(account);
    }
    // Of the request that was read.
    RequestShare& Memory() noexcept { return memory_; }
    // Nothing more can be said to this client.
    bool IsBroken() const noexcept { return broken_; }

    void BeginReply();
    // While a request runs. The beginning of a reply waits for its end: most replies are small, and each
    // write wakes the client. What the client does not take soon is put aside: the request goes on without
    // it.
    void Queue(const wire::Packet& packet);
    // Sends what is left when the request has ended, at the client's pace.
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
    [[noreturn]] void RaiseTakesNothing();
    void BeginPiece();
    void Pass(const char* bytes, qsizetype size);
    // What was put aside; false where the client did not take it in time.
    bool Drain(qint64& patience);
    bool DrainPiece(qint64& patience);
    // As much as the client takes within some milliseconds, which are used up; the number of bytes.
    qsizetype Send(const char* bytes, qsizetype size, qint64& patience);

    const ListenerOptions& options_;
    std::unique_ptr<QTcpSocket> opened_; // until it is the stream's
    std::optional<wire::SocketStream> stream_;
    wire::NativeSocket native_;
    RequestShare memory_;
    wire::Array<char> queued_;
    WaitingReply aside_;
    // Milliseconds that the client of this reply may keep the request waiting: until the rest of it is put
    // aside, and where that is not possible.
    qint64 patience_ = 0;
    qint64 lastPatience_ = 0;
    QDeadlineTimer loginDeadline_;
    // Of a frame that is being received, by when so many bytes more must have come.
    QDeadlineTimer pieceDeadline_;
    qsizetype pieceLeft_ = 0;
    bool broken_ = false;
};

} // namespace server

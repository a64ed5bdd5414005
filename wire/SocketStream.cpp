#include "wire/SocketStream.h"

#include "wire/Error.h"

#include <QDeadlineTimer>
#include <QSslSocket>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

constexpr qsizetype kPiece = 16 * 1024; // one record: what Qt and OpenSSL keep for a connection grows with it

[[noreturn]] void Raise(const QSslSocket& socket)
{
    throw Error(ErrorKind::Connection, socket.errorString());
}

} // namespace

SocketStream::SocketStream(std::unique_ptr<QTcpSocket> socket)
    : socket_(std::move(socket))
    , tls_(qobject_cast<QSslSocket*>(socket_.get()))
    , native_(socket_->socketDescriptor())
{
    if (tls_ != nullptr && !tls_->isEncrypted())
        tls_ = nullptr;
}

SocketStream::~SocketStream() = default;

bool SocketStream::IsOpen() const noexcept
{
    return socket_->state() == QAbstractSocket::ConnectedState;
}

qsizetype SocketStream::Receive(char* to, qsizetype size, int timeout)
{
    const bool sent = std::exchange(sent_, false);
    if (tls_ != nullptr)
        return ReceiveDecrypted(to, size, timeout);
    if (!sent)
        return native_.Receive(to, size, timeout);
    const qsizetype got = watch_.Receive(native_, to, size);
    return got != kTimedOut ? got : native_.ReceiveLater(to, size, timeout);
}

bool SocketStream::Send(const char* bytes, qsizetype size, int timeout)
{
    sent_ = true;
    return tls_ != nullptr ? SendEncrypted(bytes, size, timeout) : native_.Send(bytes, size, timeout);
}

qsizetype SocketStream::ReceiveDecrypted(char* to, qsizetype size, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    while (tls_->bytesAvailable() == 0) {
        if (tls_->state() != QAbstractSocket::ConnectedState) {
            if (tls_->error() == QAbstractSocket::RemoteHostClosedError)
                return 0;
            Raise(*tls_);
        }
        if (!tls_->waitForReadyRead(static_cast<int>(deadline.remainingTime())) && tls_->bytesAvailable() == 0
            && IsOpen()) {
            if (tls_->error() == QAbstractSocket::SocketTimeoutError)
                return kTimedOut;
            Raise(*tls_);
        }
    }
    return tls_->read(to, size);
}

qsizetype SocketStream::SendSome(const char* bytes, qsizetype size, const QDeadlineTimer& deadline)
{
    sent_ = true;
    if (tls_ == nullptr)
        return native_.SendSome(bytes, size, deadline);
    qsizetype done = 0;
    while (done < size && SendEncryptedRest(deadline)) {
        const qsizetype piece = std::min(size - done, kPiece);
        if (tls_->write(bytes + done, piece) != piece)
            Raise(*tls_);
        done += piece;
        tls_->flush();
    }
    return done;
}

bool SocketStream::SendEncrypted(const char* bytes, qsizetype size, int timeout)
{
    if (!SendEncryptedRest(QDeadlineTimer(timeout)))
        return false;
    while (size > 0) {
        const qsizetype piece = std::min(size, kPiece);
        if (tls_->write(bytes, piece) != piece)
            Raise(*tls_);
        bytes += piece;
        size -= piece;
        tls_->flush();
        if (!SendEncryptedRest(QDeadlineTimer(timeout)))
            return false;
    }
    return true;
}

bool SocketStream::SendEncryptedRest(const QDeadlineTimer& deadline)
{
    while (tls_->state() == QAbstractSocket::ConnectedState && tls_->encryptedBytesToWrite() > 0) {
        // Waited for here: Qt, while it waits to write, would read on without measure.
        if (!native_.WaitToSend(deadline))
            return false;
        tls_->flush();
    }
    if (tls_->state() != QAbstractSocket::ConnectedState)
        Raise(*tls_);
    return true;
}

void SocketStream::EndSending() noexcept
{
    if (IsOpen())
        native_.EndSending();
}

} // namespace wire

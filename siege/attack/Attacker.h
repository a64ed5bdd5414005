#pragma once

#include "wire/Codec.h"
#include "wire/SocketStream.h"

#include <QString>

namespace attack {

// What came back, and after how long.
struct Answer {
    bool accepted = false;
    wire::ErrorKind kind = wire::ErrorKind::Connection; // of a refusal; Connection: the server has closed
    QString reason;
    wire::Reply reply{};
    wire::RowSet rows{};
    double seconds = 0;
};

wire::Request Login(const QString& account, const QString& password);
wire::Request Query(const QString& text);
wire::Request Execute(const QString& text);

// A save of one row that was read, with some values changed as a desk that may do anything would.
wire::Request Save(const QString& query, const wire::RowSet& rows, qsizetype row,
    const std::vector<std::pair<QString, wire::Value>>& edits, quint64 number);

// A client made of sockets and the wire format, which sends what no desk would. Used by one thread.
class Attacker final : public wire::FrameChannel {
public:
    // `from`: an address of this machine's own. Raises wire::Error (Connection).
    explicit Attacker(int port, const QString& from = QStringLiteral("127.0.0.2"));

    // Raises where the server has closed the connection.
    void Send(const wire::Packet& packet) { Write(packet); }
    void Send(const QByteArray& bytes) { WriteAll(bytes.constData(), bytes.size()); }
    // Sends it and reads the whole reply. Raises nothing.
    Answer Ask(const wire::Request& request, bool compressed = false);
    Answer Receive();
    // Raises where it is refused.
    wire::Identity LogIn(const QString& account);

private:
    qsizetype ReadSome(char* to, qsizetype size, bool idle) override;
    void WriteAll(const char* bytes, qsizetype size) override;

    std::optional<wire::SocketStream> stream_;
    quint32 number_ = 0;
};

// Of the frame's kind with this body, which is compressed.
wire::Packet Compressed(const wire::Packet& packet);

} // namespace attack
